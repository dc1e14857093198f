// SPDX-License-Identifier: Apache-2.0

#pragma once

// How text is set. Sizes and line heights are those of the design, whatever fonts stand in for a script: a
// line of Thai or Arabic takes no more room than one of Latin.

#include <array>
#include <string_view>

#include "drawing/Views/Appearance.hpp"

namespace drawing {

enum class TextStyle { title, headline, body, subheadline, footnote };

enum class FontWeight { regular, medium, semibold };

struct FontMetrics {
    std::string_view name;
    double pointSize;
    double lineHeight;
    FontWeight weight;
};

constexpr FontMetrics metrics(TextStyle style) {
    switch (style) {
        case TextStyle::title: return {"title", 28, 34, FontWeight::regular};
        case TextStyle::headline: return {"headline", 17, 22, FontWeight::semibold};
        case TextStyle::body: return {"body", 17, 22, FontWeight::regular};
        case TextStyle::subheadline: return {"subheadline", 15, 20, FontWeight::regular};
        case TextStyle::footnote: return {"footnote", 13, 18, FontWeight::regular};
    }
    return {};
}

/// Type and lines grow alike with the person's text size.
constexpr FontMetrics metrics(TextStyle style, TextSize size) {
    FontMetrics font = metrics(style);
    font.pointSize *= factor(size);
    font.lineHeight *= factor(size);
    return font;
}

constexpr std::string_view name(FontWeight weight) {
    switch (weight) {
        case FontWeight::regular: return "regular";
        case FontWeight::medium: return "medium";
        case FontWeight::semibold: return "semibold";
    }
    return {};
}

/// From 100 to 900, as font formats count.
constexpr int number(FontWeight weight) {
    switch (weight) {
        case FontWeight::regular: return 400;
        case FontWeight::medium: return 500;
        case FontWeight::semibold: return 600;
    }
    return 400;
}

/// From the top of a line to the baseline: the type (of Inter's ascent and descent) stands in the middle of
/// its line.
constexpr double baseline(const FontMetrics& font) {
    constexpr double ascent = 0.96875;
    constexpr double descent = 0.24121;
    return (font.lineHeight - (ascent + descent) * font.pointSize) / 2 + ascent * font.pointSize;
}

}  // namespace drawing
