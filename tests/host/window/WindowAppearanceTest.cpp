// SPDX-License-Identifier: Apache-2.0

#include "host/window/WindowAppearance.hpp"

#include <gtest/gtest.h>

namespace host {
namespace {

using drawing::ColorScheme;
using drawing::Contrast;
using drawing::TextSize;

constexpr int usual = 96 * 1024;

TEST(WindowAppearance, IsLightWhereNobodySaysAnything) {
    EXPECT_EQ(windowAppearance({}), WindowAppearance());
}

TEST(WindowAppearance, TakesThePortalsWordBeforeTheThemes) {
    struct Row {
        std::optional<std::uint32_t> portal;
        bool prefersDarkTheme;
        const char* theme;
        ColorScheme scheme;
    };
    const std::vector<Row> rows = {
        {1, false, "Adwaita", ColorScheme::dark},
        {2, true, "Adwaita-dark", ColorScheme::light},
        {0, false, "Adwaita", ColorScheme::light},
        {0, true, "Adwaita", ColorScheme::dark},
        {0, false, "Adwaita-dark", ColorScheme::dark},
        {std::nullopt, false, "Breeze-Dark", ColorScheme::dark},
        {std::nullopt, false, "Adwaita:dark", ColorScheme::dark},
        {std::nullopt, false, "HighContrastInverse", ColorScheme::dark},
        {std::nullopt, false, "Darkling", ColorScheme::light},
        {7, false, "Adwaita", ColorScheme::light},
    };
    for (const auto& row : rows)
        EXPECT_EQ(windowAppearance({.portalColorScheme = row.portal,
                                    .prefersDarkTheme = row.prefersDarkTheme,
                                    .themeName = row.theme})
                      .colorScheme,
                  row.scheme)
            << row.theme << " " << row.portal.value_or(99);
}

TEST(WindowAppearance, TakesTheWordOfAForcedThemeBeforeAllOthers) {
    for (const std::uint32_t portal : {0U, 1U, 2U})
        for (const bool prefersDark : {false, true}) {
            const auto schemeUnder = [&](const char* forced) {
                return windowAppearance({.portalColorScheme = portal,
                                         .forcedTheme = forced,
                                         .prefersDarkTheme = prefersDark,
                                         .themeName = "Adwaita-dark"})
                    .colorScheme;
            };
            EXPECT_EQ(schemeUnder("Adwaita:dark"), ColorScheme::dark);
            EXPECT_EQ(schemeUnder("Adwaita"), ColorScheme::light);
        }
    EXPECT_EQ(windowAppearance({.forcedTheme = "HighContrast"}).contrast, Contrast::increased);
}

TEST(WindowAppearance, IncreasesTheContrastThatIsAskedFor) {
    EXPECT_EQ(windowAppearance({.portalContrast = 1}).contrast, Contrast::increased);
    EXPECT_EQ(windowAppearance({.portalContrast = 0}).contrast, Contrast::standard);
    EXPECT_EQ(windowAppearance({.themeName = "HighContrast"}).contrast, Contrast::increased);
}

TEST(WindowAppearance, HasTheTextSizeNearestToTheDesktops) {
    struct Row {
        int resolution;
        TextSize size;
    };
    const std::vector<Row> rows = {
        {usual, TextSize::large},
        {0, TextSize::large},
        {-1, TextSize::large},
        {usual * 5 / 4, TextSize::xxLarge},
        {usual * 3 / 2, TextSize::accessibility1},
        {usual * 2, TextSize::accessibility2},
        {usual * 9, TextSize::accessibility5},
        {usual * 7 / 10, TextSize::xSmall},
    };
    for (const auto& row : rows)
        EXPECT_EQ(windowAppearance({.fontResolution = row.resolution}).textSize, row.size) << row.resolution;
}

TEST(WindowAppearance, BecomesARequestWithinTheBoundsOfDrawings) {
    const WantedDrawing wanted = {.family = platform::WidgetFamily::systemSmall,
                                  .appearance = {.colorScheme = ColorScheme::dark,
                                                 .contrast = Contrast::increased,
                                                 .textSize = TextSize::xLarge},
                                  .scale = 2};
    const auto request = drawingRequest(wanted, widget::DrawingFormat::tree);
    EXPECT_EQ(request.family, wanted.family);
    EXPECT_EQ(request.colorScheme, ColorScheme::dark);
    EXPECT_EQ(request.appearance.contrast, Contrast::increased);
    EXPECT_EQ(request.appearance.textSize, TextSize::xLarge);
    EXPECT_EQ(request.scale, 2);
    EXPECT_EQ(request.format, widget::DrawingFormat::tree);
    EXPECT_EQ(drawingRequest({.scale = 9}, widget::DrawingFormat::png).scale, 4);
    EXPECT_EQ(drawingRequest({.scale = 0}, widget::DrawingFormat::png).scale, 1);
}

}  // namespace
}  // namespace host
