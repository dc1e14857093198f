#include "platform/Image/RowScaler.hpp"

#include <algorithm>

namespace platform {

RowScaler::RowScaler(PixelSize source, PixelSize wanted)
    : across_(source.width, wanted.width),
      down_(source.height, wanted.height),
      bitmap_(Bitmap::transparent(wanted)),
      source_(std::size_t(source.width)),
      narrowed_(std::size_t(wanted.width)),
      sums_(std::size_t(wanted.width) * std::size_t(down_.mostAtOnce)) {}

void RowScaler::pushStraight(const std::uint8_t* rgba) {
    for (PixelSum& sum : source_) {
        sum = PixelSum::straight(rgba);
        rgba += 4;
    }
    addSourceRow();
}

void RowScaler::pushPremultiplied(const std::uint32_t* pixels) {
    for (PixelSum& sum : source_) sum = PixelSum::premultiplied(*pixels++);
    addSourceRow();
}

void RowScaler::addSourceRow() {
    for (std::size_t x = 0; x < narrowed_.size(); ++x) {
        const auto& taps = across_.taps[x];
        const float* weights = across_.weights.data() + taps.weights;
        const PixelSum* source = source_.data() + taps.first;
        PixelSum sum;
        for (int i = 0; i < taps.count; ++i) sum.add(source[i], weights[i]);
        narrowed_[x] = sum;
    }
    for (int y = row_; y < bitmap_.height(); ++y) {
        const auto& taps = down_.taps[std::size_t(y)];
        if (taps.first > sourceRow_) break;
        const float weight = down_.weight(taps, sourceRow_);
        PixelSum* sums = summing(y);
        for (std::size_t x = 0; x < narrowed_.size(); ++x) sums[x].add(narrowed_[x], weight);
        if (sourceRow_ == taps.end() - 1) {
            std::transform(sums, sums + narrowed_.size(), bitmap_.row(y),
                           [](const PixelSum& sum) { return sum.pixel(); });
            std::fill_n(sums, narrowed_.size(), PixelSum{});
            row_ = y + 1;
        }
    }
    ++sourceRow_;
}

}  // namespace platform
