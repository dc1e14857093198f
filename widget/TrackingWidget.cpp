#include "widget/TrackingWidget.hpp"

#include "analytics/Relaybox.hpp"

namespace widget {

using platform::WidgetFamily;

TrackingWidget::Configuration TrackingWidget::body() const {
    return {
        .kind = kind,
        .provider = Provider(analytics::Relaybox::production(), minimumTimeBetweenEvents),
        .displayName = "Tracking Widget",
        .description = "Keep track of your packages with real-time updates.",
        // Medium comes first: the gallery offers that one.
        .supportedFamilies = {WidgetFamily::systemMedium, WidgetFamily::systemSmall,
                              WidgetFamily::systemLarge, WidgetFamily::accessoryRectangular,
                              WidgetFamily::accessoryInline},
    };
}

}  // namespace widget
