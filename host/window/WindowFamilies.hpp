// SPDX-License-Identifier: Apache-2.0

#pragma once

// The families that a desktop window offers, and how large it is in each. Pure functions, safe from any
// thread.

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/WidgetKit/WidgetFamily.hpp"
#include "widget/DrawingRequest.hpp"
#include "widget/SupportedFamilies.hpp"

namespace host {

struct WindowFamily {
    platform::WidgetFamily family;
    std::string_view title;
    /// In points: what the drawing takes.
    drawing::Size size;
    /// What the window has around a drawing that brings no ground of its own.
    drawing::Size inset = {};

    drawing::Size windowSize() const {
        return {size.width + 2 * inset.width, size.height + 2 * inset.height};
    }
    bool hasGroundOfItsOwn() const { return inset == drawing::Size(); }
};

/// Those that the widget declares, in the declaration's order.
inline constexpr std::array windowFamilies = {
    WindowFamily{platform::WidgetFamily::systemMedium, "Medium", {338, 158}},
    WindowFamily{platform::WidgetFamily::systemSmall, "Small", {158, 158}},
    WindowFamily{platform::WidgetFamily::systemLarge, "Large", {338, 354}},
    WindowFamily{platform::WidgetFamily::accessoryRectangular, "Rectangular", {160, 72}, {14, 10}},
    WindowFamily{platform::WidgetFamily::accessoryInline, "Inline", {234, 26}, {14, 6}},
};

static_assert(std::ranges::equal(windowFamilies, widget::supportedFamilies, {}, &WindowFamily::family));

/// The first where `family` is none of them.
const WindowFamily& windowFamily(platform::WidgetFamily family);

/// Whose window comes nearest to `size`, in points: what a person means who drags an edge there.
const WindowFamily& familyNearest(drawing::Size size);

/// Sides of a window that a person can have hold of, two of them in a corner.
struct WindowEdges {
    bool left = false;
    bool right = false;
    bool top = false;
    bool bottom = false;

    bool any() const { return left || right || top || bottom; }
    bool operator==(const WindowEdges&) const = default;
};

/// The edges of a window of that size within reach of a point in it.
WindowEdges edgesAt(drawing::Point point, drawing::Size window);

/// The size of a window whose `edges` are dragged by that far.
drawing::Size draggedSize(drawing::Size size, WindowEdges edges, drawing::Point by);

/// Where a window of another size begins, whose edges that are not held stay where they are.
drawing::Point heldOrigin(drawing::Rect window, WindowEdges edges, drawing::Size other);

}  // namespace host
