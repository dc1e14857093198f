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
    const View icon = appIcon(environment.colorScheme).padding(EdgeInsets::vertical(2));
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
    return statusThatFits(statusSettings(status), arrangement).widgetURL(package.deepLinkingUrl());
}

}  // namespace widget
