// SPDX-License-Identifier: Apache-2.0

#include "platform/Digest/SHA256.hpp"

#include <sha2.h>

#include <array>
#include <cstdint>

namespace platform {

std::string sha256(std::string_view text) {
    std::array<char, SHA256_DIGEST_STRING_LENGTH> digits;
    // The library's own type for bytes; it only reads them.
    SHA256Data(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), digits.data());
    return {digits.data(), digits.size() - 1};
}

}  // namespace platform
