// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>

#include <cmath>
#include <regex>
#include <set>

#include "drawing/Image/Image.hpp"
#include "drawing/Painters/CairoPainter.hpp"
#include "drawing/Painters/PangoTextMeasurer.hpp"
#include "drawing/Painters/Path.hpp"
#include "drawing/Painters/SVGPainter.hpp"
#include "tests/drawing/DisplayText.hpp"
#include "tests/drawing/SampleEntries.hpp"
#include "widget/EntryDrawing.hpp"
#include "widget/TrackingWidgetEntryView.hpp"

namespace {

using namespace drawing;
using drawing_tests::displayed;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

const AssetCatalogue& catalogue() {
    static const AssetCatalogue catalogue(ASSET_CATALOGUE);
    return catalogue;
}

const PangoTextMeasurer& measurer() {
    static const PangoTextMeasurer measurer(FONTS_CONFIGURATION);
    return measurer;
}

// --- Corners

TEST(ContinuousCorner, LeavesTheSideWithoutAJumpInCurvature) {
    const Path path = continuousRoundedRectangle({{0, 0}, {200, 100}}, 20);
    for (const Path::Segment& segment : path.segments) {
        // Start and both controls on one line: no curvature where the straight side ends.
        const auto& [first, second, end] = segment.curves[0];
        const double cross = (first.x - segment.lineTo.x) * (second.y - segment.lineTo.y) -
                             (first.y - segment.lineTo.y) * (second.x - segment.lineTo.x);
        EXPECT_NEAR(cross, 0, 1e-9);
    }
    EXPECT_NEAR(path.segments[0].lineTo.x, 200 - 1.6 * 20, 1e-9);
}

TEST(ContinuousCorner, BecomesAnArcWhereASideIsShort) {
    const Path path = continuousRoundedRectangle({{0, 0}, {100, 4}}, 2);
    EXPECT_NEAR(path.segments[0].lineTo.x, 98, 1e-9);
    // Every point of the end is as far from its centre as the radius says.
    const Point& middle = path.segments[0].curves[0].end;
    EXPECT_NEAR(std::hypot(middle.x - 98, middle.y - 2), 2, 1e-3);
}

TEST(ContinuousCorner, NeverLeavesItsFrame) {
    for (const double radius : {0.0, 1.0, 8.0, 22.0, 500.0}) {
        const Rect frame{{10, 20}, {60, 30}};
        for (const Path::Segment& segment : continuousRoundedRectangle(frame, radius).segments) {
            for (const auto& [first, second, end] : segment.curves) {
                for (const Point& point : {first, second, end, segment.lineTo}) {
                    EXPECT_GE(point.x, frame.left() - 1e-9);
                    EXPECT_LE(point.x, frame.right() + 1e-9);
                    EXPECT_GE(point.y, frame.top() - 1e-9);
                    EXPECT_LE(point.y, frame.bottom() + 1e-9);
                }
            }
        }
    }
}

// --- Text

TextRun footnote(std::string text, int lineLimit = 1) {
    return {std::move(text), TextStyle::footnote, FontWeight::regular, lineLimit};
}

TEST(PangoText, EndsInAnEllipsisWithinItsWidth) {
    const auto lines = measurer().lines(footnote("The Extraordinarily Long-Named Emporium"), 100);
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0].text, testing::EndsWith("…"));
    EXPECT_THAT(lines[0].text, testing::StartsWith("The Extra"));
    EXPECT_LE(lines[0].width, 100);
}

TEST(PangoText, BreaksBetweenWordsUpToItsLimit) {
    const auto lines = measurer().lines(footnote("one two three four five six seven eight", 2), 90);
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_THAT(lines[0].text, Not(HasSubstr("…")));
    EXPECT_THAT(lines[1].text, testing::EndsWith("…"));
}

TEST(PangoText, IsNarrowerWhereItIsSetSmaller) {
    TextRun run = footnote("Between 2 and 4 PM");
    const double whole = measurer().lines(run, std::nullopt).at(0).width;
    run.scale = 0.9;
    EXPECT_NEAR(measurer().lines(run, std::nullopt).at(0).width, 0.9 * whole, 0.5);
}

