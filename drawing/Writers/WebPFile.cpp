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

}  // namespace

std::string webpFile(const StraightBitmap& bitmap, const WebPFileOptions& options) {
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

}  // namespace drawing
