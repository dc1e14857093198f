#pragma once

// Resizes a picture that arrives row by row, keeping the reduced picture and the few rows that are still
// being summed up. The filter is a cubic (Catmull-Rom), stretched to the source's pixels when the picture
// shrinks, so that one filter is sharp at small changes of size, averages whole areas at large ones and is
// smooth when enlarging.

#include <cstdint>
#include <vector>

#include "platform/Image/Bitmap.hpp"

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
    /// Blue, green, red, alpha; premultiplied.
    struct alignas(16) Sum {
        float channel[4] = {};
    };
    /// What one pixel of the outcome takes from the source, along one axis.
    struct Taps {
        int first;
        int count;
        std::size_t weights;  // where its weights begin
    };
    struct Axis {
        Axis(int source, int wanted);
        std::vector<Taps> taps;
        std::vector<float> weights;
        int mostAtOnce = 1;  // pixels of the outcome that one of the source's touches, at most
    };

    void addSourceRow();
    void emit(int y, const Sum* sums);
    Sum* summing(int y) {
        return sums_.data() + std::size_t(y % down_.mostAtOnce) * std::size_t(bitmap_.width());
    }

    Axis across_;
    Axis down_;
    Bitmap bitmap_;
    std::vector<Sum> source_;    // one row of the source
    std::vector<Sum> narrowed_;  // the same, at the wanted width
    std::vector<Sum> sums_;      // rows of the outcome under way
    int sourceRow_ = 0;
    int row_ = 0;  // the first row of the outcome that is not done
};

}  // namespace platform
