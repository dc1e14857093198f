// SPDX-License-Identifier: Apache-2.0

#include "drawing/Layout/Layout.hpp"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <string>

#include "drawing/Layout/PixelGrid.hpp"
#include "drawing/Painters/DisplayListJSON.hpp"
#include "tests/drawing/DisplayText.hpp"
#include "tests/drawing/SampleEntries.hpp"

namespace {

using namespace drawing;
using drawing_tests::displayed;
using drawing_tests::lines;
using testing::ElementsAre;
using testing::ElementsAreArray;

View box(double width, double height) {
    return rectangle(Color::white()).frame({.width = width, .height = height});
}
/// Footnotes are 6.5 wide and 18 high to a character.
View words(const std::string& text) {
    return drawing::text(text).font(TextStyle::footnote);
}

struct Picture {
    std::string what;
    View view;
    std::vector<std::string> lines;
};

const View leadingColumn =
    verticalStack({.alignment = HorizontalAlignment::leading, .spacing = 5}, {box(20, 10), box(40, 10)});

const std::vector<Picture> pictures = {
    {"a shape takes all room", rectangle(Color::primary()), {"rectangle primary 0 0 100 100"}},
    {"a frame stands in the middle", box(20, 10), {"rectangle white 40 45 20 10"}},
    {"a frame puts its content where it is told",
     box(20, 10).frame({.width = 60, .height = 50, .alignment = Alignment::topTrailing}),
     {"rectangle white 60 25 20 10"}},
    {"a frame as wide as there is room",
     box(20, 10).frame({.maxWidth = infinity, .alignment = Alignment::leading}),
     {"rectangle white 0 45 20 10"}},
    {"padding leaves room", rectangle(Color::white()).padding({1, 2, 3, 4}), {"rectangle white 2 1 94 96"}},
    {"negative padding reaches out",
     rectangle(Color::white()).padding({.top = -5}),
     {"rectangle white 0 -5 100 105"}},
    {"an offset moves nothing else",
     horizontalStack({.spacing = 0}, {box(10, 10).offset({5, 1}), box(10, 10)}),
     {"rectangle white 45 46 10 10", "rectangle white 50 45 10 10"}},
    {"a row centres its children",
     horizontalStack({.spacing = 10}, {box(20, 10), box(20, 30)}),
     {"rectangle white 25 45 20 10", "rectangle white 55 35 20 30"}},
    {"a column aligned to its leading edge",
     leadingColumn,
     {"rectangle white 30 37.5 20 10", "rectangle white 30 52.5 40 10"}},
    {"a spacer pushes apart",
     horizontalStack({.spacing = 0}, {box(20, 10), spacer(), box(20, 10)}),
     {"rectangle white 0 45 20 10", "rectangle white 80 45 20 10"}},
    {"layers stand on one another",
     layeredStack(Alignment::topLeading, {box(40, 40), box(10, 10)}),
     {"rectangle white 30 30 40 40", "rectangle white 30 30 10 10"}},
    {"an overlay is proposed the size it covers",
     box(40, 20).overlay(rectangle(Color::primary())),
     {"rectangle white 30 40 40 20", "rectangle primary 30 40 40 20"}},
    {"a background stands behind",
     box(40, 20).background(rectangle(Color::primary())),
     {"rectangle primary 30 40 40 20", "rectangle white 30 40 40 20"}},
    {"a divider is a hairline across",
     divider(Color::asset("DividerColor")),
     {"rectangle DividerColor 0 49.5 100 1"}},
    {"a text is as wide as its words", words("ten chars!"), {"text ten chars! 17.5 41 65 18"}},
    {"a text breaks into lines as long as each other",
     words("twenty characters!!!"),
     {"text twenty characters!!! 17.5 32 65 36"}},
    {"a text that is cut uses all the width",
     words("forty characters, which is more than fits").lineLimit(2),
     {"text forty characters, which is more than fits 1.25 32 97.5 36"}},
    {"a text is set smaller where that shows all of it",
     words("sixteen letters!").lineLimit(1).minimumScaleFactor(0.9),
     {"text sixteen letters! 0.08 41 99.84 18"}},
    {"a text keeps its size where it would be cut in any case",
     words("twenty characters!!!").lineLimit(1).minimumScaleFactor(0.9),
     {"text twenty characters!!! 1.25 41 97.5 18"}},
    {"the first choice that is low enough",
     viewThatFits({box(10, 101), box(10, 100), box(10, 10)}),
     {"rectangle white 45 0 10 100"}},
    {"the last choice where none is low enough",
     viewThatFits({box(10, 120), box(10, 110)}),
     {"rectangle white 45 -5 10 110"}},
    {"a text keeps to its limit",
     words("twenty characters!!!").lineLimit(1),
     {"text twenty characters!!! 1.25 41 97.5 18"}},
    {"a text gives up lines before it is cut",
     words("twenty characters!!!").frame({.height = 30}),
     {"text twenty characters!!! 1.25 41 97.5 18"}},
    {"a text takes what a spacer would",
     horizontalStack({.spacing = 0}, {words("ten chars!"), spacer(), box(16, 16)}),
     {"text ten chars! 0 41 65 18", "rectangle white 84 42 16 16"}},
    {"what a broken text leaves goes to the others",
     horizontalStack({.spacing = 0}, {words("twenty characters!!!").lineLimit(1), rectangle(Color::white())}),
     {"text twenty characters!!! 0 41 45.5 18", "rectangle white 45.5 0 54.5 100"}},
    {"a text read from the right is as wide as its words", words("אב"), {"text אב 37 41 26 18"}},
    {"a paragraph read from the right hangs on the right",
     verticalStack({.alignment = HorizontalAlignment::leading, .spacing = 0},
                   {words("אבג").lineLimit(1).paragraph(), words("left").paragraph()}),
     {"text אבג 61 32 39 18", "text left 0 50 26 18"}},
    {"a paragraph read from the right goes as far as it can",
     horizontalStack({.spacing = 0}, {words("אב").paragraph(), spacer(4), box(16, 16)}),
     {"text אב 54 41 26 18", "rectangle white 84 42 16 16"}},
    {"a larger text has larger lines",
     words("ten chars!").textSize(TextSize::xxLarge),
     {"text ten chars! 9.7 38.84 80.6 22.32"}},
    {"a larger text breaks sooner, and distances stay",
     verticalStack({.spacing = 5}, {words("ten chars!").textSize(TextSize::accessibility1), box(10, 10)}),
     {"text ten chars! 23.19 12.8 53.63 59.4", "rectangle white 45 77.2 10 10"}},
    {"a smaller text is made no smaller than the design's may be",
     words("sixteen letters! and").lineLimit(1).minimumScaleFactor(0.76).textSize(TextSize::xSmall),
     {"text sixteen letters! and 0.6 42.62 98.8 14.76"}},
    {"a view keeps the text size that it names itself",
     words("ten chars!").textSize(TextSize::large).textSize(TextSize::accessibility5),
     {"text ten chars! 17.5 41 65 18"}},
    {"no choice in which a stack's sharing would cut a text",
     viewThatFits({verticalStack({.spacing = 0}, {words("twenty characters!!!").wantedWhole(), box(10, 40),
                                                  rectangle(Color::primary())}),
                   box(10, 10)}),
     {"rectangle white 45 45 10 10"}},
    {"nothing takes no room", View(), {}},
    {"an empty text is not listed", words(""), {}},
};

TEST(Layout, PutsEverythingInItsPlace) {
    for (const Picture& picture : pictures) {
        EXPECT_THAT(lines(displayed(picture.view, {100, 100})), ElementsAreArray(picture.lines))
            << picture.what;
    }
}

TEST(Layout, IsTheSameEveryTime) {
    for (const Picture& picture : pictures) {
        EXPECT_EQ(lines(displayed(picture.view, {100, 100})), lines(displayed(picture.view, {100, 100})));
    }
}

TEST(RowsThatFit, ShowsWholeRowsOnlyAndMakesNoOthers) {
    int made = 0;
    const View rows = rowsThatFit({.spacing = 10}, 10, [&](std::size_t) {
        ++made;
        return box(20, 30);
    });
    EXPECT_THAT(lines(displayed(rows, {100, 100})),
                ElementsAre("rectangle white 0 0 20 30", "rectangle white 0 40 20 30"));
    EXPECT_EQ(made, 3);
}

TEST(RowsThatFit, ShowsTheFirstRowInAnyCase) {
    const View rows = rowsThatFit({}, 2, [](std::size_t) { return box(20, 300); });
    EXPECT_THAT(lines(displayed(rows, {100, 100})), ElementsAre("rectangle white 0 0 20 300"));
}

TEST(RowsThatFit, LeavesOutFromTheFirstRowOnThatCutsWhatIsWantedWhole) {
    const auto row = [](std::size_t index) {
        const char* text = index == 1 ? "sixteen letters!" : "ten chars!";
        return words(text).lineLimit(1).wantedWhole();
    };
    EXPECT_THAT(lines(displayed(rowsThatFit({.spacing = 0}, 3, row), {100, 100})),
                ElementsAre("text ten chars! 0 0 65 18"));
}

TEST(RowsThatFit, IsPassedOverWhereTheFewestRowsDoNotFit) {
    const auto row = [](std::size_t) { return box(10, 40); };
    const auto shown = [&](std::optional<std::size_t> fewest) {
        return lines(displayed(
            viewThatFits({rowsThatFit({.spacing = 0, .fewest = fewest}, 10, row), box(20, 20)}), {100, 100}));
    };
    EXPECT_THAT(shown(2), ElementsAre("rectangle white 0 0 10 40", "rectangle white 0 40 10 40"));
    EXPECT_THAT(shown(3), ElementsAre("rectangle white 40 40 20 20"));
    EXPECT_THAT(shown(std::nullopt), ElementsAre("rectangle white 40 40 20 20"));
}

TEST(DisplayList, IsWholeWhereTheContainerHoldsAllThatIsWanted) {
    const auto isWhole = [](const View& view) { return displayed(view, {100, 100}).isWhole; };
    const View tooLong = words("sixteen letters!").lineLimit(1);
    EXPECT_TRUE(isWhole(box(100, 100)));
    EXPECT_FALSE(isWhole(box(101, 100)));
    EXPECT_FALSE(isWhole(box(100, 101)));
    EXPECT_TRUE(isWhole(tooLong));
    EXPECT_FALSE(isWhole(tooLong.wantedWhole()));
    EXPECT_FALSE(isWhole(rowsThatFit({}, 1, [](std::size_t) { return box(10, 101); })));
}

TEST(DesktopTextScaling, IsTheNearestTextSize) {
    constexpr auto infinite = std::numeric_limits<double>::infinity();
    const std::pair<double, TextSize> rows[] = {
        {1, TextSize::large},
        {1.25, TextSize::xxLarge},
        {1.5, TextSize::accessibility1},
        {1.75, TextSize::accessibility1},
        {2, TextSize::accessibility2},
        {3, TextSize::accessibility5},
        {100, TextSize::accessibility5},
        {infinite, TextSize::accessibility5},
        {0.9, TextSize::small},
        {0.5, TextSize::xSmall},
        {1e-300, TextSize::xSmall},
        {0, TextSize::large},
        {-1, TextSize::large},
        {std::nan(""), TextSize::large},
    };
    for (const auto& [scaling, size] : rows) EXPECT_EQ(textSizeNearest(scaling), size) << scaling;
    for (const TextSize size : allTextSizes) EXPECT_EQ(textSizeNearest(factor(size)), size) << name(size);
}

TEST(Inheritance, EndsWhereAViewSaysOtherwiseItself) {
    const View view =
        verticalStack({}, {text("a"), text("b").font(TextStyle::title).foregroundColor(Color::white())})
            .font(TextStyle::footnote)
            .foregroundColor(Color::asset("BrandColor"))
            .fontWeight(FontWeight::medium);
    const DisplayList list = displayed(view, {100, 100});
    const auto& first = std::get<TextItem>(list.items.at(0).kind);
    const auto& second = std::get<TextItem>(list.items.at(1).kind);
    EXPECT_EQ(first.run, (TextRun{"a", TextStyle::footnote, FontWeight::medium, first.run.lineLimit}));
    EXPECT_EQ(first.color, Color::asset("BrandColor"));
    EXPECT_EQ(second.run.style, TextStyle::title);
    EXPECT_EQ(second.run.weight, FontWeight::medium);
    EXPECT_EQ(second.color, Color::white());
}

TEST(PixelGrid, RoundsEdgesToTheNearestPixelSoThatWhatTouchedStillTouches) {
    const View row = horizontalStack({.spacing = 0}, {box(10.3, 10), box(10.3, 10), box(10.3, 10)})
                         .frame({.maxWidth = infinity, .alignment = Alignment::leading});
    EXPECT_THAT(
        lines(displayed(row, {100, 10}, 1)),
        ElementsAre("rectangle white 0 0 10 10", "rectangle white 10 0 11 10", "rectangle white 21 0 10 10"));
    EXPECT_THAT(lines(displayed(row, {100, 10}, 2)),
                ElementsAre("rectangle white 0 0 10.5 10", "rectangle white 10.5 0 10 10",
                            "rectangle white 20.5 0 10.5 10"));
}

TEST(PixelGrid, DrawsEveryDividerOfADrawingAsThick) {
    for (int quarters = 4; quarters <= 16; ++quarters) {
        const double scale = quarters / 4.0;
        std::vector<View> rows;
        for (const double height : {10.0, 7.3, 8.1, 11.45, 9.9, 12.2, 10.6}) {
            rows.push_back(box(20, height));
            rows.push_back(divider(Color::primary()));
        }
        int dividers = 0;
        for (const DisplayItem& item :
             displayed(verticalStack({.spacing = 3}, rows), {100, 200}, scale).items) {
            if (std::get<RectangleItem>(item.kind).color != Color::primary()) continue;
            ++dividers;
            EXPECT_NEAR(item.frame.size.height * scale, std::floor(scale + 0.5), 1e-9) << scale;
            const double top = item.frame.top() * scale;
            EXPECT_NEAR(top, std::round(top), 1e-9) << scale;
        }
        EXPECT_EQ(dividers, 7);
    }
}

TEST(PixelGrid, NeverRoundsATextDown) {
    const View text = words("abc").frame({.maxWidth = infinity, .alignment = Alignment::leading});
    EXPECT_THAT(lines(displayed(text, {100, 18}, 1)), ElementsAre("text abc 0 0 20 18"));
    EXPECT_THAT(lines(displayed(text, {100, 18}, 2)), ElementsAre("text abc 0 0 19.5 18"));
}

TEST(PixelGrid, EndsTextsReadFromTheRightAtOnePixel) {
    const Rect snapped = PixelGrid(2).snappedTextOnRight({{10.3, 0}, {20.4, 18}});
    EXPECT_EQ(snapped.right(), 30.5);
    EXPECT_EQ(snapped.size.width, 20.5);
}

TEST(ContainerBackground, CoversTheWholeContainerAndOnlyWhereItIsShown) {
    const View view = box(20, 10).containerBackground(rectangle(Color::primary()));
    WidgetContainer container{platform::WidgetFamily::systemSmall, ColorScheme::light, {100, 100}};
    container.contentMargin = 16;
    const drawing_tests::FixedAdvance measurer;
    EXPECT_THAT(lines(displayList(view, container, measurer)),
                ElementsAre("rectangle primary 0 0 100 100", "rectangle white 40 45 20 10"));
    container.background = WidgetContainer::Background::removed;
    EXPECT_THAT(lines(displayList(view, container, measurer)), ElementsAre("rectangle white 40 45 20 10"));
}

TEST(Links, StandWhereTheirViewStandsOrCoverTheWholeWidget) {
    const platform::URL url = drawing_tests::url("velaapp://order/1");
    EXPECT_THAT(lines(displayed(box(20, 10).link(url), {100, 100})),
                ElementsAre("rectangle white 40 45 20 10", "link velaapp://order/1 40 45 20 10"));
    EXPECT_THAT(lines(displayed(box(20, 10).widgetURL(url), {100, 100})),
                ElementsAre("rectangle white 40 45 20 10", "link velaapp://order/1 0 0 100 100"));
}

TEST(DisplayListJSON, NamesATextSizeThatIsNotTheDesigns) {
    const auto json = [](TextSize size) {
        return displayListJSON(displayed(words("Hi").textSize(size), {100, 100}));
    };
    EXPECT_THAT(json(TextSize::accessibility2),
                testing::HasSubstr(R"("textSize":"accessibility2","textStyle")"));
    EXPECT_THAT(json(TextSize::large), testing::Not(testing::HasSubstr("textSize")));
}

TEST(DisplayListJSON, ListsItemsBackToFrontWithSortedKeys) {
    const View view =
        roundedRectangle(8, Color::asset("BrandColor"))
            .overlay(roundedRectangleStroke(8, Color::asset("BorderImage"), 1))
            .overlay(text("Hi").font(TextStyle::headline).foregroundColor(Color::white()).lineLimit(1))
            .frame({.width = 50, .height = 22})
            .link(drawing_tests::url("velaapp://order/1"))
            .containerBackground(linearGradient({Color::sRGB(33, 33, 34), Color::sRGB(20, 20, 20)}));
    EXPECT_EQ(
        displayListJSON(displayed(view, {100, 100}, 2)),
        R"({"colorScheme":"light","family":"systemSmall","items":[)"
        R"({"frame":{"height":100,"width":100,"x":0,"y":0},"kind":"linearGradient","stops":["#212122","#141414"]},)"
        R"({"color":"BrandColor","cornerRadius":8,"frame":{"height":22,"width":50,"x":25,"y":39},"kind":"roundedRectangle"},)"
        R"({"color":"BorderImage","cornerRadius":8,"frame":{"height":22,"width":50,"x":25,"y":39},"kind":"roundedRectangle","stroke":1},)"
        R"({"color":"white","frame":{"height":22,"width":17,"x":41.5,"y":39},"kind":"text","lineLimit":1,"text":"Hi","textStyle":"headline","weight":"semibold"}],)"
        R"("links":[{"frame":{"height":22,"width":50,"x":25,"y":39},"url":"velaapp://order/1"}],)"
        R"("size":{"height":100,"width":100}})");
}

}  // namespace
