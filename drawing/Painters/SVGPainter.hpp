// SPDX-License-Identifier: Apache-2.0

#pragma once

// A display list as an SVG document: text stays text, links are links, and where the picture cannot be seen a
// title and what is said of its parts speak for it, each part once. A pure function of its arguments.

#include <string>
#include <string_view>

#include "drawing/Layout/DisplayList.hpp"
#include "drawing/Layout/TextMeasurer.hpp"
#include "drawing/Painters/Ink.hpp"

namespace drawing {

/// Links that would run a script in the page that shows the picture are left out.
std::string paintedSVG(const DisplayList& list, std::string_view title, const Ink& ink,
                       const TextMeasurer& measurer);

}  // namespace drawing
