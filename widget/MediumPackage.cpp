#include "widget/MediumPackage.hpp"

#include "widget/AppIcon.hpp"
#include "widget/PackageBody.hpp"

namespace widget {

using namespace platform;

View MediumPackage::body(const ViewEnvironment& environment) const {
    const View header =
        horizontalStack({.alignment = VerticalAlignment::top, .spacing = 0},
                        {
                            horizontalStack({.spacing = 10},
                                            {
                                                shopPicture(package, WidgetImageSize::medium, environment),
                                                footnote(package.shopName()),
                                            }),
                            spacer(10),
                            appIcon(environment.colorScheme),
                        });
    const View status = horizontalStack({.alignment = VerticalAlignment::bottom, .spacing = 10},
                                        {
                                            statusLines(package, 2),
                                            productPicture(package, WidgetImageSize::medium, environment),
                                        });
    return verticalStack({.spacing = 0},
                         {
                             header,
                             spacer(),
                             status,
                             progressBar(package).padding({.top = 12}),
                         })
        .widgetURL(package.deepLinkingUrl());
}

}  // namespace widget
