// SPDX-License-Identifier: Apache-2.0

#pragma once

// What every pixel of a resized picture takes from its source, along one axis. The filter is a cubic
// (Catmull-Rom), stretched to the source's pixels when the picture shrinks, so that one filter is sharp at
// small changes of size, averages whole areas at large ones and is smooth when enlarging. Immutable.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace drawing {

/// A pixel on its way: blue, green, red, alpha; premultiplied.
struct alignas(16) PixelSum {
    float channel[4] = {};

    void add(const PixelSum& other, float weight) {
        for (int c = 0; c < 4; ++c) channel[c] += weight * other.channel[c];
    }
    /// From red, green, blue, alpha bytes, not premultiplied.
    static PixelSum straight(const std::uint8_t* rgba) {
        const float alpha = rgba[3];
        const float opacity = alpha / 255.0f;
        return {{rgba[2] * opacity, rgba[1] * opacity, rgba[0] * opacity, alpha}};
    }
    /// From and to a bitmap's pixel.
    static PixelSum premultiplied(std::uint32_t pixel) {
        return {{float(pixel & 255), float(pixel >> 8 & 255), float(pixel >> 16 & 255), float(pixel >> 24)}};
    }
    std::uint32_t pixel() const;
};

struct ResamplingAxis {
    ResamplingAxis(int source, int wanted);

    struct Taps {
        int first;
        int count;
        std::size_t weights;  // where its weights begin

        int end() const { return first + count; }
    };
    /// What `of` takes from one pixel of the source.
    float weight(const Taps& of, int source) const {
        return weights[of.weights + std::size_t(source - of.first)];
    }

    std::vector<Taps> taps;  // one for each wanted pixel; both ends grow with its place
    std::vector<float> weights;
    int mostTaps = 0;    // pixels of the source that a wanted one takes from, at most
    int mostAtOnce = 1;  // wanted pixels that one of the source's touches, at most
};

}  // namespace drawing
