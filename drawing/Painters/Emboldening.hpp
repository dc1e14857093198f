// SPDX-License-Identifier: Apache-2.0

#pragma once

// Fonts of many scripts have nothing between regular and bold: what a letter lacks of its weight is drawn
// around it.

#include <pango/pango.h>

#include "drawing/Views/Font.hpp"

namespace drawing {

/// The width of the line to draw along the letters' edges, in the font's own units of length; 0 where the
/// font is heavy enough or made of pictures.
double emboldeningStroke(PangoFont& font, FontWeight wanted);

}  // namespace drawing
