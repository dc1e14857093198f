// SPDX-License-Identifier: Apache-2.0

#include "drawing/Layout/Mirroring.hpp"

#include <gmock/gmock.h>

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <cmath>

#include "drawing/Painters/PangoTextMeasurer.hpp"
#include "drawing/Painters/TextPlacement.hpp"
#include "tests/drawing/DisplayText.hpp"
#include "tests/drawing/SampleEntries.hpp"
#include "tests/support/FixedAmbient.hpp"
#include "widget/EntryDrawing.hpp"
#include "widget/ReadingDirection.hpp"
#include "widget/TrackingWidgetEntryView.hpp"

namespace {

using namespace drawing;
using drawing_tests::lines;
using platform::testing::FixedAmbient;

constexpr std::array declaredFamilies = {
    platform::WidgetFamily::systemSmall,          platform::WidgetFamily::systemMedium,
    platform::WidgetFamily::systemLarge,          platform::WidgetFamily::accessoryInline,
    platform::WidgetFamily::accessoryRectangular,
};

std::string tree(const std::string& sample, platform::WidgetFamily family, const std::string& language) {
    const FixedAmbient surroundings({.languages = {language}});
    drawing_tests::SamplePictures loader;
    return widget::draw({.entry = drawing_tests::sampleEntry(sample),
                         .family = family,
                         .format = widget::DrawingFormat::tree},
                        loader);
}

boost::json::object parsed(const std::string& tree) {
    return boost::json::parse(tree).as_object();
}

DisplayList displayed(const std::string& sample, platform::WidgetFamily family, double scale) {
    drawing_tests::SamplePictures loader;
    widget::ScaledPictures pictures(loader, scale);
    WidgetContainer container{family, ColorScheme::light, widget::referenceSize(family)};
    container.contentMargin = 16;
    container.scale = scale;
    const View view = widget::TrackingWidgetEntryView{drawing_tests::sampleEntry(sample)}.body(
        {family, ColorScheme::light, pictures});
    return displayList(view, container, drawing_tests::FixedAdvance());
}

TEST(Mirroring, IsUndoneByMirroring) {
    for (const platform::WidgetFamily family : declaredFamilies) {
        for (const double scale : {1.0, 1.25, 1.5, 2.0, 3.0}) {
            const DisplayList list = displayed("Latin", family, scale);
            const DisplayList once = mirrored(list, scale);
            const DisplayList twice = mirrored(once, scale);
            EXPECT_NE(lines(once), lines(list)) << description(family);
            EXPECT_EQ(lines(twice), lines(list)) << description(family) << scale;
            EXPECT_EQ(twice.layoutDirection, list.layoutDirection);
        }
    }
}

TEST(Mirroring, TakesWhatIsSpokenAlong) {
    const DisplayList list = displayed("Latin", platform::WidgetFamily::systemLarge, 2);
    const DisplayList once = mirrored(list, 2);
    ASSERT_FALSE(list.spoken.empty());
    for (std::size_t part = 0; part < list.spoken.size(); ++part)
        EXPECT_NEAR(once.spoken[part].frame.left(),
                    list.container.frame.size.width - list.spoken[part].frame.right(), 1e-9);
}

TEST(Mirroring, TakesClipsAlong) {
    std::size_t clips = 0;
    for (const platform::WidgetFamily family : declaredFamilies) {
        const DisplayList list = displayed("Latin", family, 2);
        const DisplayList once = mirrored(list, 2);
        const double width = list.container.frame.size.width;
        for (std::size_t item = 0; item < list.items.size(); ++item) {
            ASSERT_EQ(once.items[item].clips.size(), list.items[item].clips.size());
            for (std::size_t clip = 0; clip < list.items[item].clips.size(); ++clip, ++clips) {
                EXPECT_NEAR(once.items[item].clips[clip].frame.left(),
                            width - list.items[item].clips[clip].frame.right(), 1e-9);
            }
        }
    }
    EXPECT_GT(clips, 0u);
}

TEST(Mirroring, KeepsEdgesOnPixels) {
    for (const double scale : {1.0, 1.25, 1.5, 1.75, 2.5, 3.0}) {
        const DisplayList list =
            mirrored(displayed("Latin", platform::WidgetFamily::systemSmall, scale), scale);
        for (const DisplayItem& item : list.items) {
            if (std::holds_alternative<TextItem>(item.kind)) continue;
            const double left = item.frame.left() * scale;
            EXPECT_NEAR(left, std::round(left), 1e-6) << scale;
        }
    }
}

TEST(Mirroring, PutsEveryFrameOfEveryFamilyOnTheOtherSideForWhoReadsFromTheRight) {
    for (const platform::WidgetFamily family : declaredFamilies) {
        const boost::json::object usual = parsed(tree("Latin", family, "en-GB"));
        const boost::json::object mirror = parsed(tree("Latin", family, "he-IL"));
        EXPECT_EQ(mirror.at("layoutDirection"), "rightToLeft");
        EXPECT_FALSE(usual.contains("layoutDirection"));
        const double width = usual.at("size").at("width").to_number<double>();
        for (const char* kind : {"items", "links"}) {
            const boost::json::array& before = usual.at(kind).as_array();
            const boost::json::array& after = mirror.at(kind).as_array();
            ASSERT_EQ(before.size(), after.size()) << description(family);
            for (std::size_t index = 0; index < before.size(); ++index) {
                const auto number = [&](const boost::json::array& list, const char* name) {
                    return list[index].at("frame").at(name).to_number<double>();
                };
                EXPECT_NEAR(number(after, "x"), width - number(before, "x") - number(before, "width"), 1e-3);
                EXPECT_EQ(number(after, "y"), number(before, "y"));
                EXPECT_EQ(number(after, "width"), number(before, "width"));
                if (before[index].as_object().contains("text")) {
                    EXPECT_EQ(after[index].at("text"), before[index].at("text"));
                }
            }
        }
    }
}

/// Where a line of the text begins to be read, in the drawing.
std::vector<double> rightEnds(const DisplayList& list, const TextMeasurer& measurer) {
    std::vector<double> ends;
    for (const DisplayItem& item : list.items) {
        const auto* text = std::get_if<TextItem>(&item.kind);
        if (!text || text->run.style == TextStyle::headline) continue;
        const std::vector<TextLine> set = measurer.lines(text->run, item.frame.size.width);
        for (std::size_t index = 0; index < set.size(); ++index)
            ends.push_back(lineOrigin(*text, item.frame, list.layoutDirection, set[index], index).x +
                           set[index].width);
    }
    return ends;
}

DisplayList small(LayoutDirection direction, const std::string& name, const std::string& primary,
                  const TextMeasurer& measurer) {
    drawing_tests::SamplePictures loader;
    widget::ScaledPictures pictures(loader, 2);
    WidgetContainer container{platform::WidgetFamily::systemSmall, ColorScheme::light, {158, 158}};
    container.contentMargin = 16;
    container.layoutDirection = direction;
    const auto entry = drawing_tests::entry(
        widget::LoggedIn{drawing_tests::packages({{name,
                                                   drawing_tests::url("velaapp://order/1"),
                                                   0.5f,
                                                   std::nullopt,
                                                   std::nullopt,
                                                   {primary, "Today"}}})});
    const View view = widget::TrackingWidgetEntryView{entry}.body(
        {platform::WidgetFamily::systemSmall, ColorScheme::light, pictures});
    return displayList(view, container, measurer);
}

TEST(RightMargin, HoldsEveryLineForWhoReadsFromTheRight) {
    const PangoTextMeasurer measurer(FONTS_CONFIGURATION);
    for (const char* name : {"Northwind Books", "مكتبة الشروق", "The Extraordinarily Long-Named Emporium"}) {
        const DisplayList list = small(LayoutDirection::rightToLeft, name, "Arriving tomorrow", measurer);
        for (const double end : rightEnds(list, measurer)) EXPECT_NEAR(end, 158 - 16, 1e-6) << name;
    }
}

TEST(RightMargin, HoldsLinesReadFromTheRightWhereOthersStandOnTheLeft) {
    const PangoTextMeasurer measurer(FONTS_CONFIGURATION);
    const DisplayList list = small(LayoutDirection::leftToRight, "مكتبة الشروق",
                                   "تم شحن الطلب وهو الآن في الطريق إلى مركز", measurer);
    const std::vector<double> ends = rightEnds(list, measurer);
    ASSERT_GE(ends.size(), 3u);
    for (std::size_t index = 0; index + 1 < ends.size(); ++index) EXPECT_NEAR(ends[index], 158 - 16, 1e-6);
    EXPECT_LT(ends.back(), 100) << "Today";
}

TEST(ReadingDirection, IsThatOfThePersonsFirstLanguage) {
    struct Row {
        std::vector<std::string> languages;
        LayoutDirection expected;
    };
    constexpr auto fromRight = LayoutDirection::rightToLeft;
    constexpr auto fromLeft = LayoutDirection::leftToRight;
    const std::vector<Row> rows = {
        {{"ar"}, fromRight},
        {{"ar-EG"}, fromRight},
        {{"he-IL", "en"}, fromRight},
        {{"iw"}, fromRight},
        {{"fa-IR"}, fromRight},
        {{"ur-PK"}, fromRight},
        {{"ps-AF"}, fromRight},
        {{"sd-PK"}, fromRight},
        {{"ug-CN"}, fromRight},
        {{"yi"}, fromRight},
        {{"dv-MV"}, fromRight},
        {{"ckb-IQ"}, fromRight},
        {{"AR-eg"}, fromRight},
        {{"pa-Arab-PK"}, fromRight},
        {{"az-Arab"}, fromRight},
        {{"az-IR"}, fromRight},
        {{"pa-PK"}, fromRight},
        {{"uz-AF"}, fromRight},
        {{"ks-IN"}, fromRight},
        {{"nqo-GN"}, fromRight},
        {{"ff-Adlm-GN"}, fromRight},
        {{}, fromLeft},
        {{""}, fromLeft},
        {{"en-GB", "ar"}, fromLeft},
        {{"sd-Deva"}, fromLeft},
        {{"ug-Cyrl-KZ"}, fromLeft},
        {{"arn-CL"}, fromLeft},
        {{"pa-IN"}, fromLeft},
        {{"pa"}, fromLeft},
        {{"az-AZ"}, fromLeft},
        {{"uz-Cyrl-AF"}, fromLeft},
        {{"ks-Deva-IN"}, fromLeft},
        {{"ja-JP"}, fromLeft},
        {{"a"}, fromLeft},
    };
    for (const Row& row : rows)
        EXPECT_EQ(widget::layoutDirection(row.languages), row.expected)
            << testing::PrintToString(row.languages);
}

}  // namespace
