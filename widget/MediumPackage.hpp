// SPDX-License-Identifier: Apache-2.0

#pragma once

// One package across: merchant and app above, status beside the product, progress along the lower edge.

#include "drawing/Views/View.hpp"
#include "presentation/Package.hpp"
#include "widget/ViewEnvironment.hpp"

namespace widget {

struct MediumPackage {
    const presentation::Package& package;

    drawing::View body(const ViewEnvironment& environment) const;
};

}  // namespace widget
