// SPDX-License-Identifier: Apache-2.0

#pragma once

// Bitmaps as sRGB PNG files, written for speed. Safe from any thread.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "drawing/Image/Bitmap.hpp"

namespace drawing {

/// A file written while its rows arrive. Not safe from several threads at once.
class PNGWriter {
  public:
    enum class Channels { rgb = 3, rgba = 4 };

    /// `scale` is the number of pixels to a point, a 72nd of an inch, and is noted as the physical size.
    PNGWriter(PixelSize size, Channels channels, int scale);
    ~PNGWriter();

    /// The next rows, of the whole width. Without an alpha channel every pixel must be opaque.
    void push(const Bitmap& rows);
    /// The file, once every row has been pushed.
    std::string result() &&;

  private:
    struct Context;

    Channels channels_;
    std::unique_ptr<Context> context_;
    std::vector<std::uint8_t> row_;
};

/// RGB when every pixel is opaque, else RGBA. The bitmap must not be empty.
std::string encodedPNG(const Bitmap& bitmap, int scale = 1);

}  // namespace drawing
