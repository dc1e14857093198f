// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a provider answers a host with. Plain values.

#include <vector>

#include "platform/Date/Date.hpp"
#include "platform/WidgetKit/WidgetFamily.hpp"

namespace platform {

/// When the host asks for the next timeline: at or after a date, and earlier if it has its own reasons.
struct TimelineReloadPolicy {
    Date after;
    bool operator==(const TimelineReloadPolicy&) const = default;
};

template <typename Entry>
struct Timeline {
    std::vector<Entry> entries;
    TimelineReloadPolicy policy;
    bool operator==(const Timeline&) const = default;
};

/// What the host says of the place that an entry is for.
struct TimelineProviderContext {
    WidgetFamily family;
};

}  // namespace platform
