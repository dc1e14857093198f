// SPDX-License-Identifier: Apache-2.0

// Writes a photograph of 12 megapixels in every form that is decoded, one of 5 without loss by WebP, for
// peak.py.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>

#include "drawing/Writers/GIFFile.hpp"
#include "drawing/Writers/JPEGFile.hpp"
#include "drawing/Writers/PNGFile.hpp"
#include "drawing/Writers/WebPFile.hpp"
#include "tests/drawing/Photograph.hpp"

namespace {

using namespace drawing;

constexpr PixelSize twelveMegapixels{4000, 3000};
/// The largest that is decoded without loss by WebP.
constexpr PixelSize fiveMegapixels{2300, 2300};

/// Grain, as a small sensor's: it is what makes photographs long.
StraightBitmap grained(StraightBitmap picture) {
    std::minstd_rand random;
    for (Pixel& pixel : picture.pixels) {
        const int grain = int(random() % 17) - 8;
        for (std::uint8_t* channel : {&pixel.red, &pixel.green, &pixel.blue})
            *channel = std::uint8_t(std::clamp(*channel + grain, 0, 255));
    }
    return picture;
}

/// The same in blocks, which forms without loss can hold within the bounds.
StraightBitmap blocks(const StraightBitmap& picture, int side) {
    return painted(picture.size, [&](int x, int y) { return picture.at(x - x % side, y - y % side); });
}

/// In few colours, for GIF.
StraightBitmap posterised(StraightBitmap picture) {
    for (Pixel& pixel : picture.pixels)
        pixel = {std::uint8_t(pixel.red & 0xC0), std::uint8_t(pixel.green & 0xC0),
                 std::uint8_t(pixel.blue & 0xC0)};
    return picture;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::fputs("Usage: vela-bench-photographs FOLDER\n", stderr);
        return 2;
    }
    const std::filesystem::path folder = arguments[1];
    const auto write = [&](const char* name, const std::string& file) {
        std::ofstream(folder / name, std::ios::binary) << file;
    };
    std::filesystem::create_directories(folder);
    const StraightBitmap plain = tests::photograph(twelveMegapixels);
    const StraightBitmap photo = grained(plain), coarse = blocks(plain, 4), coarser = blocks(plain, 8);
    const StraightBitmap poster = posterised(coarser);
    write("by-rows.jpeg", jpegFile(photo, {.quality = 90}));
    write("progressive.jpeg", jpegFile(photo, {.quality = 88, .progressive = true}));
    write("by-rows.png", pngFile(coarse, {.colors = PNGColors::rgb}));
    write("interlaced.png", pngFile(coarser, {.interlaced = true}));
    write("by-rows.gif", gifFile(poster));
    write("interlaced.gif", gifFile(poster, {.interlaced = true}));
    write("with-loss.webp", webpFile(photo, {.loss = WebPLoss::lossy}));
    write("without-loss.webp",
          webpFile(blocks(tests::photograph(fiveMegapixels), 4), {.loss = WebPLoss::lossless}));
}
