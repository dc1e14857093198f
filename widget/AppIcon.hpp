#pragma once

// The app's drawings, in the variant of the appearance.

#include <string>

#include "platform/Image/ColorScheme.hpp"
#include "platform/SwiftUI/View.hpp"

namespace widget {

/// "VelaIcon", of 16 by 16 points.
platform::View appIcon(platform::ColorScheme colorScheme);
/// "VelaIcon", of 12 by 12 points, for a line of text in one colour.
platform::View inlineIcon();
/// "VelaLogo", with the name beside the sail, of that height.
platform::View appLogo(platform::ColorScheme colorScheme, double height);

}  // namespace widget
