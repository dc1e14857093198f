// SPDX-License-Identifier: Apache-2.0

#pragma once

// One package in one line.

#include "drawing/Views/View.hpp"
#include "presentation/Package.hpp"
#include "widget/ViewEnvironment.hpp"

namespace widget {

struct AccessoryInlinePackage {
    const presentation::Package& package;

    drawing::View body(const ViewEnvironment& environment) const;
};

}  // namespace widget
