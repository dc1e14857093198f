// SPDX-License-Identifier: Apache-2.0

#pragma once

// How the children of a stack share its length. A pure function on numbers.

#include <vector>

namespace drawing {

/// What a child can do with a length, and whose turn it is: higher priorities are served first, and leave to
/// the lower ones no more than their minimum.
struct StackChild {
    double minimum;
    double maximum;
    double priority = 0;
};

/// A length for each child, never outside of its bounds; all of them take `available` together if they can.
/// Among equals of priority, each child is offered an equal part of what is left, the least flexible one
/// first.
std::vector<double> shareOut(double available, const std::vector<StackChild>& children);

}  // namespace drawing
