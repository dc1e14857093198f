// SPDX-License-Identifier: Apache-2.0

#pragma once

// Resizes an interlaced picture while its passes arrive, in whatever order: it keeps the sums of the reduced
// picture and one row, never the source.

#include <cstdint>
#include <vector>

#include "drawing/Image/Bitmap.hpp"
#include "drawing/Image/ResamplingAxis.hpp"

namespace drawing {

class PassScaler {
  public:
    PassScaler(PixelSize source, PixelSize wanted);

    /// Which pixels of a row a pass brings.
    struct Columns {
        int first = 0;
        int step = 1;
    };
    /// Some pixels of the row `y`, each in its place in `rgba`: red, green, blue, alpha bytes, not
    /// premultiplied. No pixel may be pushed twice; one that never is, is transparent.
    void push(const std::uint8_t* rgba, int y, Columns columns);

    Bitmap result() const;

  private:
    PixelSize wanted_;
    ResamplingAxis across_;
    ResamplingAxis down_;
    std::vector<PixelSum> source_;    // one row of the source
    std::vector<PixelSum> narrowed_;  // the same, at the wanted width
    std::vector<PixelSum> sums_;
};

}  // namespace drawing
