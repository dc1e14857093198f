// SPDX-License-Identifier: Apache-2.0

#pragma once

// The orientation that a camera notes beside a picture (Exif 2.3, tag 0x0112): how the stored rows are turned
// and mirrored to be shown upright.

#include <string_view>

#include "drawing/Image/Bitmap.hpp"

namespace drawing {

enum class Orientation {
    upright = 1,
    mirrored,
    upsideDown,
    mirroredUpsideDown,
    transposed,
    turnedLeft,  // shown upright by a quarter turn to the right
    transversed,
    turnedRight,
};

/// From the contents of a JPEG's APP1 segment; upright when nothing readable is noted there.
Orientation notedOrientation(std::string_view segment);
/// From the contents of a chunk that holds the note alone, as PNG and WebP have it. What JPEG puts in front
/// of it is passed over.
Orientation notedOrientationInChunk(std::string_view chunk);

/// Whether width and height change places.
bool swapsSides(Orientation orientation);
PixelSize oriented(PixelSize size, Orientation orientation);
Bitmap oriented(Bitmap bitmap, Orientation orientation);

}  // namespace drawing
