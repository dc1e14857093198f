// SPDX-License-Identifier: Apache-2.0

#include "platform/URLSession/DataURL.hpp"

#include <array>
#include <cstdint>

#include "platform/Text/ASCII.hpp"

namespace platform {
namespace {

// Nothing for a broken escape.
std::optional<std::string> removingPercentEncoding(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] != '%') {
            bytes.push_back(text[index]);
            continue;
        }
        if (index + 2 >= text.size()) return std::nullopt;
        const int high = hexadecimalDigit(text[index + 1]);
        const int low = hexadecimalDigit(text[index + 2]);
        if (high < 0 || low < 0) return std::nullopt;
        bytes.push_back(static_cast<char>(high * 16 + low));
        index += 2;
    }
    return bytes;
}

constexpr std::string_view base64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<std::int8_t, 256> base64Digits = [] {
    std::array<std::int8_t, 256> digits = {};
    digits.fill(-1);
    for (std::size_t digit = 0; digit < base64Alphabet.size(); ++digit) {
        digits[static_cast<unsigned char>(base64Alphabet[digit])] = static_cast<std::int8_t>(digit);
    }
    return digits;
}();

// White space may stand anywhere and the padding may be absent; the rest is RFC 4648.
std::optional<std::string> decodeBase64(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t bits = 0;
    int digits = 0;
    int padding = 0;
    for (const char character : text) {
        if (std::string_view(" \t\r\n\f").find(character) != std::string_view::npos) continue;
        if (character == '=') {
            ++padding;
            continue;
        }
        const int digit = base64Digits[static_cast<unsigned char>(character)];
        if (digit < 0 || padding > 0) return std::nullopt;
        bits = bits << 6 | static_cast<std::uint32_t>(digit);
        digits = (digits + 1) % 4;
        if (digits != 1)
            bytes.push_back(static_cast<char>(bits >> (digits == 0 ? 0 : 8 - 2 * digits) & 0xff));
    }
    const bool isWhole = digits != 1 && (padding == 0 || (digits + padding) % 4 == 0) && padding <= 2;
    return isWhole ? std::optional(bytes) : std::nullopt;
}

bool isBase64(std::string_view mediaType) {
    constexpr std::string_view mark = ";base64";
    return mediaType.size() >= mark.size() &&
           equalsWithoutCase(mediaType.substr(mediaType.size() - mark.size()), mark);
}

}  // namespace

std::optional<std::string> dataOfDataURL(std::string_view url) {
    constexpr std::string_view scheme = "data:";
    const auto comma = url.find(',');
    if (comma == std::string_view::npos || !equalsWithoutCase(url.substr(0, scheme.size()), scheme))
        return std::nullopt;
    const std::string_view mediaType = url.substr(scheme.size(), comma - scheme.size());
    const auto bytes = removingPercentEncoding(url.substr(comma + 1, url.find('#', comma) - comma - 1));
    return bytes && isBase64(mediaType) ? decodeBase64(*bytes) : bytes;
}

}  // namespace platform
