// SPDX-License-Identifier: Apache-2.0

#pragma once

// Display lists as lines of text, laid out without fonts.

#include <string>
#include <string_view>
#include <vector>

#include "drawing/Layout/DisplayList.hpp"
#include "drawing/Layout/TextMeasurer.hpp"
#include "drawing/Views/View.hpp"

namespace drawing_tests {

/// Every byte is half as wide as its font is large, and lines break anywhere. What begins in Hebrew is read
/// from the right.
class FixedAdvance final : public drawing::TextMeasurer {
  public:
    std::vector<drawing::TextLine> lines(const drawing::TextRun& run,
                                         std::optional<double> width) const override;
};

/// The view in a container of that size, without margins, on a grid so fine that nothing moves.
drawing::DisplayList displayed(const drawing::View& view, drawing::Size size, double scale = 1000);

/// "roundedRectangle BrandColor 0 0 50 4": kind, what it shows, frame. A link is "link URL x y width height".
std::vector<std::string> lines(const drawing::DisplayList& list);
/// Those that begin so.
std::vector<std::string> linesBeginning(std::string_view begin, const drawing::DisplayList& list);

}  // namespace drawing_tests
