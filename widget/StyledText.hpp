// SPDX-License-Identifier: Apache-2.0

#pragma once

// A text in a colour, with a weight and a font where they are given. A plain value.

#include <optional>
#include <string>

#include "drawing/Views/View.hpp"

namespace widget {

struct StyledText {
    std::string text;
    drawing::Color color;
    std::optional<drawing::FontWeight> fontWeight = std::nullopt;
    std::optional<drawing::TextStyle> font = std::nullopt;

    drawing::View body() const;
};

}  // namespace widget
