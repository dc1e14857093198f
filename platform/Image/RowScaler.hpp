#pragma once

// Resizes a picture that arrives row by row, keeping the reduced picture and the few rows that are still
// being summed up.

#include <cstdint>
#include <utility>
#include <vector>

#include "platform/Image/Bitmap.hpp"
#include "platform/Image/ResamplingAxis.hpp"

namespace platform {

class RowScaler {
  public:
    RowScaler(PixelSize source, PixelSize wanted);

    /// The next row, as red, green, blue, alpha bytes, not premultiplied.
    void pushStraight(const std::uint8_t* rgba);
    /// The next row, as in a bitmap.
    void pushPremultiplied(const std::uint32_t* pixels);

    /// The resized picture, once every row of the source has been pushed.
    Bitmap result() && { return std::move(bitmap_); }

  private:
    void addSourceRow();
    PixelSum* summing(int y) {
        return sums_.data() + std::size_t(y % down_.mostAtOnce) * std::size_t(bitmap_.width());
    }

    ResamplingAxis across_;
    ResamplingAxis down_;
    Bitmap bitmap_;
    std::vector<PixelSum> source_;    // one row of the source
    std::vector<PixelSum> narrowed_;  // the same, at the wanted width
    std::vector<PixelSum> sums_;      // rows of the outcome under way
    int sourceRow_ = 0;
    int row_ = 0;  // the first row of the outcome that is not done
};

}  // namespace platform
