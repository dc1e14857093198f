// SPDX-License-Identifier: Apache-2.0

#pragma once

// A drawing that tells nothing: for a host that has nothing to show yet. A pure function of its arguments.

#include "drawing/Layout/DisplayList.hpp"
#include "drawing/Layout/TextMeasurer.hpp"

namespace drawing {

/// Bars in place of texts, as long as their lines and as high as their small letters; blocks in place of
/// pictures and of what white text stands on, as buttons are; and no links. The catalogue's drawings stay.
/// `scale` in pixels to a point.
DisplayList redacted(DisplayList list, double scale, const TextMeasurer& measurer);

/// What bars and blocks are filled with.
inline constexpr const char* redactedColorName = "RedactedColor";

}  // namespace drawing
