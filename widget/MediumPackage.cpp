// SPDX-License-Identifier: Apache-2.0

#include "widget/MediumPackage.hpp"

#include <vector>

#include "widget/AppIcon.hpp"
#include "widget/EnlargedPackage.hpp"
#include "widget/PackageBody.hpp"

namespace widget {

using namespace drawing;

View MediumPackage::body(const ViewEnvironment& environment) const {
    const View icon = appIcon(environment.colorScheme);
    if (isEnlarged(environment.appearance.textSize)) {
        return viewThatFits(enlargedBodies(package, environment, WidgetImageSize::medium, icon))
            .widgetURL(package.deepLinkingUrl());
    }
    const auto high = [&](const StatusSetting& setting) {
        return mediumBody(package, environment, WidgetImageSize::medium, setting, icon);
    };
    const auto low = [&](const StatusSetting& setting) {
        const View row = horizontalStack({.alignment = VerticalAlignment::top, .spacing = 10},
                                         {packageRow(package, environment, setting), icon});
        const View bar = progressBar(package, environment).padding({.top = 10});
        return verticalStack({.spacing = 0}, {row, spacer(), bar});
    };

    std::vector<View> choices;
    for (const auto cut : {StatusSetting::Cut::never, StatusSetting::Cut::allowed}) {
        const std::vector<StatusSetting> settings = statusSettings(package.statusText(), cut);
        for (const StatusSetting& setting : settings) choices.push_back(high(setting));
        for (const StatusSetting& setting : settings) choices.push_back(low(setting));
    }
    return viewThatFits(std::move(choices)).widgetURL(package.deepLinkingUrl());
}

}  // namespace widget
