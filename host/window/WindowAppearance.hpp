// SPDX-License-Identifier: Apache-2.0

#pragma once

// How a desktop's settings have the widget drawn. Pure functions, safe from any thread.

#include <cstdint>
#include <optional>
#include <string_view>

#include "widget/DrawingRequest.hpp"

namespace host {

/// What a desktop says, each where it says it.
struct DesktopSettings {
    /// Of the settings portal: 1 prefers dark, 2 light, 0 nothing.
    std::optional<std::uint32_t> portalColorScheme = std::nullopt;
    /// Of the same: 1 is higher contrast.
    std::optional<std::uint32_t> portalContrast = std::nullopt;
    /// The environment's GTK_THEME, by which the toolkit draws whatever the settings say; empty is none.
    std::string_view forcedTheme = {};
    bool prefersDarkTheme = false;
    std::string_view themeName = {};
    /// gtk-xft-dpi: 1024ths of dots per inch, of which a text has 96 at the usual size; 0 or below is none.
    int fontResolution = 0;
};

struct WindowAppearance {
    drawing::ColorScheme colorScheme = drawing::ColorScheme::light;
    drawing::Contrast contrast = drawing::Contrast::standard;
    drawing::TextSize textSize = drawing::TextSize::large;

    bool operator==(const WindowAppearance&) const = default;
};

/// The forced theme's word counts before the portal's, and that before the other theme's.
WindowAppearance windowAppearance(const DesktopSettings& settings);

/// What a window wants to show.
struct WantedDrawing {
    platform::WidgetFamily family = platform::WidgetFamily::systemMedium;
    WindowAppearance appearance = {};
    /// Device pixels to a point; beyond what is drawn, the nearest is.
    int scale = 1;

    bool operator==(const WantedDrawing&) const = default;
};

/// The request for it; the entry is the live host's.
widget::DrawingRequest drawingRequest(const WantedDrawing& wanted, widget::DrawingFormat format);

}  // namespace host
