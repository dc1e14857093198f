#pragma once

// A display list as a bitmap. Not safe from several threads with one measurer.

#include "platform/Image/Bitmap.hpp"
#include "platform/Painters/Ink.hpp"
#include "platform/Painters/PangoTextMeasurer.hpp"
#include "platform/SwiftUI/DisplayList.hpp"

namespace platform {

/// `scale` is that of the list's pixel grid, in pixels to a point. The measurer is the one that the list was
/// laid out with.
Bitmap painted(const DisplayList& list, double scale, const Ink& ink, const PangoTextMeasurer& measurer);

}  // namespace platform
