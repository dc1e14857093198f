// SPDX-License-Identifier: Apache-2.0

#pragma once

// The one widget. Its values are shown in the host's gallery and reported to analytics as they stand here.
// Its content, for each entry a TrackingWidgetEntryView, is in the drawing module (EntryDrawing), which a
// timeline does without.

#include "platform/WidgetKit/WidgetConfiguration.hpp"
#include "widget/Provider.hpp"

namespace widget {

struct TrackingWidget {
    using Configuration = platform::AppIntentConfiguration<Provider>;

    static constexpr const char* kind = "TrackingWidget";
    /// Seconds between two analytics events.
    static constexpr double minimumTimeBetweenEvents = 2.0;

    /// The declaration, with a new provider whose events have a new URL session.
    Configuration body() const;
};

}  // namespace widget
