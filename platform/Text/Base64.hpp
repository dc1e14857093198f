// SPDX-License-Identifier: Apache-2.0

#pragma once

// Bytes as text (RFC 4648, section 4). A pure function, safe from any thread.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

inline std::string base64(std::string_view bytes) {
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t index = 0; index < bytes.size(); index += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - index);
        std::uint32_t group = 0;
        for (std::size_t place = 0; place < 3; ++place) {
            group = group << 8 | (place < count ? static_cast<unsigned char>(bytes[index + place]) : 0u);
        }
        for (std::size_t place = 0; place < 4; ++place) {
            text += place <= count ? digits[group >> (18 - 6 * place) & 63] : '=';
        }
    }
    return text;
}

}  // namespace platform