TEST(PangoText, KnowsWhereALineBreaksAWord) {
    const auto first = [](const std::string& text, double width) {
        return measurer().lines(footnote(text, 2), width).at(0).breaksWord;
    };
    EXPECT_FALSE(first("Attempted delivery", 100));
    EXPECT_TRUE(first("Attempted delivery", 40));
    EXPECT_FALSE(first("包裹正在运输途中", 60));
}

/// At the width that words leave on a small widget.
TEST(PangoText, IsBalancedBetweenWords) {
    const View view = text("Attempted delivery and more").font(TextStyle::subheadline);
    const DisplayList list =
        displayList(view, {platform::WidgetFamily::systemSmall, ColorScheme::light, {150, 100}}, measurer());
    const Rect& frame = list.items.at(0).frame;
    const auto lines = measurer().lines(std::get<TextItem>(list.items[0].kind).run, frame.size.width);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].text, "Attempted");
    EXPECT_EQ(lines[1].text, "delivery and more");
}

TEST(PangoText, ReadsEachScriptInItsDirection) {
    const auto direction = [](const char* text) {
        return measurer().lines(footnote(text), 500).at(0).direction;
    };
    EXPECT_EQ(direction("Northwind"), TextDirection::leftToRight);
    EXPECT_EQ(direction("مكتبة الشروق"), TextDirection::rightToLeft);
    EXPECT_EQ(direction("חנות הספרים"), TextDirection::rightToLeft);
    EXPECT_EQ(direction("書店"), TextDirection::leftToRight);
}

/// A paragraph has one direction, that of its first letter, whatever its other lines begin with.
TEST(PangoText, ReadsAllLinesOfAParagraphInItsDirection) {
    const auto directions = [](const char* text) {
        std::vector<TextDirection> found;
        for (const TextLine& line : measurer().lines(footnote(text, 0), 60)) found.push_back(line.direction);
        return found;
    };
    const auto fromRight = directions("مكتبة Northwind Books الكبرى");
    EXPECT_GT(fromRight.size(), 2u);
    EXPECT_THAT(fromRight, Each(TextDirection::rightToLeft));
    const auto fromLeft = directions("7: Northwind مكتبة الشروق الكبرى");
    EXPECT_GT(fromLeft.size(), 2u);
    EXPECT_THAT(fromLeft, Each(TextDirection::leftToRight));
}

TEST(PangoText, EndsWhereItsEllipsisIsSeenToEnd) {
    const double dots = measurer().lines(footnote("…"), std::nullopt).at(0).width;
    for (const double width : {80.0, 84.0, 88.0, 92.0}) {
        const TextLine line = measurer().lines(footnote("A second attempt will be made"), width).at(0);
        std::string shown = line.text;
        shown.erase(shown.find("…"));
        const double letters = measurer().lines(footnote(shown), std::nullopt).at(0).width;
        EXPECT_NEAR(line.width, letters + dots, 1) << line.text;
    }
}

TEST(PangoText, CutsRightToLeftTextAtItsEnd) {
    const auto lines = measurer().lines(footnote("متجر ذو اسم طويل جدا لا يتسع له السطر"), 80);
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0].text, testing::StartsWith("متجر"));
    EXPECT_THAT(lines[0].text, testing::EndsWith("…"));
}

TEST(PangoText, SetsAnyBytesOnOneLine) {
    std::string marks = "Z";
    for (int count = 0; count < 5000; ++count) marks += "\xCC\x81";
    for (const std::string& text :
         {std::string("two\nlines\r\n\xE2\x80\xA9here"), std::string("\xFF\xFE\x80 broken"),
          std::string("nul\0inside", 10), std::string(1 << 20, 'x'), marks,
          std::string("\xE2\x80\xAE"
                      "override")}) {
        const auto lines = measurer().lines(footnote(text), 120);
        ASSERT_THAT(lines, SizeIs(1));
        EXPECT_LE(lines[0].width, 120);
        EXPECT_THAT(lines[0].text, Not(HasSubstr("\n")));
    }
}

TEST(PangoText, SetsEmojiAsHighAsTheirLine) {
    const double width = measurer().lines(footnote("🚚"), std::nullopt).at(0).width;
    EXPECT_GT(width, 8);
    EXPECT_LT(width, 26);
}

