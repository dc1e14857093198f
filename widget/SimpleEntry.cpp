// SPDX-License-Identifier: Apache-2.0

#include "widget/SimpleEntry.hpp"

#include <algorithm>

#include "presentation/PlaceholderPackage.hpp"

namespace widget {

SimpleEntry placeholderEntry(platform::Date date, const std::string& shopName) {
    return {date, LoggedIn{presentation::placeholderPackages(shopName)}};
}

bool namesPictures(const SimpleEntry& entry) {
    const auto* shown = std::get_if<LoggedIn>(&entry.widgetState);
    return shown && std::any_of(shown->packages.begin(), shown->packages.end(), [](const auto& package) {
               return package->productImage() || package->shopImage();
           });
}

}  // namespace widget
