// SPDX-License-Identifier: Apache-2.0

#pragma once

// JPEG files in every form. Pure functions.

#include <string>
#include <vector>

#include "drawing/Writers/StraightBitmap.hpp"

namespace drawing {

enum class JPEGColors { gray, rgb, yccInks, cmykInks };

/// What one scan of a progressive file says: of which components, which coefficients, and which of their
/// bits.
struct JPEGScan {
    std::vector<int> components;
    int first = 0;
    int last = 0;
    int bitsBefore = 0;  // the lowest bit that is known already; 0 when none is
    int bits = 0;        // the lowest bit that this scan says
};

struct JPEGFileOptions {
    JPEGColors colors = JPEGColors::rgb;
    int quality = 90;
    bool progressive = false;
    bool arithmetic = false;
    PixelSize sampling = {2, 2};  // pixels that share a colour, 1 to 4 a side; not of greys and inks
    unsigned restartInterval = 0;
    std::vector<JPEGScan> scans = {};  // libjpeg's own script if empty
    std::string exif = {};             // the contents of an APP1 segment
};

/// Alpha is left out. Greys are what is green.
std::string jpegFile(const StraightBitmap& bitmap, const JPEGFileOptions& options = {});

}  // namespace drawing