TEST(PangoText, IsAsWideAsItWasMeasuredWhenItComesBack) {
    for (const drawing_tests::SampleEntry& sample : drawing_tests::sampleEntries()) {
        const auto* state = std::get_if<widget::LoggedIn>(&sample.entry.widgetState);
        if (!state) continue;
        for (const auto& package : state->packages) {
            for (const double width : {60.0, 126.0, 250.0}) {
                const TextRun run = footnote(package->statusText().primary, 2);
                const auto lines = measurer().lines(run, width);
                double widest = 0;
                for (const TextLine& line : lines) widest = std::max(widest, line.width);
                EXPECT_EQ(measurer().lines(run, widest), lines) << run.text << " in " << width;
            }
        }
    }
}

// --- Pixels

Bitmap drawnBitmap(const View& view, Size size, std::optional<RGBA> tint = std::nullopt) {
    DisplayList list = displayed(view, size, 1);
    return painted(list, 1, {catalogue(), tint}, measurer());
}

TEST(CairoPainter, PaintsBackToFront) {
    const Bitmap bitmap =
        drawnBitmap(rectangle(Color::sRGB(255, 0, 0))
                        .overlay(rectangle(Color::sRGB(0, 0, 255)).frame({.width = 2, .height = 2})),
                    {4, 4});
    EXPECT_EQ(bitmap.row(0)[0], 0xFFFF0000u);
    EXPECT_EQ(bitmap.row(2)[2], 0xFF0000FFu);
}

/// How many pixels across and down anything is painted.
PixelSize inked(const Bitmap& bitmap) {
    int left = bitmap.width(), right = -1, top = bitmap.height(), bottom = -1;
    for (int y = 0; y < bitmap.height(); ++y) {
        for (int x = 0; x < bitmap.width(); ++x) {
            if (bitmap.row(y)[x] >> 24 < 128) continue;
            left = std::min(left, x);
            right = std::max(right, x);
            top = std::min(top, y);
            bottom = std::max(bottom, y);
        }
    }
    return {right - left + 1, bottom - top + 1};
}

TEST(CairoPainter, EnlargesTypeAndLinesAlike) {
    const auto inkAt = [](TextSize size) {
        const View twoLines = text("Hill Hill").font(TextStyle::footnote).textSize(size);
        const WidgetContainer container{
            platform::WidgetFamily::systemSmall, ColorScheme::light, {26 * factor(size), 150}};
        return inked(painted(displayList(twoLines, container, measurer()), 4, {catalogue()}, measurer()));
    };
    const PixelSize design = inkAt(TextSize::large);
    EXPECT_GT(design.height, 4 * metrics(TextStyle::footnote).lineHeight);
    for (const TextSize size : allTextSizes) {
        EXPECT_NEAR(inkAt(size).width, design.width * factor(size), 4) << name(size);
        EXPECT_NEAR(inkAt(size).height, design.height * factor(size), 4) << name(size);
    }
}

TEST(CairoPainter, LeavesTheCornersOfTheContainerTransparent) {
    DisplayList list = displayed(rectangle(Color::white()), {100, 100}, 1);
    list.container.cornerRadius = 22;
    const Bitmap bitmap = painted(list, 1, {catalogue()}, measurer());
    for (const auto& [x, y] : {std::pair(0, 0), {99, 0}, {0, 99}, {99, 99}}) EXPECT_EQ(bitmap.row(y)[x], 0u);
    EXPECT_EQ(bitmap.row(50)[0], 0xFFFFFFFFu);
    EXPECT_EQ(bitmap.row(0)[50], 0xFFFFFFFFu);
    EXPECT_EQ(bitmap.row(8)[8], 0xFFFFFFFFu);
}

TEST(CairoPainter, PaintsOneTintByHowFarAColourStandsFromItsGround) {
    const RGBA tint{255, 0, 255};
    EXPECT_EQ(drawnBitmap(rectangle(Color::primary()), {1, 1}, tint).pixels[0], 0xFFFF00FFu);
    EXPECT_EQ(drawnBitmap(rectangle(Color::white()), {1, 1}, tint).pixels[0], 0u);
    const std::uint32_t grey = drawnBitmap(rectangle(Color::sRGB(140, 140, 140)), {1, 1}, tint).pixels[0];
    EXPECT_GT(grey >> 24, 0x60u);
    EXPECT_LT(grey >> 24, 0xA0u);
}

