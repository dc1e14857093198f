// SPDX-License-Identifier: Apache-2.0

#include "tests/drawing/Photograph.hpp"

#include <algorithm>
#include <cmath>

namespace tests {

drawing::StraightBitmap photograph(drawing::PixelSize size) {
    std::uint32_t random = 1;
    return drawing::painted(size, [&](int x, int y) {
        random = random * 1664525u + 1013904223u;
        const double u = double(x) / size.width, v = double(y) / size.height;
        const int grain = int(random >> 24) % 17 - 8;
        const auto tone = [&](double a, double b) {
            return std::uint8_t(
                std::clamp(128 + 90 * std::sin(a * u + b * v) * std::cos(b * u - a * v) + grain, 0.0, 255.0));
        };
        return drawing::Pixel{tone(9, 4), tone(5, 11), tone(3, 7), 255};
    });
}

}  // namespace tests
