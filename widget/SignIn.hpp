#pragma once

// Shown while nobody is signed in.

#include "platform/SwiftUI/View.hpp"
#include "platform/WidgetKit/WidgetFamily.hpp"

namespace widget {

struct SignIn {
    platform::WidgetFamily family;
    platform::ColorScheme colorScheme;

    platform::View body() const;
};

}  // namespace widget
