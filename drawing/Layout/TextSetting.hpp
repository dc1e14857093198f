// SPDX-License-Identifier: Apache-2.0

#pragma once

// How a text chooses its size: how many lines, how long, how large. A pure function of the measurer.

#include <string>

#include "drawing/Layout/Layout.hpp"
#include "drawing/Layout/TextMeasurer.hpp"
#include "drawing/Views/Element.hpp"
#include "drawing/Views/Geometry.hpp"

namespace drawing {

struct TextSetting {
    Size size;
    /// As many lines as the text may have and the proposed height holds; 0 is no limit.
    int lineLimit = 0;
    /// A part of the style's size.
    double scale = 1;
    /// Whether it ends in an ellipsis though it is wanted whole.
    bool isCut = false;
    /// Of all its lines: that of its first letter.
    TextDirection direction = TextDirection::leftToRight;
};

/// A text that does not fit is set smaller, within what it inherits, where that shows all of it; the lines of
/// a text that is shown whole are about as long as each other.
TextSetting setText(const std::string& words, const Proposal& proposal, const InheritedValues& inherited,
                    const TextMeasurer& measurer);

}  // namespace drawing
