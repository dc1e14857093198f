// SPDX-License-Identifier: Apache-2.0

#include "platform/WidgetKit/WidgetFamily.hpp"

namespace platform {

std::string_view description(WidgetFamily family) {
    switch (family) {
        case WidgetFamily::systemSmall: return "systemSmall";
        case WidgetFamily::systemMedium: return "systemMedium";
        case WidgetFamily::systemLarge: return "systemLarge";
        case WidgetFamily::systemExtraLarge: return "systemExtraLarge";
        case WidgetFamily::accessoryCircular: return "accessoryCircular";
        case WidgetFamily::accessoryRectangular: return "accessoryRectangular";
        case WidgetFamily::accessoryInline: return "accessoryInline";
        case WidgetFamily::other: return "other";
    }
    return "other";
}

std::optional<WidgetFamily> widgetFamily(std::string_view text) {
    for (const auto family : allWidgetFamilies)
        if (family != WidgetFamily::other && description(family) == text) return family;
    return std::nullopt;
}

}  // namespace platform
