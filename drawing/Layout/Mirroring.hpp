// SPDX-License-Identifier: Apache-2.0

#pragma once

// A drawing as it is for those who read from the right.

#include "drawing/Layout/DisplayList.hpp"

namespace drawing {

/// What stood at the left of the picture stands at the right, as far from its edge; texts and pictures remain
/// what they are. Mirrored twice, it is as before. Edges stay on the pixels of `scale`.
DisplayList mirrored(DisplayList list, double scale);

}  // namespace drawing
