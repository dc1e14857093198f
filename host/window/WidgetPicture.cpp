// SPDX-License-Identifier: Apache-2.0

#include "host/window/WidgetPicture.hpp"

#include <spng.h>

#include <memory>
#include <new>

#include "widget/DrawingRequest.hpp"

namespace host {

namespace {

struct FreePNG {
    void operator()(spng_ctx* context) const { ::spng_ctx_free(context); }
};
using PNGReader = std::unique_ptr<spng_ctx, FreePNG>;

std::uint32_t multiplied(std::uint32_t value, std::uint32_t alpha) {
    return (value * alpha + 127) / 255;
}

/// From bytes in the order red, green, blue, alpha.
std::uint32_t pixelOf(const std::uint8_t* bytes) {
    const std::uint32_t alpha = bytes[3];
    return alpha << 24 | multiplied(bytes[0], alpha) << 16 | multiplied(bytes[1], alpha) << 8 |
           multiplied(bytes[2], alpha);
}

}  // namespace

std::optional<WidgetPicture> widgetPicture(std::string_view png) {
    const PNGReader reader(::spng_ctx_new(0));
    if (!reader) throw std::bad_alloc();
    spng_ihdr header = {};
    std::size_t length = 0;
    if (::spng_set_png_buffer(reader.get(), png.data(), png.size()) != 0 ||
        ::spng_get_ihdr(reader.get(), &header) != 0 ||
        double(header.width) * double(header.height) > widget::DrawingRequest::mostPixels ||
        ::spng_decoded_image_size(reader.get(), SPNG_FMT_RGBA8, &length) != 0)
        return std::nullopt;
    WidgetPicture picture = {.width = static_cast<int>(header.width),
                             .height = static_cast<int>(header.height),
                             .pixels = std::vector<std::uint32_t>(length / 4)};
    auto* bytes = reinterpret_cast<std::uint8_t*>(picture.pixels.data());
    if (::spng_decode_image(reader.get(), bytes, length, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS) != 0)
        return std::nullopt;
    for (std::size_t index = 0; index < picture.pixels.size(); ++index)
        picture.pixels[index] = pixelOf(bytes + 4 * index);
    return picture;
}

}  // namespace host
