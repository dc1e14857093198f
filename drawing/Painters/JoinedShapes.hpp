// SPDX-License-Identifier: Apache-2.0

#pragma once

// A colour that lets the ground through is laid on once where shapes overlap: filled shapes of one colour
// that follow one another are one shape, for every painter.

#include <algorithm>
#include <span>

#include "drawing/Layout/DisplayList.hpp"

namespace drawing {

inline bool isJoined(const DisplayItem& first, const DisplayItem& second) {
    const auto* one = std::get_if<RoundedRectangleItem>(&first.kind);
    const auto* other = std::get_if<RoundedRectangleItem>(&second.kind);
    return one && other && !one->strokeWidth && !other->strokeWidth && one->color == other->color &&
           first.colorScheme == second.colorScheme && first.clips.empty() && second.clips.empty();
}

/// Calls `paint` for each item in turn, with those behind it that it is joined with.
template <class Paint>
void forEachJoined(std::span<const DisplayItem> items, Paint paint) {
    while (!items.empty()) {
        const auto end = std::find_if_not(items.begin() + 1, items.end(), [&](const DisplayItem& item) {
            return isJoined(items.front(), item);
        });
        const auto count = static_cast<std::size_t>(end - items.begin());
        paint(items.first(count));
        items = items.subspan(count);
    }
}

}  // namespace drawing
