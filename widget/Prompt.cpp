// SPDX-License-Identifier: Apache-2.0

#include "widget/Prompt.hpp"

#include <string>

#include "widget/AppIcon.hpp"
#include "widget/StyledText.hpp"

namespace widget {

using namespace drawing;

namespace {

constexpr double aboveButton = 12;

View iconAndWords(const View& icon, double spacing, std::string_view words, int lines) {
    return horizontalStack({.spacing = spacing},
                           {icon, promptWords(words, TextStyle::subheadline).lineLimit(lines)});
}

}  // namespace

View promptWords(std::string_view words, TextStyle font) {
    return StyledText{std::string(words), Color::primary(), FontWeight::medium, font}.body().wantedWhole();
}

View prompt(ColorScheme colorScheme, std::vector<View> rows) {
    rows.insert(rows.begin(), {appLogo(colorScheme, 24), spacer(2)});
    return verticalStack({.alignment = HorizontalAlignment::leading, .spacing = 0}, rows)
        .frame({.maxWidth = infinity, .alignment = Alignment::leading});
}

View promptButton(std::string_view title, TextStyle font) {
    return StyledText{std::string(title), Color::white(), FontWeight::medium, font}
        .body()
        .lineLimit(1)
        .wantedWhole()
        .padding({8, 6, 8, 6})
        .frame({.maxWidth = infinity})
        .background(roundedRectangle(12, Color::asset("BrandColor")))
        .padding({.top = aboveButton});
}

View lowPrompt(ColorScheme colorScheme, const View& words, const View& button) {
    // The words leave room above by themselves.
    constexpr double closer = 8;
    const View logo = appLogo(colorScheme, 20).padding({.top = aboveButton});
    const View last = horizontalStack({.spacing = 12}, {logo, button}).padding({.top = -closer});
    return verticalStack({.alignment = HorizontalAlignment::leading, .spacing = 0}, {words, spacer(), last})
        .frame({.maxWidth = infinity, .alignment = Alignment::leading});
}

View accessoryPrompt(ColorScheme colorScheme, std::string_view words) {
    return iconAndWords(appIcon(colorScheme), 6, words, 3)
        .frame({.maxWidth = infinity, .alignment = Alignment::leading});
}

View inlinePrompt(std::string_view words) {
    return iconAndWords(inlineIcon(), 5, words, 1);
}

}  // namespace widget
