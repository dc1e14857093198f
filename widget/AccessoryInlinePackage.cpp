// SPDX-License-Identifier: Apache-2.0

#include "widget/AccessoryInlinePackage.hpp"

#include "widget/AppIcon.hpp"
#include "widget/PackageBody.hpp"

namespace widget {

using namespace drawing;

View AccessoryInlinePackage::body() const {
    return horizontalStack({.spacing = 5},
                           {
                               inlineIcon(),
                               text(package.statusText().primary)
                                   .font(TextStyle::subheadline)
                                   .lineLimit(1)
                                   .minimumScaleFactor(tightest),
                           })
        .widgetURL(package.deepLinkingUrl());
}

}  // namespace widget
