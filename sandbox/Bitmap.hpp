#pragma once

// A picture in memory: rows from the top, each pixel red, green, blue and alpha, not premultiplied.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace sandbox {

using Pixel = std::array<std::uint8_t, 4>;

struct Bitmap {
    int width;
    int height;
    std::vector<Pixel> pixels;

    const Pixel& at(int column, int row) const {
        return pixels[static_cast<std::size_t>(row) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(column)];
    }
};

}  // namespace sandbox
