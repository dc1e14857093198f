// SPDX-License-Identifier: Apache-2.0

#pragma once

// A picture that a live host keeps in its folder for whoever can show a file. A plain value.

#include <compare>
#include <string>
#include <string_view>

#include "platform/WidgetKit/WidgetFamily.hpp"
#include "widget/DrawingRequest.hpp"

namespace host {

struct PictureFile {
    platform::WidgetFamily family = platform::WidgetFamily::systemMedium;
    drawing::ColorScheme colorScheme = drawing::ColorScheme::dark;
    /// Pixels to a point, 1 to 4.
    double scale = 2;
    /// A desktop's factor for texts, 0.5 to 4 and 1 for its usual ones; the text size that comes nearest is
    /// drawn.
    double textScaling = 1;
    drawing::Contrast contrast = drawing::Contrast::standard;

    /// "systemMedium-dark@2x.png"; a scale of one and a half is "@1.5x". What is not usual stands before
    /// that: "systemMedium-dark-text1.25-increased@2x.png".
    std::string name() const;
    /// Whether a file is named as a picture is, of whatever scale and texts.
    static bool isName(std::string_view name);

    /// To have it drawn of that entry.
    widget::DrawingRequest request(widget::SimpleEntry entry) const;

    auto operator<=>(const PictureFile&) const = default;
};

}  // namespace host
