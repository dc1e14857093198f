// SPDX-License-Identifier: Apache-2.0

#include "widget/Prompt.hpp"

#include <string>
#include <utility>

#include "widget/AppIcon.hpp"
#include "widget/PackageBody.hpp"
#include "widget/StyledText.hpp"

namespace widget {

using namespace drawing;

namespace {

constexpr double aboveButton = 12;

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
    std::vector<View> choices;
    for (const auto& [logoHeight, spacing] : {std::pair{20.0, 6.0}, {16.0, 2.0}, {12.0, 0.0}}) {
        const View logo = appLogo(colorScheme, logoHeight);
        choices.push_back(verticalStack({.alignment = HorizontalAlignment::leading, .spacing = spacing},
                                        {logo, promptWords(words, TextStyle::subheadline).lineLimit(2)}));
    }
    return viewThatFits(std::move(choices)).frame({.maxWidth = infinity, .alignment = Alignment::leading});
}

View inlinePrompt(ColorScheme colorScheme, std::string_view words, TextSize textSize) {
    const View line = promptWords(words, TextStyle::subheadline).lineLimit(1);
    return horizontalStack({.spacing = 6}, {appLogo(colorScheme, 12),
                                            isEnlarged(textSize) ? line : line.minimumScaleFactor(tightest)});
}

}  // namespace widget
