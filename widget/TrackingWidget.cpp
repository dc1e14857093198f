// SPDX-License-Identifier: Apache-2.0

#include "widget/TrackingWidget.hpp"

#include "analytics/Relaybox.hpp"
#include "presentation/Wording.hpp"

namespace widget {

using platform::WidgetFamily;

TrackingWidget::Configuration TrackingWidget::body() const {
    return {
        .kind = kind,
        .provider = Provider(analytics::Relaybox::production(), minimumTimeBetweenEvents),
        .displayName = std::string(presentation::Wording::widgetName),
        .description = std::string(presentation::Wording::widgetDescription),
        // Medium comes first: the gallery offers that one.
        .supportedFamilies = {WidgetFamily::systemMedium, WidgetFamily::systemSmall,
                              WidgetFamily::systemLarge, WidgetFamily::accessoryRectangular,
                              WidgetFamily::accessoryInline},
    };
}

}  // namespace widget
