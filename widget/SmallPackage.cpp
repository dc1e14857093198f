#include "widget/SmallPackage.hpp"

#include "widget/AppIcon.hpp"
#include "widget/NetworkImage.hpp"
#include "widget/ProgressBar.hpp"
#include "widget/StyledText.hpp"
#include "widget/WidgetImageSize.hpp"

namespace widget {

using namespace platform;

View SmallPackage::body(const ViewEnvironment& environment) const {
    const presentation::StatusPair status = package.statusText();
    const auto footnote = [](const std::string& words) {
        return StyledText{words, Color::asset("TextTertiaryColor"), std::nullopt, TextStyle::footnote}
            .body()
            .lineLimit(1);
    };

    const View header = horizontalStack(
        {.alignment = VerticalAlignment::top, .spacing = 0},
        {
            NetworkImage{package.shopImage(), points(WidgetImageSize::large), initial(package.shopName())}
                .body(environment.pictures),
            spacer(),
            appIcon(environment.colorScheme),
        });
    std::vector<View> rows = {
        header,
        spacer(),
        footnote(package.shopName()),
        StyledText{status.primary, Color::primary(), FontWeight::medium, TextStyle::subheadline}
            .body()
            .lineLimit(2),
    };
    if (status.secondary) rows.push_back(footnote(*status.secondary));
    rows.push_back(ProgressBar{package.progress(), 4, Color::asset("BrandColor")}.body().padding({.top = 6}));

    return verticalStack({.alignment = HorizontalAlignment::leading, .spacing = 0}, rows)
        .widgetURL(package.deepLinkingUrl());
}

}  // namespace widget
