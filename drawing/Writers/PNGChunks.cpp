// SPDX-License-Identifier: Apache-2.0

#include "drawing/Writers/PNGChunks.hpp"

#include <zlib.h>

#include <cstdint>

namespace drawing {

namespace {

std::string bigEndian(std::uint32_t number) {
    return {char(number >> 24), char(number >> 16), char(number >> 8), char(number)};
}

const Bytef* bytesOf(std::string_view text) {
    return reinterpret_cast<const Bytef*>(text.data());
}

}  // namespace

std::string_view pngSignature() {
    return "\x89PNG\r\n\x1A\n";
}

std::string pngChunk(std::string_view type, std::string_view contents) {
    std::string body(type);
    body += contents;
    const auto checksum = std::uint32_t(crc32(0, bytesOf(body), uInt(body.size())));
    return bigEndian(std::uint32_t(contents.size())) + body + bigEndian(checksum);
}

std::string pngHeaderChunk(PixelSize size, int bitDepth, PNGColors colors, bool interlaced) {
    std::string header = bigEndian(std::uint32_t(size.width)) + bigEndian(std::uint32_t(size.height));
    header += {char(bitDepth), char(colors), 0, 0, char(interlaced)};
    return pngChunk("IHDR", header);
}

std::string deflated(std::string_view bytes, int level) {
    uLongf length = compressBound(uLong(bytes.size()));
    std::string packed(length, '\0');
    compress2(reinterpret_cast<Bytef*>(packed.data()), &length, bytesOf(bytes), uLong(bytes.size()), level);
    packed.resize(length);
    return packed;
}

}  // namespace drawing
