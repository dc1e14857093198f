// SPDX-License-Identifier: Apache-2.0

// Any bytes as a picture. A PNG's checksums are put right first, or nothing behind them would ever be
// reached.

#include <zlib.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "drawing/Image/Image.hpp"
#include "fuzz/Require.hpp"

namespace {

std::uint32_t number(const std::string& bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

void mendChecksums(std::string& bytes) {
    constexpr std::size_t signature = 8,
                          around = 12;  // length and type before a chunk's contents, checksum after
    if (!bytes.starts_with("\x89PNG")) return;
    for (std::size_t at = signature; at + around <= bytes.size();) {
        const std::uint32_t length = number(bytes, at);
        if (length > bytes.size() - at - around) return;
        const auto* typed = reinterpret_cast<const Bytef*>(bytes.data() + at + 4);
        const auto checksum = std::uint32_t(crc32(0, typed, length + 4));
        for (std::size_t i = 0; i < 4; ++i) bytes[at + 8 + length + i] = char(checksum >> (24 - 8 * i) & 255);
        at += around + length;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string bytes(reinterpret_cast<const char*>(data), size);
    mendChecksums(bytes);
    const auto header = drawing::imageHeader(bytes);
    if (!header) return 0;
    const drawing::PixelSize box{1 + int(size % 41), 1 + int(size % 23)};
    const drawing::PixelSize wanted = drawing::scaledToFit(header->size, box);
    const auto bitmap = drawing::decodedImage(bytes, wanted);
    if (!bitmap) return 0;
    require(bitmap->size == wanted, "a picture has the size that was asked for");
    for (const std::uint32_t pixel : bitmap->pixels)
        require((pixel & 255) <= pixel >> 24 && (pixel >> 8 & 255) <= pixel >> 24 &&
                    (pixel >> 16 & 255) <= pixel >> 24,
                "no colour exceeds its alpha");
    return 0;
}
