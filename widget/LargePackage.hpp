// SPDX-License-Identifier: Apache-2.0

#pragma once

// As many packages as there is room for, one below the other, each a link of its own.

#include "drawing/Views/View.hpp"
#include "presentation/Package.hpp"
#include "widget/ViewEnvironment.hpp"

namespace widget {

struct LargePackage {
    const presentation::PackageList& packages;

    /// The view reads the pictures of what it shows when it is laid out, with what the environment refers to.
    drawing::View body(const ViewEnvironment& environment) const;
};

}  // namespace widget
