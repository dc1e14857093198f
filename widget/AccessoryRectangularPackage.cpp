// SPDX-License-Identifier: Apache-2.0

#include "widget/AccessoryRectangularPackage.hpp"

#include "widget/AppIcon.hpp"
#include "widget/PackageBody.hpp"
#include "widget/StyledText.hpp"

namespace widget {

using namespace drawing;

View AccessoryRectangularPackage::body(const ViewEnvironment& environment) const {
    constexpr double barHeight = 3;
    const presentation::StatusPair status = package.statusText();
    // In the middle of the first line.
    const double lineHeight = metrics(TextStyle::subheadline, environment.appearance.textSize).lineHeight;
    const View icon =
        appIcon(environment.colorScheme).padding(EdgeInsets::vertical((lineHeight - appIconSide) / 2));
    const View bar = progressBar(package, environment, barHeight, Color::primary()).padding({.top = 4});
    const View primary =
        StyledText{status.primary, Color::primary(), std::nullopt, TextStyle::subheadline}.body();

    const auto arrangement = [&](const StatusSetting& setting) {
        std::vector<View> rows = {
            horizontalStack({.alignment = VerticalAlignment::top, .spacing = 6},
                            {icon, fitted(primary, setting.primaryLines, setting)}),
        };
        if (status.secondary) rows.push_back(secondaryLine(status, setting));
        rows.push_back(bar);
        return rowsThatFit({.alignment = Alignment::leading, .spacing = 2}, rows.size(),
                           [rows](std::size_t index) { return rows[index]; });
    };
    if (isEnlarged(environment.appearance.textSize)) {
        constexpr StatusSetting whole{2, 2, 1};
        const View first = horizontalStack({.alignment = VerticalAlignment::top, .spacing = 6},
                                           {icon, fitted(primary, 2, whole)});
        std::vector<View> choices;
        for (const double spacing : {2.0, 0.0}) {
            choices.push_back(verticalStack({.alignment = HorizontalAlignment::leading, .spacing = spacing},
                                            {first, secondaryLine(status, whole), bar}));
        }
        return viewThatFits(std::move(choices)).widgetURL(package.deepLinkingUrl());
    }
    return statusThatFits(statusSettings(status), arrangement).widgetURL(package.deepLinkingUrl());
}

}  // namespace widget
