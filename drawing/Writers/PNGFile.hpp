// SPDX-License-Identifier: Apache-2.0

#pragma once

// PNG files in every form, assembled chunk by chunk; PNGWriter is the one for speed. Pure functions.

#include <string>

#include "drawing/Writers/PNGChunks.hpp"
#include "drawing/Writers/PalettedBitmap.hpp"

namespace drawing {

struct PNGFileOptions {
    PNGColors colors = PNGColors::rgba;
    int bitDepth = 8;  // 8 or 16; 1, 2, 4 or 8 for a palette
    bool interlaced = false;
    int compression = 6;      // as zlib counts, 0 to 9
    std::string beside = {};  // chunks between the header and the pixels
};

/// A palette holds the picture's own colours; throws std::length_error for more than 256. Greys are what is
/// green.
std::string pngFile(const StraightBitmap& bitmap, const PNGFileOptions& options = {});
/// `options.colors` has no say.
std::string pngFile(const PalettedBitmap& bitmap, const PNGFileOptions& options = {});

/// Declares a size which its data does not hold.
std::string hollowPNGFile(PixelSize size, const PNGFileOptions& options = {});

}  // namespace drawing
