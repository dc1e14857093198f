// SPDX-License-Identifier: Apache-2.0

#pragma once

// How light a colour or a picture looks. Pure functions, safe from any thread.

#include "drawing/Image/Bitmap.hpp"

namespace drawing {

/// Perceived lightness of encoded components (Rec. 601), on their own scale: 0 to 255 for bytes.
constexpr double lightness(double red, double green, double blue) {
    return 0.299 * red + 0.587 * green + 0.114 * blue;
}

/// Dark strokes on nothing, as most merchants' marks are.
bool isDrawnForLightGround(const Bitmap& bitmap);

}  // namespace drawing
