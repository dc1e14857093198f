// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/ResamplingAxis.hpp"

#include <algorithm>
#include <cmath>

namespace drawing {

namespace {

constexpr double kernelRadius = 2;

double catmullRom(double x) {
    x = std::abs(x);
    if (x < 1) return (1.5 * x - 2.5) * x * x + 1;
    if (x < kernelRadius) return ((-0.5 * x + 2.5) * x - 4) * x + 2;
    return 0;
}

}  // namespace

std::uint32_t PixelSum::pixel() const {
    // The filter overshoots a little beside an edge: no colour may exceed its alpha.
    const float alpha = std::clamp(channel[3], 0.0f, 255.0f);
    const auto rounded = [&](int c) { return std::uint32_t(std::clamp(channel[c], 0.0f, alpha) + 0.5f); };
    return rounded(3) << 24 | rounded(2) << 16 | rounded(1) << 8 | rounded(0);
}

ResamplingAxis::ResamplingAxis(int source, int wanted) {
    const double step = double(source) / wanted;
    const double stretch = std::max(1.0, step);
    const double radius = kernelRadius * stretch;
    taps.reserve(std::size_t(wanted));
    std::size_t count = 0;
    for (int i = 0; i < wanted; ++i) {
        const double center = (i + 0.5) * step;
        const int first = std::max(0, int(std::floor(center - radius)));
        const int last = std::min(source - 1, int(std::ceil(center + radius)) - 1);
        taps.push_back({first, last - first + 1, count});
        count += std::size_t(taps.back().count);
        mostTaps = std::max(mostTaps, taps.back().count);
    }
    weights.reserve(count);
    for (int i = 0; i < wanted; ++i) {
        const double center = (i + 0.5) * step;
        const int first = taps[std::size_t(i)].first, last = taps[std::size_t(i)].end() - 1;
        double total = 0;
        for (int j = first; j <= last; ++j) total += catmullRom((j + 0.5 - center) / stretch);
        for (int j = first; j <= last; ++j)
            weights.push_back(float(catmullRom((j + 0.5 - center) / stretch) / total));
    }
    // The pixels that a source pixel touches lie side by side.
    for (std::size_t begin = 0, end = 0; end < taps.size(); ++end) {
        while (taps[begin].end() <= taps[end].first) ++begin;
        mostAtOnce = std::max(mostAtOnce, int(end - begin) + 1);
    }
}

}  // namespace drawing
