// SPDX-License-Identifier: Apache-2.0

#pragma once

// The app's drawings, in the variant of the appearance.

#include <string>

#include "drawing/Image/ColorScheme.hpp"
#include "drawing/Views/View.hpp"

namespace widget {

inline constexpr double appIconSide = 16;

/// "VelaIcon", of 16 by 16 points.
drawing::View appIcon(drawing::ColorScheme colorScheme);
/// "VelaIcon", of 12 by 12 points, for a line of text in one colour.
drawing::View inlineIcon();
/// "VelaLogo", with the name beside the sail, of that height.
drawing::View appLogo(drawing::ColorScheme colorScheme, double height);

}  // namespace widget
