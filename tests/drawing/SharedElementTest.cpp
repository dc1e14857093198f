// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

#include "drawing/Layout/Layout.hpp"
#include "drawing/Writers/PNGWriter.hpp"
#include "tests/drawing/DisplayText.hpp"
#include "tests/drawing/SampleEntries.hpp"
#include "widget/NetworkImage.hpp"
#include "widget/ProgressBar.hpp"
#include "widget/StyledText.hpp"
#include "widget/WidgetImageSize.hpp"

namespace {

using namespace drawing;
using namespace widget;
using drawing_tests::displayed;
using drawing_tests::lines;
using drawing_tests::url;
using testing::ElementsAre;
using testing::ElementsAreArray;

// --- Progress bar

struct Bar {
    float progress;
    double width;
    double height;
    std::vector<std::string> lines;
};

const std::vector<Bar> bars = {
    {0.5f,
     100,
     4,
     {"roundedRectangle ProgressBarBackgroundColor 0 0 100 4",
      "roundedRectangle ProgressBarBackgroundColor 96 -2 8 8", "roundedRectangle BrandColor 0 0 50 4",
      "roundedRectangle BrandColor 46 -2 8 8"}},
    {0.0f,
     100,
     4,
     {"roundedRectangle ProgressBarBackgroundColor 0 0 100 4",
      "roundedRectangle ProgressBarBackgroundColor 96 -2 8 8", "roundedRectangle BrandColor 0 0 0 4",
      "roundedRectangle BrandColor -4 -2 8 8"}},
    {1.0f,
     100,
     4,
     {"roundedRectangle ProgressBarBackgroundColor 0 0 100 4",
      "roundedRectangle ProgressBarBackgroundColor 96 -2 8 8", "roundedRectangle BrandColor 0 0 100 4",
      "roundedRectangle BrandColor 96 -2 8 8"}},
    {0.4f,
     101,
     4,
     {"roundedRectangle ProgressBarBackgroundColor 0 0 101 4",
      "roundedRectangle ProgressBarBackgroundColor 97 -2 8 8", "roundedRectangle BrandColor 0 0 40.4 4",
      "roundedRectangle BrandColor 36.4 -2 8 8"}},
    {0.5f,
     33,
     3,
     {"roundedRectangle ProgressBarBackgroundColor 0 0 33 3",
      "roundedRectangle ProgressBarBackgroundColor 30 -1.5 6 6", "roundedRectangle BrandColor 0 0 16.5 3",
      "roundedRectangle BrandColor 13.5 -1.5 6 6"}},
};

TEST(ProgressBar, CentresItsMarkersOnTheEnds) {
    for (const Bar& bar : bars) {
        const View view = ProgressBar{bar.progress, bar.height, Color::asset("BrandColor")}.body();
        EXPECT_THAT(lines(displayed(view, {bar.width, bar.height})), ElementsAreArray(bar.lines))
            << bar.progress << " of " << bar.width;
        for (const DisplayItem& item : displayed(view, {bar.width, bar.height}).items)
            EXPECT_EQ(std::get<RoundedRectangleItem>(item.kind).cornerRadius, 2);
    }
}

/// Pixels, which are whole.
double pixels(double points, double scale) {
    EXPECT_NEAR(points * scale, std::round(points * scale), 1e-9);
    return std::round(points * scale);
}

const std::vector<double> scales = {1, 1.25, 1.5, 1.75, 2, 2.25, 2.5, 2.75, 3, 3.25, 3.5, 3.75, 4};

TEST(ProgressBar, KeepsItsMarkersInTheMiddleOfItsTrackAtEveryScale) {
    for (const double scale : scales) {
        for (const double height : {3.0, 4.0}) {
            for (const double above : {1.5, 2.0, 7.3, 10.25, 31.9}) {
                SCOPED_TRACE(testing::Message() << scale << " " << height << " " << above);
                const View bar = ProgressBar{0.37f, height, Color::primary()}.body().padding(
                    {.top = above, .bottom = 20, .trailing = height});
                const auto items = displayed(bar, {160, above + height + 20}, scale).items;
                const Rect& track = items.at(0).frame;
                const double thickness = pixels(track.size.height, scale);
                EXPECT_EQ(thickness, std::floor(height * scale + 0.5));
                for (const std::size_t index : {0u, 2u}) {
                    const Rect& line = items.at(index).frame;
                    const Rect& mark = items.at(index + 1).frame;
                    EXPECT_EQ(pixels(line.top(), scale), pixels(track.top(), scale));
                    EXPECT_EQ(pixels(line.size.height, scale), thickness);
                    EXPECT_EQ(pixels(mark.size.width, scale), pixels(mark.size.height, scale));
                    EXPECT_EQ(pixels(line.top(), scale) - pixels(mark.top(), scale),
                              pixels(mark.bottom(), scale) - pixels(line.bottom(), scale));
                    const double before = pixels(line.right(), scale) - pixels(mark.left(), scale);
                    EXPECT_NEAR(before, pixels(mark.size.width, scale) / 2, 0.5);
                    EXPECT_LE(pixels(mark.right(), scale), 160 * scale);
                    EXPECT_NEAR(mark.size.width, 2 * height, 2 / scale);
                }
            }
        }
    }
}

TEST(ProgressBar, TakesOnlyItsHeight) {
    const View bar = ProgressBar{0.5f, 4, Color::primary()}.body();
    EXPECT_EQ(layout(bar, {100, 50}, drawing_tests::FixedAdvance())->size, (Size{100, 4}));
}

TEST(ProgressBar, KeepsToItsTrackWhateverTheProgress) {
    const auto fill = [](float progress) {
        return displayed(ProgressBar{progress, 4, Color::primary()}.body(), {100, 4})
            .items.at(2)
            .frame.size.width;
    };
    EXPECT_EQ(fill(-1), 0);
    EXPECT_EQ(fill(7), 100);
    EXPECT_EQ(fill(std::numeric_limits<float>::quiet_NaN()), 0);
    EXPECT_EQ(fill(std::numeric_limits<float>::infinity()), 100);
}

// --- Styled text

TEST(StyledText, LeavesToItsSurroundingsWhatItDoesNotSay) {
    const DisplayList list = displayed(
        verticalStack({},
                      {StyledText{"a", Color::white()}.body(),
                       StyledText{"b", Color::white(), FontWeight::medium, TextStyle::subheadline}.body()})
            .font(TextStyle::title),
        {100, 100});
    const auto run = [&](std::size_t index) { return std::get<TextItem>(list.items.at(index).kind).run; };
    EXPECT_EQ(run(0).style, TextStyle::title);
    EXPECT_EQ(run(0).weight, FontWeight::regular);
    EXPECT_EQ(run(1).style, TextStyle::subheadline);
    EXPECT_EQ(run(1).weight, FontWeight::medium);
}

// --- Image sizes

TEST(WidgetImageSize, IsOneOfFour) {
    EXPECT_EQ(widgetImageSize(32), WidgetImageSize::small);
    EXPECT_EQ(widgetImageSize(44), WidgetImageSize::medium);
    EXPECT_EQ(widgetImageSize(56), WidgetImageSize::large);
    EXPECT_EQ(widgetImageSize(64), WidgetImageSize::extraLarge);
    for (const int other : {-1, 0, 40, 45, 1000}) EXPECT_EQ(widgetImageSize(other), std::nullopt) << other;
}

TEST(WidgetImageSize, TruncatesItsPixels) {
    EXPECT_EQ(pixelSize(WidgetImageSize::medium, 3), 132);
    EXPECT_EQ(pixelSize(WidgetImageSize::small, 1.99), 63);
    EXPECT_EQ(pixelSize(WidgetImageSize::small, -0.1), -3);
    EXPECT_EQ(pixelSize(WidgetImageSize::small, -0x1p58), std::numeric_limits<std::int64_t>::min());
}

TEST(WidgetImageSizeDeathTest, StopsTheProcessForPixelsBeyondCounting) {
    EXPECT_DEATH(pixelSize(WidgetImageSize::small, std::numeric_limits<double>::quiet_NaN()), "out of range");
    EXPECT_DEATH(pixelSize(WidgetImageSize::small, std::numeric_limits<double>::infinity()), "out of range");
    EXPECT_DEATH(pixelSize(WidgetImageSize::small, 0x1p58), "out of range");
}

// --- Network image

class GivenBytes final : public PictureLoader {
  public:
    explicit GivenBytes(std::map<std::string, std::string> bytes) : bytes_(std::move(bytes)) {}
    std::optional<std::string> read(const platform::URL& source) override {
        ++reads;
        const auto found = bytes_.find(source.absoluteString());
        return found == bytes_.end() ? std::nullopt : std::optional(found->second);
    }
    int reads = 0;

