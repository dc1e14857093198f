// SPDX-License-Identifier: Apache-2.0

#pragma once

// How an entry is to be drawn: what a host asks for when it shows the widget, from its command line to the
// view. A plain value.

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "drawing/Image/ColorScheme.hpp"
#include "drawing/Views/Appearance.hpp"
#include "drawing/Views/Geometry.hpp"
#include "platform/WidgetKit/WidgetFamily.hpp"
#include "widget/SimpleEntry.hpp"

namespace widget {

/// `text` says what is drawn: a line for each package or text, in the order in which they are seen.
enum class DrawingFormat { png, svg, tree, text };
std::string_view name(DrawingFormat format);
std::string_view name(drawing::ColorScheme colorScheme);

/// Whether a drawing may read the pictures that its entry names, or shows a placeholder for each.
enum class PictureReading { allowed, placeholdersOnly };
std::string_view name(PictureReading reading);

struct DrawingRequest {
    /// Points a side, and pixels in all: what one drawing may cost.
    static constexpr double longestSide = 4096;
    static constexpr double mostPixels = 16e6;
    /// Whether a drawing of that size, in points, at that scale stays within the bounds.
    static bool isWithinBounds(drawing::Size size, double scale);
    /// Whether it is "#RRGGBB".
    static bool isTint(std::string_view text);
    /// In points: what holds the widget's own words whole, as a host that chooses sizes should grant.
    static drawing::Size smallestSize(platform::WidgetFamily family);

    SimpleEntry entry;
    platform::WidgetFamily family;
    drawing::ColorScheme colorScheme = drawing::ColorScheme::light;
    /// Its direction is the extension's to choose, by the person's languages.
    drawing::Appearance appearance = {};
    /// In points; absent is the family's own size.
    std::optional<drawing::Size> size = std::nullopt;
    /// Pixels to a point, 1 to 4.
    double scale = 3;
    DrawingFormat format = DrawingFormat::png;
    /// "#RRGGBB", the one colour of a lock screen's widgets; absent is one that reads well in the colour
    /// scheme.
    std::optional<std::string> tint = std::nullopt;
    PictureReading pictures = PictureReading::allowed;
    /// How long the drawing may wait for its pictures; those that have not come by then are placeholders.
    /// Absent: as long as a transfer may take.
    std::optional<std::chrono::milliseconds> pictureBudget = std::nullopt;
};

}  // namespace widget
