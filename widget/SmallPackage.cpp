// SPDX-License-Identifier: Apache-2.0

#include "widget/SmallPackage.hpp"

#include "widget/AppIcon.hpp"
#include "widget/PackageBody.hpp"
#include "widget/StyledText.hpp"

namespace widget {

using namespace drawing;

View SmallPackage::body(const ViewEnvironment& environment) const {
    const presentation::StatusPair status = package.statusText();

    const View header = horizontalStack({.alignment = VerticalAlignment::top, .spacing = 0},
                                        {
                                            shopPicture(package, WidgetImageSize::large, environment),
                                            spacer(),
                                            appIcon(environment.colorScheme),
                                        });
    const View name = footnote(package.shopName());
    const auto primary = [&](int lines) {
        return StyledText{status.primary, Color::primary(), FontWeight::medium, TextStyle::subheadline}
            .body()
            .lineLimit(lines)
            .minimumScaleFactor(tightest);
    };
    const View secondary = status.secondary ? footnote(*status.secondary) : View();
    const View bar = progressBar(package).padding({.top = 5});

    const auto column = [&](std::vector<View> words) {
        words.insert(words.begin(), {header, spacer()});
        words.push_back(bar);
        return verticalStack({.alignment = HorizontalAlignment::leading, .spacing = 0}, words);
    };
    return viewThatFits({
                            column({name, primary(2), secondary}),
                            column({name, primary(1), secondary}),
                            column({name, primary(1)}),
                            column({primary(1)}),
                        })
        .widgetURL(package.deepLinkingUrl());
}

}  // namespace widget
