// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/Lightness.hpp"

namespace drawing {

Strokes strokes(const Bitmap& bitmap) {
    double coverage = 0;
    double light = 0;
    for (const std::uint32_t pixel : bitmap.pixels) {
        coverage += pixel >> 24;
        light += lightness(pixel >> 16 & 0xFF, pixel >> 8 & 0xFF, pixel & 0xFF);
    }
    const bool hasOwnGround = coverage >= 0.9 * 255.0 * static_cast<double>(bitmap.pixels.size());
    if (hasOwnGround) return Strokes::none;
    if (light < 0.5 * coverage) return Strokes::dark;
    return light > 0.85 * coverage ? Strokes::white : Strokes::none;
}

}  // namespace drawing
