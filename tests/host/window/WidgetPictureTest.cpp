// SPDX-License-Identifier: Apache-2.0

#include "host/window/WidgetPicture.hpp"

#include <gtest/gtest.h>

#include "drawing/Writers/PNGFile.hpp"

namespace host {
namespace {

/// Red, and blue of which half shows through.
std::string twoPixels() {
    return drawing::pngFile(
        drawing::StraightBitmap{.size = {2, 1}, .pixels = {{255, 0, 0, 255}, {0, 0, 255, 128}}});
}

TEST(WidgetPicture, HasColoursMultipliedByAlpha) {
    const auto picture = widgetPicture(twoPixels());
    ASSERT_TRUE(picture);
    EXPECT_EQ(*picture, (WidgetPicture{.width = 2, .height = 1, .pixels = {0xFFFF0000, 0x80000080}}));
}

TEST(WidgetPicture, IsNothingWhereverThePNGIsCutOff) {
    const auto png = twoPixels();
    // Without its last chunk the pixels are all there.
    const auto end = png.size() - 12;
    for (std::size_t length = 0; length < end - 4; ++length)
        EXPECT_FALSE(widgetPicture(std::string_view(png).substr(0, length))) << length;
}

TEST(WidgetPicture, IsNothingForWhatIsLargerThanAnyDrawing) {
    EXPECT_FALSE(widgetPicture(drawing::hollowPNGFile({100'000, 100'000})));
    EXPECT_FALSE(widgetPicture("<svg/>"));
}

}  // namespace
}  // namespace host
