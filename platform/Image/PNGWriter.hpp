#pragma once

// Bitmaps as PNG files, written for speed. Safe from any thread.

#include <string>

#include "platform/Image/Bitmap.hpp"

namespace platform {

/// An sRGB file: RGB when every pixel is opaque, else RGBA. `scale` is the number of pixels to a point, a
/// 72nd of an inch, and is noted as the physical size. The bitmap must not be empty.
std::string encodedPNG(const Bitmap& bitmap, int scale = 1);

}  // namespace platform
