// SPDX-License-Identifier: Apache-2.0

#include "widget/TrackingWidgetEntryView.hpp"

#include "widget/AccessoryInlinePackage.hpp"
#include "widget/AccessoryRectangularPackage.hpp"
#include "widget/LargePackage.hpp"
#include "widget/MediumPackage.hpp"
#include "widget/NoPackage.hpp"
#include "widget/SignIn.hpp"
#include "widget/SmallPackage.hpp"

namespace widget {

using namespace drawing;

namespace {

View background(ColorScheme colorScheme) {
    switch (colorScheme) {
        case ColorScheme::dark: return linearGradient({Color::sRGB(33, 33, 34), Color::sRGB(20, 20, 20)});
        case ColorScheme::light:
            return linearGradient({Color::sRGB(255, 255, 255), Color::sRGB(255, 255, 255)});
    }
    return View();
}

View layout(const LoggedIn& state, const ViewEnvironment& environment) {
    if (state.packages.empty()) return View();
    const presentation::Package& first = *state.packages.front();
    switch (environment.widgetFamily) {
        case platform::WidgetFamily::systemMedium: return MediumPackage{first}.body(environment);
        case platform::WidgetFamily::systemLarge: return LargePackage{state.packages}.body(environment);
        case platform::WidgetFamily::accessoryRectangular:
            return AccessoryRectangularPackage{first}.body(environment);
        case platform::WidgetFamily::accessoryInline: return AccessoryInlinePackage{first}.body(environment);
        case platform::WidgetFamily::systemSmall:
        case platform::WidgetFamily::systemExtraLarge:
        case platform::WidgetFamily::accessoryCircular:
        case platform::WidgetFamily::other: return SmallPackage{first}.body(environment);
    }
    return View();
}
View layout(const NotLoggedIn&, const ViewEnvironment& environment) {
    return SignIn{environment.widgetFamily, environment.colorScheme, environment.appearance.textSize}.body();
}
View layout(const NoPackages&, const ViewEnvironment& environment) {
    return NoPackage{environment.widgetFamily, environment.colorScheme, environment.appearance.textSize}
        .body();
}

}  // namespace

View TrackingWidgetEntryView::body(const ViewEnvironment& environment) const {
    const View chosen =
        std::visit([&](const auto& state) { return layout(state, environment); }, entry.widgetState);
    return horizontalStack({}, {chosen})
        .containerBackground(background(environment.colorScheme))
        .textSize(environment.appearance.textSize);
}

}  // namespace widget
