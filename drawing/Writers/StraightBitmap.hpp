// SPDX-License-Identifier: Apache-2.0

#pragma once

// A picture as files hold it: rows from the top, each pixel red, green, blue and alpha, the colour not
// premultiplied. A plain value.

#include <compare>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "drawing/Image/Bitmap.hpp"

namespace drawing {

struct Pixel {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 255;
    friend auto operator<=>(const Pixel&, const Pixel&) = default;
};

struct StraightBitmap {
    PixelSize size;
    std::vector<Pixel> pixels;  // size.width * size.height

    Pixel& at(int x, int y) { return pixels[std::size_t(y) * std::size_t(size.width) + std::size_t(x)]; }
    const Pixel& at(int x, int y) const {
        return pixels[std::size_t(y) * std::size_t(size.width) + std::size_t(x)];
    }
};

/// Each pixel is what `paint(x, y)` gives, which is asked row by row.
template <typename Paint>
StraightBitmap painted(PixelSize size, Paint paint) {
    StraightBitmap bitmap{size, {}};
    bitmap.pixels.reserve(std::size_t(size.width) * std::size_t(size.height));
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x) bitmap.pixels.push_back(paint(x, y));
    return bitmap;
}

}  // namespace drawing
