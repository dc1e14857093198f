// SPDX-License-Identifier: Apache-2.0

#pragma once

// Where edges meet pixels. A plain value.

#include <algorithm>
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
    /// The same for lines that end at the right.
    Rect snappedTextOnRight(Rect frame) const {
        const Size size{outward(frame.size.width), outward(frame.size.height)};
        return {{nearest(frame.right()) - size.width, nearest(frame.top())}, size};
    }
    /// A line across, as thick wherever it stands: one pixel at least.
    Rect snappedLine(Rect frame) const {
        const Point origin{nearest(frame.left()), nearest(frame.top())};
        return {origin,
                {nearest(frame.right()) - origin.x, std::max(1.0, pixels(frame.size.height)) / scale_}};
    }
    /// A mark on a snapped `line`, which keeps as far above it as below: its sides are the largest within
    /// `frame` whose difference from the line's thickness can be halved.
    Rect snappedMark(Rect frame, Rect line) const {
        const double thickness = pixels(line.size.height);
        const auto side = [&](double length) {
            const double beyond = std::floor((length * scale_ - thickness) / 2 + tolerance);
            return (thickness + 2 * std::max(0.0, beyond)) / scale_;
        };
        const Size size{side(frame.size.width), side(frame.size.height)};
        const double middle = nearest(frame.left() + frame.size.width / 2);
        return {{before(middle - size.width / 2), line.top() + (line.size.height - size.height) / 2}, size};
    }

    /// A length in whole pixels.
    double snapped(double length) const { return nearest(length); }

  private:
    /// Sums of lengths that should meet a pixel's edge may miss it by this much of a pixel.
    static constexpr double tolerance = 1e-6;

    double pixels(double length) const { return std::floor(length * scale_ + 0.5 + tolerance); }
    double nearest(double length) const { return pixels(length) / scale_; }
    double before(double length) const { return std::floor(length * scale_ + tolerance) / scale_; }
    double outward(double length) const { return std::ceil(length * scale_ - tolerance) / scale_; }

    double scale_;
};

}  // namespace drawing
