// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <stdexcept>

#include "drawing/Image/Image.hpp"
#include "drawing/Writers/GIFFile.hpp"
#include "drawing/Writers/JPEGFile.hpp"
#include "drawing/Writers/OrientationNote.hpp"
#include "drawing/Writers/PNGFile.hpp"
#include "drawing/Writers/WebPFile.hpp"

namespace {

using namespace drawing;
using testing::ElementsAre;

/// As many colours as there are pixels, up to 65,536.
StraightBitmap colorful(PixelSize size) {
    return painted(size, [](int x, int y) { return Pixel{std::uint8_t(x), std::uint8_t(y), 9}; });
}

TEST(ExactPalette, HoldsColoursAsTheyFirstAppear) {
    constexpr Pixel red{255, 0, 0}, glass{0, 0, 255, 80};
    const auto bitmap = PalettedBitmap::exact({{2, 2}, {red, glass, glass, red}});
    EXPECT_THAT(bitmap.palette, ElementsAre(red, glass));
    EXPECT_THAT(bitmap.indices, ElementsAre(0, 1, 1, 0));
}

TEST(ExactPalette, EndsAtTwoHundredAndFiftySix) {
    EXPECT_EQ(PalettedBitmap::exact(colorful({16, 16})).palette.size(), 256u);
    const StraightBitmap more = colorful({257, 2});
    EXPECT_THROW(PalettedBitmap::exact(more), std::length_error);
    EXPECT_THROW(pngFile(more, {.colors = PNGColors::palette}), std::length_error);
    EXPECT_THROW(gifFile(more), std::length_error);
}

TEST(ReducedPalette, PutsTheCommonestColourFirst) {
    const auto bitmap = PalettedBitmap::reduced(painted({30, 30}, [](int x, int) {
        return x < 10 ? Pixel{200, 0, 0} : Pixel{0, 0, 100};
    }));
    EXPECT_THAT(bitmap.palette, ElementsAre(Pixel{0, 0, 100}, Pixel{200, 0, 0}));
    EXPECT_EQ(bitmap.indices[9], 1);
    EXPECT_EQ(bitmap.indices[10], 0);
}

TEST(ReducedPalette, StaysNearEveryColour) {
    const StraightBitmap many = painted({64, 64}, [](int x, int y) {
        return Pixel{std::uint8_t(x * 4), std::uint8_t(y * 4), 30};
    });
    const auto bitmap = PalettedBitmap::reduced(many);
    EXPECT_EQ(bitmap.palette.size(), 256u);
    for (std::size_t i = 0; i < many.pixels.size(); ++i) {
        EXPECT_NEAR(bitmap.palette[bitmap.indices[i]].red, many.pixels[i].red, 15);
        EXPECT_NEAR(bitmap.palette[bitmap.indices[i]].green, many.pixels[i].green, 15);
    }
}

TEST(GIFFile, LetsEveryColourWithoutOpacityThrough) {
    const StraightBitmap stripes = painted({8, 8}, [](int x, int) {
        return x % 2 ? Pixel{std::uint8_t(x), 0, 0, 0} : Pixel{255, 0, 0};
    });
    const auto shown = decodedImage(gifFile(stripes), stripes.size);
    ASSERT_TRUE(shown);
    for (int x = 0; x < 8; ++x) EXPECT_EQ(shown->row(3)[x], x % 2 ? 0 : 0xFFFF0000u) << x;
}

TEST(WebPFile, IsNotWrittenOfWhatWebPCannotHold) {
    for (const PixelSize size : {PixelSize{0, 0}, {16'384, 1}})
        for (const WebPLoss loss : {WebPLoss::lossless, WebPLoss::lossy})
            EXPECT_THROW(webpFile(painted(size, [](int, int) { return Pixel{}; }), {.loss = loss}),
                         std::runtime_error)
                << size.width;
}

TEST(StoredPicture, IsUprightForWhoHeedsItsNote) {
    const StraightBitmap upright = painted({48, 32}, [](int x, int y) {
        return x < 24 ? (y < 16 ? Pixel{250, 20, 20} : Pixel{20, 20, 250}) : Pixel{20, 250, 20};
    });
    std::set<std::vector<Pixel>> ways;
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const StraightBitmap turned = stored(upright, Orientation(orientation));
        ways.insert(turned.pixels);
        const auto shown =
            decodedImage(jpegFile(turned, {.exif = orientationNote(orientation)}), upright.size);
        ASSERT_TRUE(shown) << orientation;
        const auto near = [&](int x, int y, const Pixel& pixel) {
            EXPECT_NEAR(shown->row(y)[x] >> 16 & 255, pixel.red, 6) << orientation;
            EXPECT_NEAR(shown->row(y)[x] & 255, pixel.blue, 6) << orientation;
        };
        for (const int x : {4, 44})
            for (const int y : {4, 28}) near(x, y, upright.at(x, y));
    }
    EXPECT_EQ(ways.size(), 8u);
}

}  // namespace
