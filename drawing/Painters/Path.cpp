// SPDX-License-Identifier: Apache-2.0

#include "drawing/Painters/Path.hpp"

#include <algorithm>
#include <cmath>

namespace drawing {
namespace {

/// Half of a corner, in radii, from where it leaves the side (at `start` from the corner, along the side) to
/// the diagonal. The other half is its mirror image.
struct HalfCorner {
    double start;
    double firstControl;
    Point secondControl;
    double diagonal;
};

/// Where an arc meets the diagonal: 1 - sqrt(1/2). The smooth corner meets it in the same place.
constexpr double diagonal = 0.29289322;

/// An eighth of a circle; its handles are 4/3 tan(pi/16) long.
constexpr HalfCorner arc{1, 0.73478351, {0.48043038, 0.10535606}, diagonal};

/// The superellipse |x|^n + |y|^n = 1.6^n with n = 3.43, which goes through the same point of the diagonal.
/// The second control lies on the side, so the curvature begins at zero; being also on the diagonal's
/// tangent, it can only be at 2 * diagonal. The first control gives the superellipse's own curvature at the
/// diagonal, 1.313.
constexpr HalfCorner smooth{1.6, 1.0637, {2 * diagonal, 0}, diagonal};

double between(double first, double second, double fraction) {
    return first + (second - first) * fraction;
}

HalfCorner between(const HalfCorner& first, const HalfCorner& second, double fraction) {
    return {between(first.start, second.start, fraction),
            between(first.firstControl, second.firstControl, fraction),
            {between(first.secondControl.x, second.secondControl.x, fraction),
             between(first.secondControl.y, second.secondControl.y, fraction)},
            diagonal};
}

}  // namespace

Path continuousRoundedRectangle(Rect frame, double cornerRadius) {
    const double halfSide = std::min(frame.size.width, frame.size.height) / 2;
    const double radius = std::clamp(cornerRadius, 0.0, std::max(0.0, halfSide));
    const double room = radius > 0 ? halfSide / radius : 1;
    const HalfCorner half = between(arc, smooth, std::clamp((room - 1) / (smooth.start - 1), 0.0, 1.0));

    // Each corner is drawn in its own axes: `in` runs back along the side one comes from, `out` along the
    // next.
    const auto corner = [&](Point tip, Point in, Point out) {
        const auto at = [&](double along, double beyond) {
            return Point{tip.x + radius * (in.x * along + out.x * beyond),
                         tip.y + radius * (in.y * along + out.y * beyond)};
        };
        return Path::Segment{
            at(half.start, 0),
            {CubicCurve{at(half.firstControl, 0), at(half.secondControl.x, half.secondControl.y),
                        at(half.diagonal, half.diagonal)},
             CubicCurve{at(half.secondControl.y, half.secondControl.x), at(0, half.firstControl),
                        at(0, half.start)}}};
    };
    const Point left{-1, 0};
    const Point right{1, 0};
    const Point up{0, -1};
    const Point down{0, 1};
    return {{corner({frame.right(), frame.top()}, left, down),
             corner({frame.right(), frame.bottom()}, up, left),
             corner({frame.left(), frame.bottom()}, right, up),
             corner({frame.left(), frame.top()}, down, right)}};
}

}  // namespace drawing
