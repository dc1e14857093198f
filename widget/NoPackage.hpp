// SPDX-License-Identifier: Apache-2.0

#pragma once

// Shown while there is nothing to track. Leads to where an order is added.

#include "drawing/Views/View.hpp"
#include "platform/WidgetKit/WidgetFamily.hpp"

namespace widget {

struct NoPackage {
    platform::WidgetFamily family;
    drawing::ColorScheme colorScheme;
    drawing::TextSize textSize = drawing::TextSize::large;

    drawing::View body() const;
};

}  // namespace widget
