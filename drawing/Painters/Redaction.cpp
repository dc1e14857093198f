// SPDX-License-Identifier: Apache-2.0

#include "drawing/Painters/Redaction.hpp"

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

std::vector<DisplayItem> bars(const DisplayItem& item, const TextItem& text, const PixelGrid& grid,
                              const TextMeasurer& measurer) {
    const Color color = text.color == Color::white() ? text.color : Color::asset(redactedColorName);
    const double height = metrics(text.run.style).pointSize * text.run.scale * heightOfSmallLetters;
    const std::vector<TextLine> lines = measurer.lines(text.run, item.frame.size.width);
    std::vector<DisplayItem> bars;
    for (std::size_t index = 0; index < lines.size(); ++index) {
        const Point baseline = lineOrigin(text, item.frame, lines[index], index);
        const Rect frame = grid.snapped({{baseline.x, baseline.y - height}, {lines[index].width, height}});
        DisplayItem bar = item;
        bar.frame = frame;
        bar.kind = RoundedRectangleItem{frame.size.height / 2, color};
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
            for (DisplayItem& bar : bars(item, *text, grid, measurer)) items.push_back(std::move(bar));
            continue;
        }
        if (std::holds_alternative<PictureItem>(item.kind))
            item.kind = RectangleItem{Color::asset(redactedColorName)};
        items.push_back(std::move(item));
    }
    list.items = std::move(items);
    list.links.clear();
    return list;
}

}  // namespace drawing
