// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a camera that was held askew writes: rows as it saw them, and a note of how they are turned (Exif 2.3,
// tag 0x0112). Pure functions.

#include <optional>
#include <string>

#include "drawing/Image/Orientation.hpp"
#include "drawing/Writers/StraightBitmap.hpp"

namespace drawing {

/// As it is stored, so that a reader who heeds the orientation shows it upright.
StraightBitmap stored(const StraightBitmap& upright, Orientation orientation);

enum class ExifByteOrder { littleEndian, bigEndian };

struct OrientationNoteOptions {
    ExifByteOrder byteOrder = ExifByteOrder::bigEndian;
    /// Noted in front of the orientation.
    std::optional<int> imageWidth = {};
};

/// The contents of an APP1 segment. `orientation` is an Orientation, or any other number.
std::string orientationNote(int orientation, const OrientationNoteOptions& options = {});

}  // namespace drawing
