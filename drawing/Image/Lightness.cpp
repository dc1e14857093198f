// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/Lightness.hpp"

namespace drawing {

bool isDrawnForLightGround(const Bitmap& bitmap) {
    double coverage = 0;
    double light = 0;
    for (const std::uint32_t pixel : bitmap.pixels) {
        coverage += pixel >> 24;
        light += lightness(pixel >> 16 & 0xFF, pixel >> 8 & 0xFF, pixel & 0xFF);
    }
    const double whole = 255.0 * static_cast<double>(bitmap.pixels.size());
    return coverage < 0.9 * whole && light < 0.5 * coverage;
}

}  // namespace drawing
