// SPDX-License-Identifier: Apache-2.0

#pragma once

// Resizes a picture that arrives row by row, keeping the reduced picture and a few rows: those of the outcome
// that are still being summed up, or those of the source that more of the outcome will be made of, whichever
// are fewer.

#include <cstdint>
#include <utility>
#include <vector>

#include "drawing/Image/Bitmap.hpp"
#include "drawing/Image/ResamplingAxis.hpp"

namespace drawing {

class RowScaler {
  public:
    RowScaler(PixelSize source, PixelSize wanted);

    /// The next row, as red, green, blue, alpha bytes, not premultiplied.
    void pushStraight(const std::uint8_t* rgba);
    /// The next row, as in a bitmap.
    void pushPremultiplied(const std::uint32_t* pixels);

    /// The next row, which shows nothing.
    void pushTransparent();

    /// The resized picture, once every row of the source has been pushed.
    Bitmap result() && { return std::move(bitmap_); }

  private:
    void addSourceRow();
    void addNarrowed();
    void narrow(PixelSum* into) const;
    void addToSums();
    void sumKeptRows();

    bool keepsSource() const { return down_.mostTaps < down_.mostAtOnce; }
    /// Where the next row of the source belongs when it is narrowed.
    PixelSum* nextRow() { return keepsSource() ? row(sourceRow_) : narrowed_.data(); }
    PixelSum* row(int y) { return rows_.data() + std::size_t(y % rowCount_) * std::size_t(bitmap_.width()); }

    ResamplingAxis across_;
    ResamplingAxis down_;
    Bitmap bitmap_;
    std::vector<PixelSum> source_;    // one row of the source
    std::vector<PixelSum> narrowed_;  // the same, at the wanted width
    int rowCount_;
    std::vector<PixelSum> rows_;  // of the outcome, under way, or of the source, narrowed
    int sourceRow_ = 0;
    int row_ = 0;  // the first row of the outcome that is not done
};

}  // namespace drawing
