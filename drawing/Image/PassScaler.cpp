// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/PassScaler.hpp"

#include <algorithm>

namespace drawing {

PassScaler::PassScaler(PixelSize source, PixelSize wanted)
    : wanted_(wanted),
      across_(source.width, wanted.width),
      down_(source.height, wanted.height),
      source_(std::size_t(source.width)),
      narrowed_(std::size_t(wanted.width)),
      sums_(std::size_t(wanted.width) * std::size_t(wanted.height)) {}

void PassScaler::push(const std::uint8_t* rgba, int y, Columns columns) {
    for (auto x = std::size_t(columns.first); x < source_.size(); x += std::size_t(columns.step))
        source_[x] = PixelSum::straight(rgba + x * 4);
    const auto firstFrom = [columns](int x) {
        const int beyond = std::max(0, x - columns.first);
        return columns.first + (beyond + columns.step - 1) / columns.step * columns.step;
    };
    for (std::size_t x = 0; x < narrowed_.size(); ++x) {
        const auto& taps = across_.taps[x];
        PixelSum sum;
        for (int from = firstFrom(taps.first); from < taps.end(); from += columns.step)
            sum.add(source_[std::size_t(from)], across_.weight(taps, from));
        narrowed_[x] = sum;
    }
    const auto touched = std::partition_point(down_.taps.begin(), down_.taps.end(),
                                              [y](const auto& taps) { return taps.end() <= y; });
    for (auto taps = touched; taps != down_.taps.end() && taps->first <= y; ++taps) {
        const float weight = down_.weight(*taps, y);
        PixelSum* sums = sums_.data() + std::size_t(taps - down_.taps.begin()) * narrowed_.size();
        for (std::size_t x = 0; x < narrowed_.size(); ++x) sums[x].add(narrowed_[x], weight);
    }
}

Bitmap PassScaler::result() const {
    Bitmap bitmap{wanted_, {}};
    bitmap.pixels.reserve(sums_.size());
    for (const PixelSum& sum : sums_) bitmap.pixels.push_back(sum.pixel());
    return bitmap;
}

}  // namespace drawing
