#pragma once

// A text in a colour, with a weight and a font where they are given. A plain value.

#include <optional>
#include <string>

#include "platform/SwiftUI/View.hpp"

namespace widget {

struct StyledText {
    std::string text;
    platform::Color color;
    std::optional<platform::FontWeight> fontWeight = std::nullopt;
    std::optional<platform::TextStyle> font = std::nullopt;

    platform::View body() const;
};

}  // namespace widget
