// SPDX-License-Identifier: Apache-2.0

#pragma once

// The parts of a PNG file, by the letter of RFC 2083, for files that must be odd. Pure functions.

#include <string>
#include <string_view>

#include "drawing/Image/Bitmap.hpp"

namespace drawing {

/// The numbers are the format's own.
enum class PNGColors { gray = 0, rgb = 2, palette = 3, grayAlpha = 4, rgba = 6 };

std::string_view pngSignature();
std::string pngChunk(std::string_view type, std::string_view contents);
/// Of any size and depth, whether or not they go together.
std::string pngHeaderChunk(PixelSize size, int bitDepth, PNGColors colors, bool interlaced);

/// A zlib stream. `level` is from 0 to 9.
std::string deflated(std::string_view bytes, int level = 6);

}  // namespace drawing
