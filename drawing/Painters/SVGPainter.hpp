// SPDX-License-Identifier: Apache-2.0

#pragma once

// A display list as an SVG document: text stays text, links are links, and a title and a description speak
// for the picture where it cannot be seen. A pure function of its arguments.

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
