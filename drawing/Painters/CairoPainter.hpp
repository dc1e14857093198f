// SPDX-License-Identifier: Apache-2.0

#pragma once

// A display list as a bitmap. Not safe from several threads with one measurer.

#include <functional>

#include "drawing/Image/Bitmap.hpp"
#include "drawing/Layout/DisplayList.hpp"
#include "drawing/Painters/Ink.hpp"
#include "drawing/Painters/PangoTextMeasurer.hpp"

namespace drawing {

/// `scale` is that of the list's pixel grid, in pixels to a point. The measurer is the one that the list was
/// laid out with.
Bitmap painted(const DisplayList& list, double scale, const Ink& ink, const PangoTextMeasurer& measurer);

/// The same in bands of whole rows, from top to bottom, of which one is in memory at a time.
void paintBands(const DisplayList& list, double scale, const Ink& ink, const PangoTextMeasurer& measurer,
                const std::function<void(const Bitmap& band)>& take);
/// The size in pixels of what they paint.
PixelSize paintedSize(const DisplayList& list, double scale);

}  // namespace drawing
