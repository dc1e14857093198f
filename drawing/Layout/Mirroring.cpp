// SPDX-License-Identifier: Apache-2.0

#include "drawing/Layout/Mirroring.hpp"

#include "drawing/Layout/PixelGrid.hpp"

namespace drawing {
namespace {

LayoutDirection opposite(LayoutDirection direction) {
    switch (direction) {
        case LayoutDirection::leftToRight: return LayoutDirection::rightToLeft;
        case LayoutDirection::rightToLeft: return LayoutDirection::leftToRight;
    }
    return direction;
}

}  // namespace

DisplayList mirrored(DisplayList list, double scale) {
    const Rect container = list.container.frame;
    const double width = PixelGrid(scale).snapped(container.size.width);
    const auto mirror = [&](Rect& frame) {
        if (frame != container) frame.origin.x = width - frame.right();
    };
    for (DisplayItem& item : list.items) {
        mirror(item.frame);
        for (Shape& clip : item.clips) mirror(clip.frame);
    }
    for (DisplayLink& link : list.links) mirror(link.frame);
    for (SpokenPart& part : list.spoken) mirror(part.frame);
    list.layoutDirection = opposite(list.layoutDirection);
    return list;
}

}  // namespace drawing
