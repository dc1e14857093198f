#include "widget/SmallPackage.hpp"

#include "widget/AppIcon.hpp"
#include "widget/PackageBody.hpp"
#include "widget/StyledText.hpp"

namespace widget {

using namespace platform;

View SmallPackage::body(const ViewEnvironment& environment) const {
    const presentation::StatusPair status = package.statusText();

    const View header = horizontalStack({.alignment = VerticalAlignment::top, .spacing = 0},
                                        {
                                            shopPicture(package, WidgetImageSize::large, environment),
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
    rows.push_back(progressBar(package).padding({.top = 6}));

    return verticalStack({.alignment = HorizontalAlignment::leading, .spacing = 0}, rows)
        .widgetURL(package.deepLinkingUrl());
}

}  // namespace widget
