#pragma once

// Shown while there is nothing to track. Leads to where an order is added.

#include "platform/SwiftUI/View.hpp"
#include "platform/WidgetKit/WidgetFamily.hpp"

namespace widget {

struct NoPackage {
    platform::WidgetFamily family;
    platform::ColorScheme colorScheme;

    platform::View body() const;
};

}  // namespace widget
