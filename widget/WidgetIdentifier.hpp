// SPDX-License-Identifier: Apache-2.0

#pragma once

// What analytics calls a placed widget, and the families' names in it. Plain values.

#include <string>
#include <string_view>

#include "platform/WidgetKit/WidgetFamily.hpp"

namespace widget {

/// The name under which analytics knows a family; "unknown" for one that this table does not have.
std::string_view analyticsName(platform::WidgetFamily family);

struct WidgetIdentifier {
    platform::WidgetFamily family;
    std::string widgetKind;

    /// The family's description, a full stop and the kind: "systemSmall.TrackingWidget".
    std::string description() const;
    bool operator==(const WidgetIdentifier&) const = default;
};

}  // namespace widget
