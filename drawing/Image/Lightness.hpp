// SPDX-License-Identifier: Apache-2.0

#pragma once

// How light a colour or a picture looks. Pure functions, safe from any thread.

#include "drawing/Image/Bitmap.hpp"

namespace drawing {

/// Perceived lightness of encoded components (Rec. 601), on their own scale: 0 to 255 for bytes.
constexpr double lightness(double red, double green, double blue) {
    return 0.299 * red + 0.587 * green + 0.114 * blue;
}

/// What a picture is, of strokes on nothing: most merchants' marks are dark, some are white.
enum class Strokes { none, dark, white };
Strokes strokes(const Bitmap& bitmap);

}  // namespace drawing
