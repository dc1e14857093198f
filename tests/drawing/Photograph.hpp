// SPDX-License-Identifier: Apache-2.0

#pragma once

// A picture to look at, for the tests and the benchmarks of pictures.

#include "drawing/Writers/StraightBitmap.hpp"

namespace tests {

/// Soft shapes and some noise, as a photograph has them.
drawing::StraightBitmap photograph(drawing::PixelSize size);

}  // namespace tests
