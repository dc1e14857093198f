// SPDX-License-Identifier: Apache-2.0

#pragma once

// Outlines that both painters draw. Plain values.

#include <array>

#include "drawing/Views/Geometry.hpp"

namespace drawing {

struct CubicCurve {
    Point firstControl;
    Point secondControl;
    Point end;
};

/// A closed outline of curves, each preceded by a straight line from where the last one ended.
struct Path {
    struct Segment {
        Point lineTo;
        std::array<CubicCurve, 2> curves;
    };
    /// One for each corner, clockwise; the outline begins at the first one's `lineTo`.
    std::array<Segment, 4> segments;
};

/// A rounded rectangle whose curvature grows and fades without a jump, as that of a superellipse does, where
/// plain arcs begin at once. Where a side is too short for the longer curves, they draw together, down to
/// arcs.
Path continuousRoundedRectangle(Rect frame, double cornerRadius);

}  // namespace drawing
