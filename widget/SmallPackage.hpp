// SPDX-License-Identifier: Apache-2.0

#pragma once

// One package in a small square: merchant and app above, status and progress below.

#include "drawing/Views/View.hpp"
#include "presentation/Package.hpp"
#include "widget/ViewEnvironment.hpp"

namespace widget {

struct SmallPackage {
    const presentation::Package& package;

    drawing::View body(const ViewEnvironment& environment) const;
};

}  // namespace widget