  private:
    std::map<std::string, std::string> bytes_;
};

std::string png(int width, int height) {
    Bitmap bitmap = Bitmap::transparent({width, height});
    std::fill(bitmap.pixels.begin(), bitmap.pixels.end(), 0xFF336699u);
    return encodedPNG(bitmap);
}

const std::vector<std::string> placeholderLines = {"roundedRectangle TextTertiaryColor 0 0 44 44",
                                                   "text S 17.75 11 8.5 22"};

TEST(NetworkImage, FitsAPictureIntoItsSquareAtTheDisplaysScale) {
    GivenBytes loader({{"https://example.com/a", png(200, 100)}});
    ScaledPictures pictures(loader, 3);
    const View view = NetworkImage{url("https://example.com/a"), 44, "S"}.body(pictures);
    const DisplayList list = displayed(view, {44, 44});
    EXPECT_THAT(lines(list),
                ElementsAre("image https://example.com/a 0 11 44 22", "stroke BorderImage 0 0 44 44"));
    EXPECT_EQ(std::get<PictureItem>(list.items.at(0).kind).bitmap->size, (PixelSize{132, 66}));
    EXPECT_EQ(list.items.at(0).clips.at(0).cornerRadius, 8);
    EXPECT_EQ(list.items.at(0).clips.at(0).frame, (Rect{{0, 0}, {44, 44}}));
    EXPECT_TRUE(list.items.at(1).clips.empty());
    const auto& border = std::get<RoundedRectangleItem>(list.items.at(1).kind);
    EXPECT_EQ(border.cornerRadius, 8);
    EXPECT_EQ(border.strokeWidth, 1);
}

TEST(NetworkImage, FillsItsSquareWhereItIsToldTo) {
    GivenBytes loader({{"https://example.com/a", png(200, 100)}});
    ScaledPictures pictures(loader, 3);
    const View view = NetworkImage{url("https://example.com/a"), 44, "S", ContentMode::fill}.body(pictures);
    EXPECT_THAT(lines(displayed(view, {44, 44})),
                ElementsAre("image https://example.com/a -22 0 88 44", "stroke BorderImage 0 0 44 44"));
}

TEST(NetworkImage, EnlargesASmallPicture) {
    GivenBytes loader({{"https://example.com/a", png(11, 22)}});
    ScaledPictures pictures(loader, 2);
    const View view = NetworkImage{url("https://example.com/a"), 44, "S"}.body(pictures);
    EXPECT_THAT(lines(displayed(view, {44, 44})),
                ElementsAre("image https://example.com/a 11 0 22 44", "stroke BorderImage 0 0 44 44"));
}

TEST(NetworkImage, ShowsThePlaceholderForEveryFailure) {
    const std::string whole = png(60, 60);
    GivenBytes loader({
        {"https://example.com/text", "<html>Not a picture</html>"},
        {"https://example.com/empty", ""},
        {"https://example.com/cut", whole.substr(0, whole.size() / 2)},
        {"https://example.com/jpeg", std::string("\xFF\xD8\xFF\xE0\x00\x10JFIF\x00", 11)},
        {"https://example.com/huge",
         whole.substr(0, 16) + std::string("\x00\x00\xEA\x60\x00\x00\xEA\x60", 8) + whole.substr(24)},
    });
    ScaledPictures pictures(loader, 3);
    for (const char* name : {"text", "empty", "cut", "jpeg", "huge", "missing"}) {
        const View view =
            NetworkImage{url(std::string("https://example.com/") + name), 44, "S"}.body(pictures);
        EXPECT_THAT(lines(displayed(view, {44, 44})), ElementsAreArray(placeholderLines)) << name;
    }
    const View view = NetworkImage{std::nullopt, 44, "S"}.body(pictures);
    EXPECT_THAT(lines(displayed(view, {44, 44})), ElementsAreArray(placeholderLines));
}

TEST(NetworkImage, WritesThePlaceholdersNameInWhiteHeadlineOnTheColourThatCarriesIt) {
    GivenBytes loader({});
    ScaledPictures pictures(loader, 3);
    WidgetContainer container{platform::WidgetFamily::systemSmall, ColorScheme::dark, {44, 44}};
    const DisplayList list = displayList(NetworkImage{std::nullopt, 44, "S"}.body(pictures), container,
                                         drawing_tests::FixedAdvance());
    EXPECT_EQ(std::get<RoundedRectangleItem>(list.items.at(0).kind).cornerRadius, 8);
    EXPECT_EQ(list.items.at(0).colorScheme, ColorScheme::light);
    const auto& text = std::get<TextItem>(list.items.at(1).kind);
    EXPECT_EQ(text.color, Color::white());
    EXPECT_EQ(text.run.style, TextStyle::headline);
    EXPECT_EQ(text.run.weight, FontWeight::semibold);
}

TEST(NetworkImage, KeepsThePlaceholdersNameAsLargeAsItsPicture) {
    GivenBytes loader({});
    ScaledPictures pictures(loader, 3);
    const View image = NetworkImage{std::nullopt, 44, "S"}.body(pictures);
    EXPECT_EQ(lines(displayed(image.textSize(TextSize::accessibility5), {44, 44})),
              lines(displayed(image, {44, 44})));
}

TEST(ScaledPictures, ReadsEachPictureOnceWhateverComesOfIt) {
    GivenBytes loader({{"https://example.com/a", png(60, 60)}});
    ScaledPictures pictures(loader, 2);
    for (int time = 0; time < 3; ++time) {
        EXPECT_NE(pictures.picture(url("https://example.com/a"), 44), nullptr);
        EXPECT_EQ(pictures.picture(url("https://example.com/b"), 44), nullptr);
    }
    EXPECT_EQ(pictures.picture(url("https://example.com/a"), 32)->size, (PixelSize{64, 64}));
    EXPECT_EQ(loader.reads, 2);
}

TEST(ScaledPictures, AreReadTogetherAtTheLargestSizeThatIsAskedFor) {
    GivenBytes loader({{"https://example.com/a", png(200, 200)}});
    ScaledPictures pictures(loader, 2);
    const auto build = [&] {
        EXPECT_EQ(pictures.picture(url("https://example.com/a"), 32), nullptr);
        EXPECT_EQ(pictures.picture(url("https://example.com/b"), 32), nullptr);
        EXPECT_EQ(pictures.picture(url("https://example.com/a"), 44), nullptr);
        EXPECT_EQ(loader.reads, 0);
    };
    pictures.readTogether(build);
    EXPECT_EQ(loader.reads, 2);
    EXPECT_EQ(pictures.picture(url("https://example.com/a"), 44)->size, (PixelSize{88, 88}));
    EXPECT_EQ(pictures.picture(url("https://example.com/a"), 32)->size, (PixelSize{64, 64}));
    EXPECT_EQ(pictures.picture(url("https://example.com/b"), 32), nullptr);
    EXPECT_EQ(loader.reads, 2);
    // What nobody had asked for is read when it is asked for.
    EXPECT_EQ(pictures.picture(url("https://example.com/c"), 32), nullptr);
    EXPECT_EQ(loader.reads, 3);
}

TEST(Initial, IsTheFirstCharacterThatAReaderPerceives) {
    EXPECT_EQ(initial("Northwind"), "N");
    EXPECT_EQ(initial("  meadow"), "m");
    EXPECT_EQ(initial("書店"), "書");
    EXPECT_EQ(initial("👩‍👩‍👧 Family"), "👩‍👩‍👧");
    EXPECT_EQ(initial(""), "");
    EXPECT_EQ(initial(" \n"), "");
    EXPECT_EQ(initial("\u202Ename"), "n");
    EXPECT_EQ(initial("\u200B\u2066"), "");
    EXPECT_EQ(initial("e\u0301tui"), "e\u0301");
    EXPECT_EQ(initial("ร้าน"), "ร้");
}

}  // namespace
