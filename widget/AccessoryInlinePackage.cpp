// SPDX-License-Identifier: Apache-2.0

#include "widget/AccessoryInlinePackage.hpp"

#include "widget/AppIcon.hpp"
#include "widget/PackageBody.hpp"

namespace widget {

using namespace drawing;

View AccessoryInlinePackage::body(const ViewEnvironment& environment) const {
    const View primary = text(package.statusText().primary).lineLimit(1);
    const View fitting = primary.minimumScaleFactor(tightest);
    const View words = isEnlarged(environment.appearance.textSize)
                           ? primary.font(TextStyle::subheadline).wantedWhole()
                           : viewThatFits({
                                 fitting.font(TextStyle::subheadline).wantedWhole(),
                                 fitting.font(TextStyle::footnote).wantedWhole(),
                                 fitting.font(TextStyle::subheadline),
                             });
    return horizontalStack({.spacing = 5}, {inlineIcon(), words}).widgetURL(package.deepLinkingUrl());
}

}  // namespace widget
