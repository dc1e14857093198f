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

    /// "systemMedium-dark@2x.png"; a scale of one and a half is "@1.5x".
    std::string name() const;
    /// Whether a file is named as a picture is, of whatever scale.
    static bool isName(std::string_view name);

    auto operator<=>(const PictureFile&) const = default;
};

}  // namespace host
