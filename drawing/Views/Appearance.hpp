// SPDX-License-Identifier: Apache-2.0

#pragma once

// How a person has things shown, beside the colour scheme. Plain values.

#include <array>
#include <string_view>

#include "drawing/Image/Contrast.hpp"

namespace drawing {

/// The platform's twelve steps; `large` is the one that designs are made for.
enum class TextSize {
    xSmall,
    small,
    medium,
    large,
    xLarge,
    xxLarge,
    xxxLarge,
    accessibility1,
    accessibility2,
    accessibility3,
    accessibility4,
    accessibility5,
};

enum class Transparency { standard, reduced };

/// Whether texts and pictures are shown, or blocks in their places, for who knows nothing yet.
enum class Redaction { none, placeholder };

enum class LayoutDirection { leftToRight, rightToLeft };

constexpr auto allTextSizes = std::to_array({
    TextSize::xSmall,
    TextSize::small,
    TextSize::medium,
    TextSize::large,
    TextSize::xLarge,
    TextSize::xxLarge,
    TextSize::xxxLarge,
    TextSize::accessibility1,
    TextSize::accessibility2,
    TextSize::accessibility3,
    TextSize::accessibility4,
    TextSize::accessibility5,
});
constexpr auto allContrasts = std::to_array({Contrast::standard, Contrast::increased});
constexpr auto allTransparencies = std::to_array({Transparency::standard, Transparency::reduced});
constexpr auto allRedactions = std::to_array({Redaction::none, Redaction::placeholder});

constexpr std::string_view name(TextSize size) {
    switch (size) {
        case TextSize::xSmall: return "xSmall";
        case TextSize::small: return "small";
        case TextSize::medium: return "medium";
        case TextSize::large: return "large";
        case TextSize::xLarge: return "xLarge";
        case TextSize::xxLarge: return "xxLarge";
        case TextSize::xxxLarge: return "xxxLarge";
        case TextSize::accessibility1: return "accessibility1";
        case TextSize::accessibility2: return "accessibility2";
        case TextSize::accessibility3: return "accessibility3";
        case TextSize::accessibility4: return "accessibility4";
        case TextSize::accessibility5: return "accessibility5";
    }
    return {};
}
constexpr std::string_view name(Contrast contrast) {
    switch (contrast) {
        case Contrast::standard: return "standard";
        case Contrast::increased: return "increased";
    }
    return {};
}
constexpr std::string_view name(Transparency transparency) {
    switch (transparency) {
        case Transparency::standard: return "standard";
        case Transparency::reduced: return "reduced";
    }
    return {};
}
constexpr std::string_view name(Redaction redaction) {
    switch (redaction) {
        case Redaction::none: return "none";
        case Redaction::placeholder: return "placeholder";
    }
    return {};
}

/// How much longer text is than in the design, 0.82 to 3.12: the platform's body sizes of 14 to 53 points
/// beside its own 17.
constexpr double factor(TextSize size) {
    switch (size) {
        case TextSize::xSmall: return 0.82;
        case TextSize::small: return 0.88;
        case TextSize::medium: return 0.94;
        case TextSize::large: return 1;
        case TextSize::xLarge: return 1.12;
        case TextSize::xxLarge: return 1.24;
        case TextSize::xxxLarge: return 1.35;
        case TextSize::accessibility1: return 1.65;
        case TextSize::accessibility2: return 1.94;
        case TextSize::accessibility3: return 2.35;
        case TextSize::accessibility4: return 2.76;
        case TextSize::accessibility5: return 3.12;
    }
    return 1;
}

/// The step whose texts come nearest to a desktop's, by ratio. `scaling` is the desktop's factor, 1 for its
/// usual texts; what is no factor (zero, below, not a number) is taken for that.
constexpr TextSize textSizeNearest(double scaling) {
    if (!(scaling > 0)) return TextSize::large;
    if (scaling < factor(allTextSizes.front())) return allTextSizes.front();
    if (scaling > factor(allTextSizes.back())) return allTextSizes.back();
    const auto apart = [scaling](TextSize size) {
        return scaling > factor(size) ? scaling / factor(size) : factor(size) / scaling;
    };
    TextSize nearest = TextSize::large;
    for (const TextSize size : allTextSizes) {
        if (apart(size) < apart(nearest)) nearest = size;
    }
    return nearest;
}

constexpr bool isEnlarged(TextSize size) {
    return size > TextSize::large;
}
/// So large that few words stand beside anything.
constexpr bool isAccessibilitySize(TextSize size) {
    return size >= TextSize::accessibility1;
}

struct Appearance {
    TextSize textSize = TextSize::large;
    Contrast contrast = Contrast::standard;
    Transparency transparency = Transparency::standard;
    Redaction redaction = Redaction::none;
    LayoutDirection layoutDirection = LayoutDirection::leftToRight;
};

}  // namespace drawing
