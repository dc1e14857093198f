// SPDX-License-Identifier: Apache-2.0

#pragma once

// A picture in memory, laid out as Cairo's ARGB32 wants it: one 32-bit number in the machine's own byte order
// for a pixel, alpha in the high byte, colour premultiplied by alpha, rows top to bottom with nothing between
// them. A plain value.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace drawing {

struct PixelSize {
    int width = 0;
    int height = 0;
    friend bool operator==(const PixelSize&, const PixelSize&) = default;
};

struct Bitmap {
    PixelSize size;
    std::vector<std::uint32_t> pixels;  // size.width * size.height

    static Bitmap transparent(PixelSize size) {
        return {size, std::vector<std::uint32_t>(std::size_t(size.width) * std::size_t(size.height))};
    }

    int width() const { return size.width; }
    int height() const { return size.height; }
    /// Bytes from one row to the next.
    int stride() const { return size.width * 4; }
    std::uint32_t* row(int y) { return pixels.data() + std::size_t(y) * std::size_t(size.width); }
    const std::uint32_t* row(int y) const { return pixels.data() + std::size_t(y) * std::size_t(size.width); }

    friend bool operator==(const Bitmap&, const Bitmap&) = default;
};

}  // namespace drawing
