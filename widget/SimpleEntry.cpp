// SPDX-License-Identifier: Apache-2.0

#include "widget/SimpleEntry.hpp"

#include "presentation/PlaceholderPackage.hpp"

namespace widget {

SimpleEntry placeholderEntry(platform::Date date, const std::string& shopName) {
    return {date, LoggedIn{presentation::placeholderPackages(shopName)}};
}

}  // namespace widget
