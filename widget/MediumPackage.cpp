// SPDX-License-Identifier: Apache-2.0

#include "widget/MediumPackage.hpp"

#include "widget/AppIcon.hpp"
#include "widget/PackageBody.hpp"

namespace widget {

using namespace drawing;

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
    const View bar = progressBar(package).padding({.top = 10});
    const View low = horizontalStack({.alignment = VerticalAlignment::top, .spacing = 10},
                                     {packageRow(package, environment), appIcon(environment.colorScheme)});
    return viewThatFits({
                            verticalStack({.spacing = 0}, {header, spacer(), status, bar}),
                            verticalStack({.spacing = 0}, {low, spacer(), bar}),
                        })
        .widgetURL(package.deepLinkingUrl());
}

}  // namespace widget
