// SPDX-License-Identifier: Apache-2.0

#include "widget/AppIcon.hpp"

namespace widget {

using namespace drawing;

namespace {

std::string variant(const std::string& name, ColorScheme colorScheme) {
    return colorScheme == ColorScheme::dark ? name + "Dark" : name;
}

}  // namespace

View appIcon(ColorScheme colorScheme) {
    return image(variant("VelaIcon", colorScheme)).frame({.width = appIconSide, .height = appIconSide});
}

View inlineIcon() {
    return image("VelaIcon").frame({.width = 12, .height = 12});
}

View appLogo(ColorScheme colorScheme, double height) {
    constexpr double widthForHeight = 88.0 / 28.0;
    return image(variant("VelaLogo", colorScheme))
        .frame({.width = height * widthForHeight, .height = height});
}

}  // namespace widget