/// Three rounded squares, the second half on the first and of one colour with it.
View overlappingShapes() {
    const auto square = [](Color color) {
        return roundedRectangle(2, std::move(color)).frame({.width = 20, .height = 20});
    };
    const Color grey = Color::sRGB(140, 140, 140);
    return horizontalStack({.spacing = -10}, {square(grey), square(grey), square(Color::primary())});
}

TEST(CairoPainter, LaysATranslucentColourOnOnceWhereShapesOverlap) {
    const Bitmap bitmap = drawnBitmap(overlappingShapes(), {40, 20}, RGBA{255, 0, 255});
    EXPECT_EQ(bitmap.row(10)[5], bitmap.row(10)[15]);
    EXPECT_LT(bitmap.row(10)[15] >> 24, 0xA0u);
    EXPECT_EQ(bitmap.row(10)[25], 0xFFFF00FFu);
}

TEST(CairoPainter, CutsTheCataloguesDrawingsFromTheTint) {
    const Bitmap bitmap = drawnBitmap(image("VelaIcon"), {48, 48}, RGBA{255, 0, 255});
    EXPECT_EQ(bitmap.row(40)[24], 0xFFFF00FFu);
    EXPECT_EQ(bitmap.row(0)[0], 0u);
}

TEST(CairoPainter, DrawsNothingForAColourThatIsNotThere) {
    EXPECT_EQ(drawnBitmap(rectangle(Color::asset("NoSuchColor")), {1, 1}).pixels[0], 0u);
}

TEST(CairoPainter, PaintsTheSameInBands) {
    drawing_tests::SamplePictures loader;
    constexpr double scale = 3;
    for (const char* name : {"Latin", "Arabic"}) {
        widget::ScaledPictures pictures(loader, scale);
        const View view = widget::TrackingWidgetEntryView{drawing_tests::sampleEntry(name)}.body(
            {platform::WidgetFamily::systemLarge, ColorScheme::light, pictures});
        DisplayList list = displayed(view, widget::referenceSize(platform::WidgetFamily::systemLarge), scale);
        list.container.cornerRadius = 22;
        const Bitmap whole = painted(list, scale, {catalogue()}, measurer());
        std::vector<std::uint32_t> pixels;
        int bands = 0;
        paintBands(list, scale, {catalogue()}, measurer(), [&](const Bitmap& band) {
            ++bands;
            EXPECT_LE(band.height(), 128);
            pixels.insert(pixels.end(), band.pixels.begin(), band.pixels.end());
        });
        EXPECT_GT(bands, 1);
        EXPECT_EQ(paintedSize(list, scale), whole.size);
        EXPECT_EQ(pixels, whole.pixels) << name;
    }
}

TEST(CairoPainter, FillsTheFrameOfEveryFamilyAtEveryScale) {
    drawing_tests::SamplePictures loader;
    for (const platform::WidgetFamily family : platform::allWidgetFamilies) {
        for (const double scale : {1.0, 2.0, 3.0, 4.0}) {
            const std::string png = widget::draw(
                {.entry = drawing_tests::sampleEntry("Latin"), .family = family, .scale = scale}, loader);
            const auto header = imageHeader(png);
            ASSERT_TRUE(header);
            const Size size = widget::referenceSize(family);
            EXPECT_EQ(header->size.width, size.width * scale);
            EXPECT_EQ(header->size.height, size.height * scale);
        }
    }
}

// --- SVG

std::string svg(const View& view) {
    return paintedSVG(displayed(view, {100, 50}, 1), "Tracking Widget", {catalogue()},
                      drawing_tests::FixedAdvance());
}

TEST(SVGPainter, WritesTextAsTextAndEscapesIt) {
    const std::string document = svg(text("<b> & \"c\"'\x01").font(TextStyle::footnote));
    EXPECT_THAT(document, HasSubstr(">&lt;b&gt; &amp; &quot;c&quot;&#39; </text>"));
    EXPECT_THAT(document, Not(HasSubstr("<b>")));
}

/// A viewer chooses the shapes of Chinese characters by it.
TEST(SVGPainter, SaysInWhichLanguageALineIs) {
    const auto svg = [](const char* words) {
        const View view = text(words).font(TextStyle::footnote);
        const DisplayList list = displayList(
            view, {platform::WidgetFamily::systemSmall, ColorScheme::light, {150, 40}}, measurer());
        return paintedSVG(list, "Title", Ink{catalogue()}, measurer());
    };
    EXPECT_THAT(svg("直営です"), HasSubstr("xml:lang=\"ja\""));
    EXPECT_THAT(svg("No. 7 北京图书"), HasSubstr("xml:lang=\"zh-cn\""));
    EXPECT_THAT(svg("Northwind 7"), Not(HasSubstr("xml:lang")));
}

