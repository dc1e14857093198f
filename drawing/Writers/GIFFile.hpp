// SPDX-License-Identifier: Apache-2.0

#pragma once

// GIF files, moving ones included. Pure functions.

#include <optional>
#include <string>

#include "drawing/Writers/PalettedBitmap.hpp"

namespace drawing {

struct GIFFileOptions {
    bool interlaced = false;
    std::optional<PixelSize> screen = {};  // the picture's own size if absent
    int left = 0;                          // of the picture on the screen
    int top = 0;
    int frames = 1;  // the further ones are of the palette's first colour
    int delay = 5;   // hundredths of a second from frame to frame
};

/// Pixels without opacity are transparent, all others opaque. Throws std::runtime_error when the file
/// cannot be written.
std::string gifFile(const PalettedBitmap& bitmap, const GIFFileOptions& options = {});
/// In the picture's own colours; throws std::length_error for more than 256.
std::string gifFile(const StraightBitmap& bitmap, const GIFFileOptions& options = {});

}  // namespace drawing
