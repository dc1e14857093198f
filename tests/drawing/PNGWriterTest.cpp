// SPDX-License-Identifier: Apache-2.0

#include "drawing/Writers/PNGWriter.hpp"

#include <gtest/gtest.h>

#include "drawing/Image/Image.hpp"

namespace {

using namespace std::string_literals;
using drawing::Bitmap;
using drawing::PixelSize;

TEST(PNGWriting, GivesBackEveryPixel) {
    Bitmap bitmap = Bitmap::transparent({257, 3});
    for (unsigned alpha = 0; alpha < 256; ++alpha)
        for (int y = 0; y < 3; ++y)
            bitmap.row(y)[alpha] = alpha << 24 | alpha / unsigned(y + 1) << 16 | alpha / 2 << 8 | alpha / 3;
    EXPECT_EQ(drawing::decodedImage(drawing::encodedPNG(bitmap), bitmap.size), bitmap);
}

TEST(PNGWriting, LeavesAlphaOutOfAnOpaquePicture) {
    constexpr std::size_t colorType = 25;
    Bitmap bitmap = Bitmap::transparent({2, 2});
    EXPECT_EQ(drawing::encodedPNG(bitmap)[colorType], 6);
    for (auto& pixel : bitmap.pixels) pixel = 0xFF102030;
    const std::string opaque = drawing::encodedPNG(bitmap);
    EXPECT_EQ(opaque[colorType], 2);
    EXPECT_EQ(drawing::decodedImage(opaque, bitmap.size), bitmap);
}

TEST(PNGWriting, NotesItsColourSpaceAndDensity) {
    const Bitmap bitmap = Bitmap::transparent({1, 1});
    struct Row {
        int scale;
        std::string density;  // pixels to the metre, twice, and the metre
    };
    for (const auto& [scale, density] : {
             Row{1, "\x00\x00\x0B\x13\x00\x00\x0B\x13\x01"s},
             Row{2, "\x00\x00\x16\x25\x00\x00\x16\x25\x01"s},
             Row{3, "\x00\x00\x21\x38\x00\x00\x21\x38\x01"s},
         }) {
        const std::string file = drawing::encodedPNG(bitmap, scale);
        EXPECT_NE(file.find("sRGB\0"s), file.npos);
        EXPECT_NE(file.find("pHYs" + density), file.npos) << scale;
    }
}

}  // namespace
