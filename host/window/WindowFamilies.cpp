// SPDX-License-Identifier: Apache-2.0

#include "host/window/WindowFamilies.hpp"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

/// In points: as far in as a pointer takes hold of an edge, less than any drawing's margin.
constexpr double edgeReach = 6;
/// As far as a corner reaches along both of its edges.
constexpr double cornerReach = 14;

double distanceBetween(drawing::Size first, drawing::Size second) {
    return std::hypot(first.width - second.width, first.height - second.height);
}

}  // namespace

const WindowFamily& windowFamily(platform::WidgetFamily family) {
    const auto* found = std::ranges::find(windowFamilies, family, &WindowFamily::family);
    return found == windowFamilies.end() ? windowFamilies.front() : *found;
}

const WindowFamily& familyNearest(drawing::Size size) {
    return *std::ranges::min_element(windowFamilies, {}, [size](const WindowFamily& row) {
        return distanceBetween(row.windowSize(), size);
    });
}

WindowEdges edgesAt(drawing::Point point, drawing::Size window) {
    const double left = point.x;
    const double right = window.width - point.x;
    const double top = point.y;
    const double bottom = window.height - point.y;
    if (std::min({left, right, top, bottom}) < 0) return {};
    // The corners themselves are cut off: each is taken hold of where it is round.
    const bool isInCorner = std::min(left, right) < cornerReach && std::min(top, bottom) < cornerReach;
    const double reach = isInCorner ? cornerReach : edgeReach;
    return {.left = left <= right && left < reach,
            .right = right < left && right < reach,
            .top = top <= bottom && top < reach,
            .bottom = bottom < top && bottom < reach};
}

drawing::Size draggedSize(drawing::Size size, WindowEdges edges, drawing::Point by) {
    if (edges.right) size.width += by.x;
    if (edges.left) size.width -= by.x;
    if (edges.bottom) size.height += by.y;
    if (edges.top) size.height -= by.y;
    return {std::max(size.width, 0.0), std::max(size.height, 0.0)};
}

drawing::Point heldOrigin(drawing::Rect window, WindowEdges edges, drawing::Size other) {
    auto origin = window.origin;
    if (edges.left) origin.x += window.size.width - other.width;
    if (edges.top) origin.y += window.size.height - other.height;
    return origin;
}

}  // namespace host
