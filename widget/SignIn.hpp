// SPDX-License-Identifier: Apache-2.0

#pragma once

// Shown while nobody is signed in.

#include "drawing/Views/View.hpp"
#include "platform/WidgetKit/WidgetFamily.hpp"

namespace widget {

struct SignIn {
    platform::WidgetFamily family;
    drawing::ColorScheme colorScheme;
    drawing::TextSize textSize = drawing::TextSize::large;

    drawing::View body() const;
};

}  // namespace widget
