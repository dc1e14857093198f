// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/RowScaler.hpp"

#include <gtest/gtest.h>

#include <algorithm>

#include "drawing/Image/Image.hpp"

namespace {

using drawing::Bitmap;
using drawing::PixelSize;

Bitmap bitmap(PixelSize size, auto paint) {
    Bitmap made = Bitmap::transparent(size);
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x) made.row(y)[x] = paint(x, y);
    return made;
}

constexpr std::uint32_t whitePixel = 0xFFFFFFFF, blackPixel = 0xFF000000;

TEST(Resizing, KeepsEveryPixelOfAPictureOfTheWantedSize) {
    const Bitmap noise = bitmap(
        {13, 7}, [](int x, int y) { return 0xFF000000u | unsigned(x * 7919 + y * 104729) % 0xFFFFFF; });
    EXPECT_EQ(drawing::resized(noise, noise.size), noise);
}

TEST(Resizing, KeepsOneColourAtEverySize) {
    const std::uint32_t color = 0x80402010;
    const Bitmap plain = bitmap({10, 10}, [&](int, int) { return color; });
    for (const PixelSize size : {PixelSize{1, 1}, {3, 7}, {10, 1}, {11, 9}, {64, 64}}) {
        const Bitmap resized = drawing::resized(plain, size);
        EXPECT_EQ(resized.size, size);
        EXPECT_EQ(std::count(resized.pixels.begin(), resized.pixels.end(), color), size.width * size.height)
            << size.width << " x " << size.height;
    }
}

TEST(Resizing, AveragesAreasOfTheEncodedValuesWhenThePictureShrinks) {
    const Bitmap checkers =
        bitmap({400, 400}, [](int x, int y) { return (x + y) % 2 ? whitePixel : blackPixel; });
    for (const std::uint32_t pixel : drawing::resized(checkers, {10, 10}).pixels) {
        EXPECT_EQ(pixel >> 24, 255u);
        EXPECT_NEAR(pixel & 255, 128, 1);
    }
}

TEST(Resizing, KeepsAnEdgeWhereItWas) {
    const Bitmap halves = bitmap({300, 20}, [](int x, int) { return x < 150 ? blackPixel : whitePixel; });
    for (const int width : {30, 150, 600}) {
        const Bitmap resized = drawing::resized(halves, {width, 20});
        EXPECT_LT(resized.row(10)[width / 2 - 2] & 255, 30u) << width;
        EXPECT_GT(resized.row(10)[width / 2 + 1] & 255, 225u) << width;
    }
}

TEST(Resizing, NeverLetsAColourExceedItsAlpha) {
    const Bitmap dots =
        bitmap({40, 40}, [](int x, int y) { return x % 5 == 0 && y % 3 == 0 ? whitePixel : 0u; });
    for (const PixelSize size : {PixelSize{7, 11}, {33, 35}, {90, 90}})
        for (const std::uint32_t pixel : drawing::resized(dots, size).pixels) {
            EXPECT_LE(pixel & 255, pixel >> 24);
            EXPECT_LE(pixel >> 8 & 255, pixel >> 24);
            EXPECT_LE(pixel >> 16 & 255, pixel >> 24);
        }
}

TEST(Resizing, EnlargesSmoothly) {
    const Bitmap steps =
        bitmap({4, 1}, [](int x, int) { return 0xFF000000u | unsigned(x * 80) * 0x010101u; });
    const Bitmap large = drawing::resized(steps, {64, 1});
    for (int x = 8; x + 8 < 64; ++x) EXPECT_NEAR(large.row(0)[x] & 255, (x + 0.5) / 16 * 80 - 40, 12) << x;
    for (int x = 1; x < 64; ++x)
        EXPECT_LE(std::abs(int(large.row(0)[x] & 255) - int(large.row(0)[x - 1] & 255)), 12) << x;
}

TEST(Fitting, KeepsThePicturesShapeWithinTheBox) {
    struct Row {
        PixelSize picture, box, expected;
    };
    for (const auto& [picture, box, expected] : {
             Row{{200, 100}, {44, 44}, {44, 22}},
             Row{{100, 200}, {44, 44}, {22, 44}},
             Row{{4000, 3000}, {168, 168}, {168, 126}},
             Row{{16, 16}, {168, 168}, {168, 168}},
             Row{{10'000, 1}, {168, 168}, {168, 1}},
             Row{{1, 64'000}, {168, 168}, {1, 168}},
             Row{{3, 2}, {100, 10}, {15, 10}},
         })
        EXPECT_EQ(drawing::scaledToFit(picture, box), expected) << picture.width << " x " << picture.height;
}

}  // namespace
