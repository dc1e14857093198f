// SPDX-License-Identifier: Apache-2.0

#pragma once

// A picture in few colours, each pixel the number of its own. A plain value.

#include <cstdint>
#include <vector>

#include "drawing/Writers/StraightBitmap.hpp"

namespace drawing {

struct PalettedBitmap {
    PixelSize size;
    std::vector<Pixel> palette;         // at most 256
    std::vector<std::uint8_t> indices;  // of each pixel, rows from the top

    /// In the picture's own colours, as they first appear. Throws std::length_error for more than 256.
    static PalettedBitmap exact(const StraightBitmap& bitmap);
    /// In 256 colours or fewer, the commonest first. Enough for flat drawings.
    static PalettedBitmap reduced(const StraightBitmap& bitmap);
};

}  // namespace drawing
