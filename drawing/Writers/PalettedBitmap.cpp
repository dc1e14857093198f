// SPDX-License-Identifier: Apache-2.0

#include "drawing/Writers/PalettedBitmap.hpp"

#include <algorithm>
#include <map>
#include <stdexcept>

namespace drawing {

namespace {

constexpr std::size_t mostColors = 256;

/// Pixels that are alike in the high four bits of every channel.
struct Box {
    std::uint64_t count = 0, red = 0, green = 0, blue = 0, alpha = 0;

    void add(const Pixel& pixel) {
        ++count;
        red += pixel.red, green += pixel.green, blue += pixel.blue, alpha += pixel.alpha;
    }
    Pixel mean() const {
        const auto share = [this](std::uint64_t sum) { return std::uint8_t(sum / count); };
        return {share(red), share(green), share(blue), share(alpha)};
    }
};

unsigned boxOf(const Pixel& pixel) {
    return unsigned(pixel.red >> 4) << 12 | unsigned(pixel.green >> 4) << 8 | unsigned(pixel.blue >> 4) << 4 |
           unsigned(pixel.alpha >> 4);
}

int distance(const Pixel& one, const Pixel& other) {
    const auto squared = [](int difference) { return difference * difference; };
    return squared(one.red - other.red) + squared(one.green - other.green) + squared(one.blue - other.blue) +
           squared(one.alpha - other.alpha);
}

std::uint8_t nearest(const Pixel& pixel, const std::vector<Pixel>& palette) {
    const auto isNearer = [&](const Pixel& one, const Pixel& other) {
        return distance(one, pixel) < distance(other, pixel);
    };
    return std::uint8_t(std::min_element(palette.begin(), palette.end(), isNearer) - palette.begin());
}

}  // namespace

PalettedBitmap PalettedBitmap::exact(const StraightBitmap& bitmap) {
    PalettedBitmap result{bitmap.size, {}, {}};
    result.indices.reserve(bitmap.pixels.size());
    std::vector<Pixel>& palette = result.palette;
    for (const Pixel& pixel : bitmap.pixels) {
        const auto index = std::size_t(std::find(palette.begin(), palette.end(), pixel) - palette.begin());
        if (index == mostColors) throw std::length_error("the picture has more than 256 colours");
        if (index == palette.size()) palette.push_back(pixel);
        result.indices.push_back(std::uint8_t(index));
    }
    return result;
}

PalettedBitmap PalettedBitmap::reduced(const StraightBitmap& bitmap) {
    std::map<unsigned, Box> boxes;
    for (const Pixel& pixel : bitmap.pixels) boxes[boxOf(pixel)].add(pixel);
    std::vector<Box> fullest;
    for (const auto& [code, box] : boxes) fullest.push_back(box);
    std::sort(fullest.begin(), fullest.end(),
              [](const Box& one, const Box& other) { return one.count > other.count; });
    fullest.resize(std::min(fullest.size(), mostColors));

    PalettedBitmap result{bitmap.size, {}, {}};
    for (const Box& box : fullest) result.palette.push_back(box.mean());
    std::map<unsigned, std::uint8_t> indexOfBox;
    for (const auto& [code, box] : boxes) indexOfBox[code] = nearest(box.mean(), result.palette);
    result.indices.reserve(bitmap.pixels.size());
    for (const Pixel& pixel : bitmap.pixels) result.indices.push_back(indexOfBox[boxOf(pixel)]);
    return result;
}

}  // namespace drawing
