// SPDX-License-Identifier: Apache-2.0

#pragma once

// Where the lines of a text stand in its frame: one rule for every painter.

#include <cstddef>

#include "drawing/Layout/DisplayList.hpp"

namespace drawing {

/// The left end of the line's baseline. Lines begin at the leading edge of the layout; those of right-to-left
/// text begin at the right in any case, as they are read from there.
inline Point lineOrigin(const TextItem& text, const Rect& frame, LayoutDirection layoutDirection,
                        const TextLine& line, std::size_t index) {
    const bool beginsAtTheRight =
        layoutDirection == LayoutDirection::rightToLeft || line.direction == TextDirection::rightToLeft;
    const double x = beginsAtTheRight ? frame.size.width - line.width : 0;
    const FontMetrics font = metrics(text.run);
    return {frame.left() + x, frame.top() + static_cast<double>(index) * font.lineHeight + baseline(font)};
}

}  // namespace drawing
