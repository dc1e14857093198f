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
    std::vector<View> rows = {
        horizontalStack({.alignment = VerticalAlignment::top, .spacing = 6},
                        {
                            appIcon(environment.colorScheme).padding(EdgeInsets::vertical(2)),
                            StyledText{status.primary, Color::primary(), std::nullopt, TextStyle::subheadline}
                                .body()
                                .lineLimit(status.secondary ? 1 : 2)
                                .minimumScaleFactor(tightest),
                        }),
    };
    if (status.secondary) rows.push_back(footnote(*status.secondary));
    rows.push_back(progressBar(package, barHeight, Color::primary()).padding({.top = 4}));
    return rowsThatFit({.alignment = Alignment::leading, .spacing = 2}, rows.size(),
                       [rows](std::size_t index) { return rows[index]; })
        .widgetURL(package.deepLinkingUrl());
}

}  // namespace widget
