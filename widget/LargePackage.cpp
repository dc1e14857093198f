// SPDX-License-Identifier: Apache-2.0

#include "widget/LargePackage.hpp"

#include "widget/AppIcon.hpp"
#include "widget/PackageBody.hpp"

namespace widget {

using namespace drawing;

View LargePackage::body(const ViewEnvironment& environment) const {
    const auto row = [packages = packages, environment](std::size_t index) {
        const presentation::Package& package = *packages[index];
        return verticalStack({.spacing = 8}, {packageRow(package, environment), progressBar(package)})
            .link(package.deepLinkingUrl());
    };
    // Close enough for four packages of one status line each.
    const View rows =
        rowsThatFit({.spacing = 10, .widestSpacing = 14, .divider = divider(Color::asset("DividerColor"))},
                    packages.size(), row);
    return verticalStack({.alignment = HorizontalAlignment::trailing, .spacing = 10},
                         {appIcon(environment.colorScheme), rows});
}

}  // namespace widget
