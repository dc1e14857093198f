// SPDX-License-Identifier: Apache-2.0

#include "drawing/Painters/Redaction.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "drawing/Layout/PixelGrid.hpp"
#include "drawing/Painters/TextPlacement.hpp"
#include "drawing/Views/Font.hpp"

namespace drawing {
namespace {

/// Of Inter's design, in parts of its size.
constexpr double heightOfSmallLetters = 0.546;

Color redactedColor() {
    return Color::asset(redactedColorName);
}

bool holds(const Rect& outer, const Rect& inner) {
    return outer.left() <= inner.left() && outer.right() >= inner.right() && outer.top() <= inner.top() &&
           outer.bottom() >= inner.bottom();
}

/// The last of the shapes that a text in a frame stands on.
RoundedRectangleItem* shapeBehind(const Rect& frame, std::vector<DisplayItem>& items) {
    const auto isBehind = [&](const DisplayItem& item) {
        const auto* shape = std::get_if<RoundedRectangleItem>(&item.kind);
        return shape && !shape->strokeWidth && holds(item.frame, frame);
    };
    const auto found = std::find_if(items.rbegin(), items.rend(), isBehind);
    return found == items.rend() ? nullptr : &std::get<RoundedRectangleItem>(found->kind);
}

std::vector<DisplayItem> bars(const DisplayItem& item, const TextItem& text, const PixelGrid& grid,
                              LayoutDirection direction, const TextMeasurer& measurer) {
    const double height = metrics(text.run).pointSize * text.run.scale * heightOfSmallLetters;
    const std::vector<TextLine> lines = measurer.lines(text.run, item.frame.size.width);
    std::vector<DisplayItem> bars;
    for (std::size_t index = 0; index < lines.size(); ++index) {
        const Point baseline = lineOrigin(text, item.frame, direction, lines[index], index);
        const Rect frame = grid.snapped({{baseline.x, baseline.y - height}, {lines[index].width, height}});
        DisplayItem bar = item;
        bar.frame = frame;
        bar.kind = RoundedRectangleItem{frame.size.height / 2, redactedColor()};
        bars.push_back(std::move(bar));
    }
    return bars;
}

}  // namespace

DisplayList redacted(DisplayList list, double scale, const TextMeasurer& measurer) {
    const PixelGrid grid(scale);
    std::vector<DisplayItem> items;
    for (DisplayItem& item : list.items) {
        if (const auto* text = std::get_if<TextItem>(&item.kind)) {
            RoundedRectangleItem* shape =
                text->color == Color::white() ? shapeBehind(item.frame, items) : nullptr;
            if (shape) {
                shape->color = redactedColor();
                continue;
            }
            for (DisplayItem& bar : bars(item, *text, grid, list.layoutDirection, measurer))
                items.push_back(std::move(bar));
            continue;
        }
        if (std::holds_alternative<PictureItem>(item.kind)) item.kind = RectangleItem{redactedColor()};
        items.push_back(std::move(item));
    }
    list.items = std::move(items);
    list.links.clear();
    return list;
}

}  // namespace drawing
