// SPDX-License-Identifier: Apache-2.0

#include "widget/TrackingWidget.hpp"

#include "analytics/Relaybox.hpp"
#include "presentation/Wording.hpp"
#include "widget/SupportedFamilies.hpp"

namespace widget {

TrackingWidget::Configuration TrackingWidget::body() const {
    return {
        .kind = kind,
        .provider = Provider(analytics::Relaybox::production(), minimumTimeBetweenEvents),
        .displayName = std::string(presentation::Wording::widgetName),
        .description = std::string(presentation::Wording::widgetDescription),
        .supportedFamilies = {supportedFamilies.begin(), supportedFamilies.end()},
    };
}

}  // namespace widget
