// SPDX-License-Identifier: Apache-2.0

#include "presentation/PlaceholderPackage.hpp"

#include "presentation/DeepLink.hpp"
#include "presentation/Wording.hpp"

namespace presentation {

PackageList placeholderPackages(const std::string& shopName) {
    PackageList packages;
    for (const float progress : {0.4F, 0.8F, 0.4F}) {
        PlaceholderPackage::Values values{
            .shopName = shopName,
            .deepLinkingUrl = DeepLink::homeOrders(),
            .progress = progress,
            .statusText = {.primary = std::string(Wording::samplePrimary),
                           .secondary = std::string(Wording::sampleSecondary)},
        };
        packages.push_back(std::make_shared<PlaceholderPackage>(std::move(values)));
    }
    return packages;
}

}  // namespace presentation
