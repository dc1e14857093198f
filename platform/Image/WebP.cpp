#include "platform/Image/Codecs.hpp"

#include <webp/decode.h>

#include <algorithm>
#include <vector>

#include "platform/Image/RowScaler.hpp"

namespace platform {

namespace {

const std::uint8_t* data(std::string_view bytes) {
    return reinterpret_cast<const std::uint8_t*>(bytes.data());
}

}  // namespace

std::optional<ImageHeader> webpHeader(std::string_view bytes) {
    WebPBitstreamFeatures features;
    if (WebPGetFeatures(data(bytes), bytes.size(), &features) != VP8_STATUS_OK || features.has_animation)
        return {};
    return ImageHeader{ImageFormat::webp, {features.width, features.height}, ImageDecoding::whole};
}

std::optional<Bitmap> webpDecoded(std::string_view bytes, PixelSize wanted) {
    const auto header = webpHeader(bytes);
    WebPDecoderConfig config;
    if (!header || !WebPInitDecoderConfig(&config)) return {};
    // libwebp's own reduction averages areas while it decodes. It takes the picture to twice what is wanted,
    // and the better filter the rest of the way.
    const PixelSize reduced = {std::min(header->size.width, 2 * wanted.width),
                               std::min(header->size.height, 2 * wanted.height)};
    const std::size_t stride = std::size_t(reduced.width) * 4;
    std::vector<std::uint8_t> rgba(stride * std::size_t(reduced.height));
    config.options.use_scaling = reduced != header->size;
    config.options.scaled_width = reduced.width;
    config.options.scaled_height = reduced.height;
    config.output.colorspace = MODE_RGBA;
    config.output.is_external_memory = 1;
    config.output.u.RGBA = {rgba.data(), int(stride), rgba.size()};
    if (WebPDecode(data(bytes), bytes.size(), &config) != VP8_STATUS_OK) return {};
    RowScaler scaler(reduced, wanted);
    for (int y = 0; y < reduced.height; ++y) scaler.pushStraight(rgba.data() + std::size_t(y) * stride);
    return std::move(scaler).result();
}

}  // namespace platform
