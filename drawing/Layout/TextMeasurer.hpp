// SPDX-License-Identifier: Apache-2.0

#pragma once

// The seam between layout and fonts.

#include <optional>
#include <string>
#include <vector>

#include "drawing/Views/Font.hpp"

namespace drawing {

/// A text and how it is set. `lineLimit` 0 is no limit; `scale` is a part of the style's size at the person's
/// text size, at which its lines stay as high.
struct TextRun {
    std::string text;
    TextStyle style = TextStyle::body;
    FontWeight weight = FontWeight::regular;
    int lineLimit = 0;
    double scale = 1;
    TextSize textSize = TextSize::large;
    bool operator==(const TextRun&) const = default;
};

/// Without its `scale`.
inline FontMetrics metrics(const TextRun& run) {
    return metrics(run.style, run.textSize);
}

enum class TextDirection { leftToRight, rightToLeft };

/// A line as it is seen: what did not fit has given way to an ellipsis.
struct TextLine {
    std::string text;
    double width;
    TextDirection direction = TextDirection::leftToRight;
    /// No word, nor what a script without blanks breaks instead, ends with the line.
    bool breaksWord = false;
    /// Of what is not in Latin letters: it decides about the shapes of characters. Empty where all is.
    std::string language = {};
    bool operator==(const TextLine&) const = default;
};

class TextMeasurer {
  public:
    virtual ~TextMeasurer() = default;

    /// The lines of a text within a width in points; without one, a line is as long as its text. An empty
    /// text has one empty line. A line may be wider than the width only where a single character is.
    virtual std::vector<TextLine> lines(const TextRun& run, std::optional<double> width) const = 0;
};

}  // namespace drawing
