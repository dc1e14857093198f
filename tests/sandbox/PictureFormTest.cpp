// SPDX-License-Identifier: Apache-2.0

#include "sandbox/PictureForm.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "drawing/Writers/PNGChunks.hpp"
#include "sandbox/Error.hpp"

namespace {

using drawing::Orientation;
using drawing::PixelSize;
using drawing::PNGColors;
using sandbox::pictureForm;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// A slope of greys, so that no two corners are alike.
drawing::StraightBitmap slope() {
    return drawing::painted({32, 16}, [](int x, int y) {
        const auto level = static_cast<std::uint8_t>((y * 32 + x) / 2);
        return drawing::Pixel{level, level, level};
    });
}

TEST(PictureForm, IsNotOfAnyName) {
    EXPECT_EQ(pictureForm("png-16").name, "png-16");
    EXPECT_THROW(pictureForm("bmp"), sandbox::Error);
}

TEST(PictureForm, NotesTheOrientationOfATurnedJPEG) {
    for (const char* name : {"jpeg", "jpeg-progressive"}) {
        const auto form = pictureForm(name);
        EXPECT_THAT(form.file(slope(), Orientation::upright), Not(HasSubstr("Exif")));
        for (int orientation = 2; orientation <= 8; ++orientation) {
            EXPECT_THAT(form.file(slope(), static_cast<Orientation>(orientation)),
                        HasSubstr(drawing::orientationNote(orientation)))
                << name;
        }
    }
}

TEST(PictureForm, HasItsOwnPNGHeader) {
    constexpr PixelSize size{32, 16};
    const struct {
        const char* form;
        std::string header;
    } rows[] = {{"png", drawing::pngHeaderChunk(size, 8, PNGColors::rgba, false)},
                {"png-palette", drawing::pngHeaderChunk(size, 8, PNGColors::palette, false)},
                {"png-16", drawing::pngHeaderChunk(size, 16, PNGColors::rgba, false)},
                {"png-interlaced", drawing::pngHeaderChunk(size, 8, PNGColors::rgba, true)}};
    for (const auto& [form, header] : rows) {
        EXPECT_THAT(pictureForm(form).file(slope(), Orientation::upright),
                    StartsWith(std::string(drawing::pngSignature()) + header))
            << form;
    }
}

}  // namespace
