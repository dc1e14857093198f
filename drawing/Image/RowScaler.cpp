// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/RowScaler.hpp"

#include <algorithm>

namespace drawing {

RowScaler::RowScaler(PixelSize source, PixelSize wanted)
    : across_(source.width, wanted.width),
      down_(source.height, wanted.height),
      bitmap_(Bitmap::transparent(wanted)),
      source_(std::size_t(source.width)),
      narrowed_(std::size_t(wanted.width)),
      rowCount_(std::min(down_.mostTaps, down_.mostAtOnce)),
      rows_(std::size_t(wanted.width) * std::size_t(rowCount_)) {}

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

void RowScaler::pushTransparent() {
    std::fill_n(nextRow(), narrowed_.size(), PixelSum{});
    addNarrowed();
}

void RowScaler::addSourceRow() {
    narrow(nextRow());
    addNarrowed();
}

void RowScaler::addNarrowed() {
    keepsSource() ? sumKeptRows() : addToSums();
    ++sourceRow_;
}

void RowScaler::narrow(PixelSum* into) const {
    for (std::size_t x = 0; x < narrowed_.size(); ++x) {
        const auto& taps = across_.taps[x];
        const float* weights = across_.weights.data() + taps.weights;
        const PixelSum* source = source_.data() + taps.first;
        PixelSum sum;
        for (int i = 0; i < taps.count; ++i) sum.add(source[i], weights[i]);
        into[x] = sum;
    }
}

void RowScaler::addToSums() {
    for (int y = row_; y < bitmap_.height(); ++y) {
        const auto& taps = down_.taps[std::size_t(y)];
        if (taps.first > sourceRow_) break;
        const float weight = down_.weight(taps, sourceRow_);
        PixelSum* sums = row(y);
        for (std::size_t x = 0; x < narrowed_.size(); ++x) sums[x].add(narrowed_[x], weight);
        if (sourceRow_ == taps.end() - 1) {
            std::transform(sums, sums + narrowed_.size(), bitmap_.row(y),
                           [](const PixelSum& sum) { return sum.pixel(); });
            std::fill_n(sums, narrowed_.size(), PixelSum{});
            row_ = y + 1;
        }
    }
}

void RowScaler::sumKeptRows() {
    for (; row_ < bitmap_.height() && down_.taps[std::size_t(row_)].end() == sourceRow_ + 1; ++row_) {
        const auto& taps = down_.taps[std::size_t(row_)];
        std::fill(narrowed_.begin(), narrowed_.end(), PixelSum{});
        for (int y = taps.first; y < taps.end(); ++y)
            for (std::size_t x = 0; x < narrowed_.size(); ++x)
                narrowed_[x].add(row(y)[x], down_.weight(taps, y));
        std::transform(narrowed_.begin(), narrowed_.end(), bitmap_.row(row_),
                       [](const PixelSum& sum) { return sum.pixel(); });
    }
}

}  // namespace drawing
