#include "widget/Prompt.hpp"

#include "widget/AppIcon.hpp"
#include "widget/StyledText.hpp"

namespace widget {

using namespace platform;

View prompt(ColorScheme colorScheme, std::vector<View> rows) {
    rows.insert(rows.begin(), {appLogo(colorScheme, 24), spacer()});
    return verticalStack({.alignment = HorizontalAlignment::leading, .spacing = 0}, rows)
        .frame({.maxWidth = infinity, .alignment = Alignment::leading});
}

View promptButton(const std::string& title, TextStyle font) {
    return StyledText{title, Color::white(), FontWeight::medium, font}
        .body()
        .lineLimit(1)
        .padding({8, 4, 8, 4})
        .frame({.maxWidth = infinity})
        .background(roundedRectangle(12, Color::asset("BrandColor")))
        .padding({.top = 12});
}

View accessoryPrompt(ColorScheme colorScheme, const std::string& words, TextStyle font, int lines) {
    return horizontalStack(
        {.spacing = 6},
        {
            appIcon(colorScheme),
            StyledText{words, Color::primary(), FontWeight::medium, font}.body().lineLimit(lines),
        });
}

}  // namespace widget
