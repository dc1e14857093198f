// SPDX-License-Identifier: Apache-2.0

#include "widget/AccessoryInlinePackage.hpp"

#include "widget/AppIcon.hpp"
#include "widget/PackageBody.hpp"

namespace widget {

using namespace drawing;

View AccessoryInlinePackage::body() const {
    const View primary = text(package.statusText().primary).lineLimit(1).minimumScaleFactor(tightest);
    const View words = viewThatFits({
        primary.font(TextStyle::subheadline).wantedWhole(),
        primary.font(TextStyle::footnote).wantedWhole(),
        primary.font(TextStyle::subheadline),
    });
    return horizontalStack({.spacing = 5}, {inlineIcon(), words}).widgetURL(package.deepLinkingUrl());
}

}  // namespace widget