TEST(SVGPainter, LeavesOutCharactersThatXMLHasNoPlaceFor) {
    const std::string document = svg(text("a\xEF\xBF\xBE"
                                          "b\xEF\xBF\xBF\x02")
                                         .font(TextStyle::footnote));
    EXPECT_THAT(document, HasSubstr(">a\xEF\xBF\xBD"
                                    "b\xEF\xBF\xBD </desc>"));
}

/// What the document calls its parts, or those that it refers to.
std::multiset<std::string> captured(const std::string& document, const char* pattern) {
    const std::regex expression(pattern);
    std::multiset<std::string> names;
    for (std::sregex_iterator match(document.begin(), document.end(), expression), end; match != end; ++match)
        names.insert((*match)[1]);
    return names;
}

TEST(SVGPainter, SharesNoNameWithAnotherDrawingOfTheSamePage) {
    const auto parts = [](const char* words) {
        return svg(verticalStack({}, {text(words), linearGradient({Color::white(), Color::primary()}),
                                      rectangle(Color::white()).clipped(4)}));
    };
    const std::string one = parts("One"), other = parts("Other");
    EXPECT_EQ(one, parts("One")) << "the same drawing has the same bytes";
    const auto names = captured(one, R"re( id="([^"]*)")re");
    EXPECT_EQ(names.size(), 4u) << one;
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), 4u);
    for (const std::string& name : captured(other, R"re( id="([^"]*)")re")) EXPECT_EQ(names.count(name), 0u);
    for (const std::string& name : captured(one, R"re(url\(#([^)]*)\))re"))
        EXPECT_EQ(names.count(name), 1u) << name;
    for (const std::string& name : names)
        EXPECT_TRUE(std::regex_match(name, std::regex("drawing-[0-9a-f]{16}-[a-z]+[0-9]*"))) << name;
    EXPECT_EQ(one.find('\x1A'), std::string::npos);
    EXPECT_EQ(parts("\x1A").find('\x1A'), std::string::npos);
}

TEST(SVGPainter, MakesOnePathOfShapesOfOneColour) {
    const std::string document = svg(overlappingShapes());
    const auto occurrences = [&](const std::string& part) {
        std::size_t count = 0;
        for (auto at = document.find(part); at != std::string::npos; at = document.find(part, at + 1))
            ++count;
        return count;
    };
    EXPECT_EQ(occurrences("<path"), 2u);
    EXPECT_EQ(occurrences("ZM"), 1u);
}

TEST(SVGPainter, SpeaksForThePicture) {
    const std::string document = svg(verticalStack({}, {text("One"), text("Two")}));
    EXPECT_THAT(document, HasSubstr(">Tracking Widget</title>"));
    EXPECT_THAT(document, HasSubstr(">One. Two</desc>"));
}

TEST(SVGPainter, LinksWhatIsALink) {
    const std::string document = svg(text("One").link(drawing_tests::url("velaapp://order/1?a=b&c=d")));
    EXPECT_THAT(document, HasSubstr("<a href=\"velaapp://order/1?a=b&amp;c=d\" aria-label=\"One\">"));
}

TEST(SVGPainter, LinksToNothingThatRunsInItsPage) {
    for (const char* link : {"javascript:alert(1)", "data:text/html,x", "vbscript:x"}) {
        EXPECT_THAT(svg(text("One").link(drawing_tests::url(link))), Not(HasSubstr("<a "))) << link;
    }
}

TEST(SVGPainter, KeepsDrawingsAsPathsAndPicturesAsData) {
    EXPECT_THAT(svg(image("VelaIcon")), HasSubstr("<path d=\"M"));
    const auto bitmap = std::make_shared<const Bitmap>(Bitmap::transparent({2, 2}));
    EXPECT_THAT(
        svg(image(bitmap, {2, 2}, drawing_tests::url("https://example.com/secret"), ContentMode::fit)),
        testing::AllOf(HasSubstr("href=\"data:image/png;base64,iVBORw0KGgo"), Not(HasSubstr("secret"))));
}

}  // namespace
