#include "platform/Image/RowScaler.hpp"

#include <algorithm>
#include <cmath>

namespace platform {

namespace {

constexpr double kernelRadius = 2;

double catmullRom(double x) {
    x = std::abs(x);
    if (x < 1) return (1.5 * x - 2.5) * x * x + 1;
    if (x < kernelRadius) return ((-0.5 * x + 2.5) * x - 4) * x + 2;
    return 0;
}

}  // namespace

RowScaler::Axis::Axis(int source, int wanted) {
    const double step = double(source) / wanted;
    const double stretch = std::max(1.0, step);
    const double radius = kernelRadius * stretch;
    taps.reserve(std::size_t(wanted));
    for (int i = 0; i < wanted; ++i) {
        const double center = (i + 0.5) * step;
        const int first = std::max(0, int(std::floor(center - radius)));
        const int last = std::min(source - 1, int(std::ceil(center + radius)) - 1);
        taps.push_back({first, last - first + 1, weights.size()});
        double total = 0;
        for (int j = first; j <= last; ++j) total += catmullRom((j + 0.5 - center) / stretch);
        for (int j = first; j <= last; ++j)
            weights.push_back(float(catmullRom((j + 0.5 - center) / stretch) / total));
    }
    // Both ends of the taps grow with the pixel's place, so the pixels a source pixel touches lie side by
    // side.
    for (std::size_t begin = 0, end = 0; end < taps.size(); ++end) {
        while (taps[begin].first + taps[begin].count <= taps[end].first) ++begin;
        mostAtOnce = std::max(mostAtOnce, int(end - begin) + 1);
    }
}

RowScaler::RowScaler(PixelSize source, PixelSize wanted)
    : across_(source.width, wanted.width),
      down_(source.height, wanted.height),
      bitmap_(Bitmap::transparent(wanted)),
      source_(std::size_t(source.width)),
      narrowed_(std::size_t(wanted.width)),
      sums_(std::size_t(wanted.width) * std::size_t(down_.mostAtOnce)) {}

void RowScaler::pushStraight(const std::uint8_t* rgba) {
    for (Sum& sum : source_) {
        const float alpha = rgba[3];
        const float opacity = alpha / 255.0f;
        sum = {{rgba[2] * opacity, rgba[1] * opacity, rgba[0] * opacity, alpha}};
        rgba += 4;
    }
    addSourceRow();
}

void RowScaler::pushPremultiplied(const std::uint32_t* pixels) {
    for (Sum& sum : source_) {
        const std::uint32_t pixel = *pixels++;
        sum = {{float(pixel & 255), float(pixel >> 8 & 255), float(pixel >> 16 & 255), float(pixel >> 24)}};
    }
    addSourceRow();
}

void RowScaler::addSourceRow() {
    for (std::size_t x = 0; x < narrowed_.size(); ++x) {
        const Taps& taps = across_.taps[x];
        const float* weights = across_.weights.data() + taps.weights;
        const Sum* source = source_.data() + taps.first;
        Sum sum;
        for (int i = 0; i < taps.count; ++i)
            for (int c = 0; c < 4; ++c) sum.channel[c] += weights[i] * source[i].channel[c];
        narrowed_[x] = sum;
    }
    for (int y = row_; y < bitmap_.height(); ++y) {
        const Taps& taps = down_.taps[std::size_t(y)];
        if (taps.first > sourceRow_) break;
        const float weight = down_.weights[taps.weights + std::size_t(sourceRow_ - taps.first)];
        Sum* sums = summing(y);
        for (std::size_t x = 0; x < narrowed_.size(); ++x)
            for (int c = 0; c < 4; ++c) sums[x].channel[c] += weight * narrowed_[x].channel[c];
        if (sourceRow_ == taps.first + taps.count - 1) {
            emit(y, sums);
            std::fill_n(sums, narrowed_.size(), Sum{});
            row_ = y + 1;
        }
    }
    ++sourceRow_;
}

void RowScaler::emit(int y, const Sum* sums) {
    std::uint32_t* pixels = bitmap_.row(y);
    for (std::size_t x = 0; x < narrowed_.size(); ++x) {
        // The filter overshoots a little beside an edge: no colour may exceed its alpha.
        const float alpha = std::clamp(sums[x].channel[3], 0.0f, 255.0f);
        const auto rounded = [&](int c) {
            return std::uint32_t(std::clamp(sums[x].channel[c], 0.0f, alpha) + 0.5f);
        };
        pixels[x] = rounded(3) << 24 | rounded(2) << 16 | rounded(1) << 8 | rounded(0);
    }
}

}  // namespace platform
