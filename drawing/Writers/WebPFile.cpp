// SPDX-License-Identifier: Apache-2.0

#include "drawing/Writers/WebPFile.hpp"

#include <webp/encode.h>

#include <stdexcept>

namespace drawing {

namespace {

WebPConfig configuration(const WebPFileOptions& options) {
    constexpr float losslessQuality = 70;  // what libwebp takes by itself
    const bool isLossless = options.loss == WebPLoss::lossless;
    WebPConfig config;
    WebPConfigPreset(&config, WEBP_PRESET_DEFAULT, isLossless ? losslessQuality : options.quality);
    config.lossless = isLossless;
    if (isLossless && options.effort) WebPConfigLosslessPreset(&config, *options.effort);
    return config;
}

constexpr std::size_t fileHeader = 12;
/// As they stand in an extended header (RFC 9649, 2.7).
constexpr int animationFlag = 0x02, exifFlag = 0x08, alphaFlag = 0x10;

std::string littleEndian(std::size_t number, int length) {
    std::string bytes;
    for (int i = 0; i < length; ++i) bytes += char(number >> 8 * i & 255);
    return bytes;
}

std::string chunk(const std::string& type, const std::string& contents) {
    return type + littleEndian(contents.size(), 4) + contents + std::string(contents.size() % 2, '\0');
}

std::string extendedFile(int flags, PixelSize canvas, const std::string& chunks, const std::string& exif) {
    if (!exif.empty()) flags |= exifFlag;
    const std::string header = littleEndian(std::size_t(flags), 4) +
                               littleEndian(std::size_t(canvas.width - 1), 3) +
                               littleEndian(std::size_t(canvas.height - 1), 3);
    const std::string contents =
        "WEBP" + chunk("VP8X", header) + chunks + (exif.empty() ? "" : chunk("EXIF", exif));
    return "RIFF" + littleEndian(contents.size(), 4) + contents;
}

/// Of a file as libwebp writes it, what holds the pixels.
std::string pixelChunks(const std::string& file) {
    constexpr std::size_t extendedHeader = 18;
    const std::string chunks = file.substr(fileHeader);
    return chunks.starts_with("VP8X") ? chunks.substr(extendedHeader) : chunks;
}

std::string plainFile(const StraightBitmap& bitmap, const WebPFileOptions& options) {
    const WebPConfig config = configuration(options);
    WebPPicture source;
    WebPPictureInit(&source);
    source.use_argb = options.loss == WebPLoss::lossless;
    source.width = bitmap.size.width;
    source.height = bitmap.size.height;
    WebPMemoryWriter writer;
    WebPMemoryWriterInit(&writer);
    source.writer = WebPMemoryWrite;
    source.custom_ptr = &writer;
    const auto* rgba = reinterpret_cast<const std::uint8_t*>(bitmap.pixels.data());
    const bool isWritten =
        WebPPictureImportRGBA(&source, rgba, bitmap.size.width * 4) && WebPEncode(&config, &source);
    std::string file(reinterpret_cast<char*>(writer.mem), writer.size);
    WebPMemoryWriterClear(&writer);
    WebPPictureFree(&source);
    if (!isWritten) throw std::runtime_error("the picture cannot be written as WebP");
    return file;
}

}  // namespace

std::string webpFile(const StraightBitmap& bitmap, const WebPFileOptions& options) {
    std::string file = plainFile(bitmap, options);
    return options.exif.empty() ? file
                                : extendedFile(alphaFlag, bitmap.size, pixelChunks(file), options.exif);
}

std::string animatedWebPFile(PixelSize canvas, const std::vector<WebPFrame>& frames,
                             const WebPFileOptions& options) {
    constexpr std::size_t milliseconds = 100;
    const auto place = [](int length) { return littleEndian(std::size_t(length / 2), 3); };
    const auto side = [](int length) { return littleEndian(std::size_t(length - 1), 3); };
    std::string chunks = chunk("ANIM", std::string(6, '\0'));
    for (const auto& [bitmap, left, top] : frames)
        chunks +=
            chunk("ANMF", place(left) + place(top) + side(bitmap.size.width) + side(bitmap.size.height) +
                              littleEndian(milliseconds, 3) + '\0' + pixelChunks(plainFile(bitmap, options)));
    return extendedFile(animationFlag | alphaFlag, canvas, chunks, options.exif);
}

}  // namespace drawing
