// SPDX-License-Identifier: Apache-2.0

#pragma once

// One package on a lock screen.

#include "drawing/Views/View.hpp"
#include "presentation/Package.hpp"
#include "widget/ViewEnvironment.hpp"

namespace widget {

struct AccessoryRectangularPackage {
    const presentation::Package& package;

    drawing::View body(const ViewEnvironment& environment) const;
};

}  // namespace widget
