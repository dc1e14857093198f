// SPDX-License-Identifier: Apache-2.0

#include "widget/TrackingWidgetEntryView.hpp"

#include "presentation/SpokenPackage.hpp"
#include "presentation/Wording.hpp"
#include "widget/AccessoryInlinePackage.hpp"
#include "widget/AccessoryRectangularPackage.hpp"
#include "widget/Ground.hpp"
#include "widget/LargePackage.hpp"
#include "widget/MediumPackage.hpp"
#include "widget/NoPackage.hpp"
#include "widget/SignIn.hpp"
#include "widget/SmallPackage.hpp"

namespace widget {

using namespace drawing;
using presentation::areSamples;
using presentation::spoken;
using presentation::Wording;

namespace {

View background(ColorScheme colorScheme) {
    const Ground behind = ground(colorScheme);
    return linearGradient({Color::sRGB(behind.top), Color::sRGB(behind.bottom)});
}

View packageLayout(const LoggedIn& state, const ViewEnvironment& environment) {
    const presentation::Package& first = *state.packages.front();
    switch (environment.widgetFamily) {
        case platform::WidgetFamily::systemMedium:
            return MediumPackage{first}.body(environment).spoken(spoken(first));
        case platform::WidgetFamily::systemLarge: return LargePackage{state.packages}.body(environment);
        case platform::WidgetFamily::accessoryRectangular:
            return AccessoryRectangularPackage{first}.body(environment).spoken(spoken(first));
        case platform::WidgetFamily::accessoryInline:
            return AccessoryInlinePackage{first}.body(environment).spoken(spoken(first));
        case platform::WidgetFamily::systemSmall:
        case platform::WidgetFamily::systemExtraLarge:
        case platform::WidgetFamily::accessoryCircular:
        case platform::WidgetFamily::other:
            return SmallPackage{first}.body(environment).spoken(spoken(first));
    }
    return View();
}

View layout(const LoggedIn& state, const ViewEnvironment& environment) {
    if (state.packages.empty()) return View().spoken(std::string(Wording::nothingToTrack));
    const View shown = packageLayout(state, environment);
    return areSamples(state.packages) ? shown.spoken(std::string(Wording::notYetKnown)) : shown;
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
    const View shown = horizontalStack({}, {chosen})
                           .containerBackground(background(environment.colorScheme))
                           .textSize(environment.appearance.textSize);
    switch (environment.appearance.redaction) {
        case Redaction::none: return shown;
        case Redaction::placeholder: return shown.spoken(std::string(Wording::notYetKnown));
    }
    return shown;
}

}  // namespace widget
