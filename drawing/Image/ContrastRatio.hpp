// SPDX-License-Identifier: Apache-2.0

#pragma once

// How well one opaque colour reads on another. Pure functions, safe from any thread.

#include <algorithm>
#include <cmath>

#include "drawing/Image/AssetCatalogue.hpp"

namespace drawing {

/// Relative luminance as WCAG 2.1 defines it, 0 to 1.
inline double luminance(RGBA color) {
    const auto linear = [](std::uint8_t channel) {
        const double value = channel / 255.0;
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.red) + 0.7152 * linear(color.green) + 0.0722 * linear(color.blue);
}

/// 1 to 21 (WCAG 2.1).
inline double contrastRatio(RGBA one, RGBA other) {
    const auto [low, high] = std::minmax({luminance(one), luminance(other)});
    return (high + 0.05) / (low + 0.05);
}

}  // namespace drawing
