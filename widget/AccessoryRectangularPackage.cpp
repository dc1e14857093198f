#include "widget/AccessoryRectangularPackage.hpp"

#include "widget/AppIcon.hpp"
#include "widget/ProgressBar.hpp"
#include "widget/StyledText.hpp"

namespace widget {

using namespace platform;

View AccessoryRectangularPackage::body(const ViewEnvironment& environment) const {
    constexpr double barHeight = 3;
    const presentation::StatusPair status = package.statusText();
    std::vector<View> rows = {
        horizontalStack({.spacing = 6},
                        {
                            appIcon(environment.colorScheme),
                            StyledText{status.primary, Color::primary(), std::nullopt, TextStyle::subheadline}
                                .body()
                                .lineLimit(status.secondary ? 1 : 2),
                        }),
    };
    if (status.secondary) {
        rows.push_back(StyledText{*status.secondary, Color::asset("TextTertiaryColor"), std::nullopt,
                                  TextStyle::footnote}
                           .body()
                           .lineLimit(1));
    }
    rows.push_back(ProgressBar{package.progress(), barHeight, Color::primary()}.body().padding(
        {4, barHeight, 2, barHeight}));
    return rowsThatFit({.alignment = Alignment::leading, .spacing = 2}, rows.size(),
                       [rows](std::size_t index) { return rows[index]; })
        .widgetURL(package.deepLinkingUrl());
}

}  // namespace widget
