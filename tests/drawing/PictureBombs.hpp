// SPDX-License-Identifier: Apache-2.0

#pragma once

// Small files that ask for much: memory, work, or both; and honest ones that are as large as may be.

#include <functional>
#include <string>
#include <vector>

#include "drawing/Image/Bitmap.hpp"

namespace tests {

enum class Outcome { nothing, picture };

struct PictureBomb {
    std::string name;
    std::function<std::string()> bytes;  // some take their time
    Outcome outcome;
    bool isLarge = false;  // takes minutes under a sanitizer
};

std::vector<PictureBomb> pngBombs();
std::vector<PictureBomb> jpegBombs();
std::vector<PictureBomb> gifBombs();
std::vector<PictureBomb> webpBombs();

/// WebP without loss whose blocks of 4 x 4 pixels have `groups` groups of prefix codes, 65,536 at most; every
/// pixel is black.
std::string webpOfGroups(drawing::PixelSize size, int groups);

}  // namespace tests
