// SPDX-License-Identifier: Apache-2.0

#pragma once

// Where edges meet pixels. A plain value.

#include <cmath>

#include "drawing/Views/Geometry.hpp"

namespace drawing {

/// The last pass of layout: every edge goes to the nearest pixel, so that what touched still touches. Text
/// keeps its whole width, lest it break where it did not when it was measured: its far edge goes outward.
class PixelGrid {
  public:
    explicit PixelGrid(double scale) : scale_(scale) {}

    Rect snapped(Rect frame) const {
        const Point origin{nearest(frame.left()), nearest(frame.top())};
        return {origin, {nearest(frame.right()) - origin.x, nearest(frame.bottom()) - origin.y}};
    }
    Rect snappedText(Rect frame) const {
        const Point origin{nearest(frame.left()), nearest(frame.top())};
        return {origin, {outward(frame.size.width), outward(frame.size.height)}};
    }

  private:
    /// Sums of lengths that should meet a pixel's edge may miss it by this much of a pixel.
    static constexpr double tolerance = 1e-6;

    double nearest(double length) const { return std::floor(length * scale_ + 0.5 + tolerance) / scale_; }
    double outward(double length) const { return std::ceil(length * scale_ - tolerance) / scale_; }

    double scale_;
};

}  // namespace drawing
