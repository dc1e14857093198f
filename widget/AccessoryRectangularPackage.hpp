#pragma once

// One package on a lock screen.

#include "platform/SwiftUI/View.hpp"
#include "presentation/Package.hpp"
#include "widget/ViewEnvironment.hpp"

namespace widget {

struct AccessoryRectangularPackage {
    const presentation::Package& package;

    platform::View body(const ViewEnvironment& environment) const;
};

}  // namespace widget
