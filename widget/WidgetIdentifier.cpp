// SPDX-License-Identifier: Apache-2.0

#include "widget/WidgetIdentifier.hpp"

namespace widget {

std::string_view analyticsName(platform::WidgetFamily family) {
    using platform::WidgetFamily;
    switch (family) {
        case WidgetFamily::systemSmall: return "systemSmall";
        case WidgetFamily::systemMedium: return "systemMedium";
        case WidgetFamily::systemLarge: return "systemLarge";
        case WidgetFamily::systemExtraLarge: return "systemExtraLarge";
        case WidgetFamily::accessoryCircular: return "accessoryCircular";
        case WidgetFamily::accessoryRectangular: return "accessoryRectangular";
        case WidgetFamily::accessoryInline: return "accessoryInline";
        case WidgetFamily::other: break;
    }
    return "unknown";
}

std::string WidgetIdentifier::description() const {
    return std::string(platform::description(family)) + "." + widgetKind;
}

}  // namespace widget
