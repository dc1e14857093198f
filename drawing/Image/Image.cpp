// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/Image.hpp"

#include <algorithm>
#include <cmath>
#include <new>

#include "drawing/Image/Codecs.hpp"
#include "drawing/Image/RowScaler.hpp"

namespace drawing {

namespace {

using namespace std::string_view_literals;

struct Codec {
    std::string_view signature;
    std::string_view signatureAtEight;
    std::optional<ImageHeader> (*header)(std::string_view bytes);
    std::optional<Bitmap> (*decoded)(std::string_view bytes, PixelSize wanted);
};

constexpr Codec codecs[] = {
    {"\xFF\xD8\xFF"sv, {}, jpegHeader, jpegDecoded}, {"\x89PNG\r\n\x1A\n"sv, {}, pngHeader, pngDecoded},
    {"RIFF"sv, "WEBP"sv, webpHeader, webpDecoded},   {"GIF87a"sv, {}, gifHeader, gifDecoded},
    {"GIF89a"sv, {}, gifHeader, gifDecoded},
};

const Codec* codecFor(std::string_view bytes) {
    if (bytes.size() > ImageBounds::bytes) return nullptr;
    const auto codec = std::find_if(std::begin(codecs), std::end(codecs), [&](const Codec& each) {
        return bytes.starts_with(each.signature) &&
               (each.signatureAtEight.empty() ||
                (bytes.size() >= 8 && bytes.substr(8).starts_with(each.signatureAtEight)));
    });
    return codec == std::end(codecs) ? nullptr : codec;
}

bool isWithinBounds(const ImageHeader& header) {
    const long long pixels = static_cast<long long>(header.size.width) * header.size.height;
    const bool byRows = header.decoding == ImageDecoding::byRows;
    return std::min(header.size.width, header.size.height) > 0 &&
           std::max(header.size.width, header.size.height) <= ImageBounds::side &&
           pixels <= (byRows ? ImageBounds::pixelsByRows : ImageBounds::pixelsWhole);
}

std::optional<ImageHeader> boundedHeader(const Codec& codec, std::string_view bytes) {
    const auto header = codec.header(bytes);
    return header && isWithinBounds(*header) ? header : std::nullopt;
}

bool canBeMade(PixelSize wanted) {
    return std::min(wanted.width, wanted.height) >= 1 &&
           std::max(wanted.width, wanted.height) <= ImageBounds::wantedSide;
}

}  // namespace

std::optional<ImageHeader> imageHeader(std::string_view bytes) {
    const Codec* codec = codecFor(bytes);
    return codec ? boundedHeader(*codec, bytes) : std::nullopt;
}

std::optional<Bitmap> decodedImage(std::string_view bytes, PixelSize wanted) {
    const Codec* codec = codecFor(bytes);
    if (!codec || !canBeMade(wanted) || !boundedHeader(*codec, bytes)) return {};
    try {
        return codec->decoded(bytes, wanted);
    } catch (const std::bad_alloc&) {
        return {};
    }
}

PixelSize scaledToFit(PixelSize picture, PixelSize box) {
    const double factor = std::min(double(box.width) / picture.width, double(box.height) / picture.height);
    const auto scaled = [&](int side, int most) {
        return std::clamp(int(std::lround(side * factor)), 1, std::max(1, most));
    };
    return {scaled(picture.width, box.width), scaled(picture.height, box.height)};
}

Bitmap resized(const Bitmap& bitmap, PixelSize wanted) {
    RowScaler scaler(bitmap.size, wanted);
    for (int y = 0; y < bitmap.height(); ++y) scaler.pushPremultiplied(bitmap.row(y));
    return std::move(scaler).result();
}

}  // namespace drawing
