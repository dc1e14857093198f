// SPDX-License-Identifier: Apache-2.0

#include "host/window/WindowAppearance.hpp"

#include <algorithm>
#include <string>

#include "platform/Text/ASCII.hpp"

namespace host {

namespace {

constexpr std::uint32_t portalPrefersDark = 1;
constexpr std::uint32_t portalPrefersLight = 2;
constexpr std::uint32_t portalHighContrast = 1;
constexpr double usualResolution = 96 * 1024;

bool isNamedDark(const std::string& theme) {
    return theme.ends_with("-dark") || theme.ends_with(":dark") || theme.ends_with("inverse");
}

}  // namespace

WindowAppearance windowAppearance(const DesktopSettings& settings) {
    const bool isForced = !settings.forcedTheme.empty();
    const auto theme = platform::lowercasedASCII(isForced ? settings.forcedTheme : settings.themeName);
    const auto wish = isForced ? 0 : settings.portalColorScheme.value_or(0);
    const bool isThemeDark = (!isForced && settings.prefersDarkTheme) || isNamedDark(theme);
    const bool isDark = wish == portalPrefersDark || (wish != portalPrefersLight && isThemeDark);
    const bool isIncreased =
        settings.portalContrast == portalHighContrast || theme.starts_with("highcontrast");
    WindowAppearance appearance;
    if (isDark) appearance.colorScheme = drawing::ColorScheme::dark;
    if (isIncreased) appearance.contrast = drawing::Contrast::increased;
    appearance.textSize = drawing::textSizeNearest(settings.fontResolution / usualResolution);
    return appearance;
}

widget::DrawingRequest drawingRequest(const WantedDrawing& wanted, widget::DrawingFormat format) {
    return {.entry = widget::placeholderEntry(platform::Date::now(), ""),
            .family = wanted.family,
            .colorScheme = wanted.appearance.colorScheme,
            .appearance = {.textSize = wanted.appearance.textSize, .contrast = wanted.appearance.contrast},
            .scale = static_cast<double>(std::clamp(wanted.scale, 1, 4)),
            .format = format};
}

}  // namespace host
