#pragma once

// Where the lines of a text stand in its frame: one rule for every painter.

#include <cstddef>

#include "platform/SwiftUI/DisplayList.hpp"

namespace platform {

/// The left end of the line's baseline. Where lines begin at the leading edge, those of right-to-left text
/// begin at the right: they are read from there.
inline Point lineOrigin(const TextItem& text, const Rect& frame, const TextLine& line, std::size_t index) {
    HorizontalAlignment alignment = text.alignment;
    if (line.direction == TextDirection::rightToLeft && alignment == HorizontalAlignment::leading) {
        alignment = HorizontalAlignment::trailing;
    }
    const double room = frame.size.width - line.width;
    const double x = alignment == HorizontalAlignment::leading  ? 0
                     : alignment == HorizontalAlignment::center ? room / 2
                                                                : room;
    const TextStyle style = text.run.style;
    return {frame.left() + x,
            frame.top() + static_cast<double>(index) * metrics(style).lineHeight + baseline(style)};
}

}  // namespace platform
