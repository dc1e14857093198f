// SPDX-License-Identifier: Apache-2.0

// What stands in each layout, and how it is set, at the design's sizes.

#include <gmock/gmock.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "tests/drawing/DisplayText.hpp"
#include "tests/drawing/SampleEntries.hpp"
#include "widget/EntryDrawing.hpp"
#include "widget/TrackingWidgetEntryView.hpp"

namespace {

using namespace drawing;
using drawing_tests::lines;
using drawing_tests::linesBeginning;
using drawing_tests::packages;
using drawing_tests::url;
using platform::WidgetFamily;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::array eitherScheme = {ColorScheme::light, ColorScheme::dark};

widget::SimpleEntry shops(std::size_t count) {
    std::vector<presentation::StoredPackage::Values> values;
    for (std::size_t index = 0; index < count; ++index) {
        values.push_back({"Shop " + std::to_string(index),
                          url("velaapp://order/" + std::to_string(index)),
                          0.5F,
                          url("sample:shop"),
                          std::nullopt,
                          {"primary", "secondary"}});
    }
    return drawing_tests::entry(widget::LoggedIn{packages(std::move(values))});
}

DisplayList designed(const widget::SimpleEntry& entry, WidgetFamily family,
                     ColorScheme scheme = ColorScheme::light) {
    drawing_tests::SamplePictures loader;
    widget::ScaledPictures pictures(loader, 2);
    WidgetContainer container{family, scheme, widget::referenceSize(family)};
    container.contentMargin = widget::referenceSize(family).height < 100 ? 0 : 16;
    container.scale = 1000;
    const View view = widget::TrackingWidgetEntryView{entry}.body({family, scheme, pictures});
    return displayList(view, container, drawing_tests::FixedAdvance());
}

/// "primary: medium subheadline, primary": the words, and how they are set.
std::vector<std::string> settings(const DisplayList& list) {
    std::vector<std::string> settings;
    for (const DisplayItem& item : list.items) {
        const auto* text = std::get_if<TextItem>(&item.kind);
        if (!text) continue;
        settings.push_back(text->run.text + ": " + std::string(name(text->run.weight)) + " " +
                           std::string(metrics(text->run).name) + ", " + text->color.name());
    }
    return settings;
}

struct Setting {
    WidgetFamily family;
    std::vector<std::string> words;
};

// --- Packages

TEST(PackageLayouts, SetEachOfTheirWordsInItsFontWeightAndColour) {
    const std::string name = "Shop 0: regular footnote, TextTertiaryColor";
    const std::string primary = "primary: medium subheadline, primary";
    const std::string secondary = "secondary: regular footnote, TextTertiaryColor";
    const std::vector<Setting> rows = {
        {WidgetFamily::systemSmall, {primary, secondary}},
        {WidgetFamily::systemMedium, {name, primary, secondary}},
        {WidgetFamily::systemLarge, {name, primary, secondary}},
        {WidgetFamily::accessoryRectangular, {"primary: regular subheadline, primary", secondary}},
    };
    for (const auto& [family, words] : rows) {
        for (const ColorScheme scheme : eitherScheme) {
            EXPECT_THAT(settings(designed(shops(1), family, scheme)), ElementsAreArray(words))
                << description(family);
        }
    }
    for (const std::size_t count : {2u, 3u}) {
        const std::vector<std::string> words = settings(designed(shops(count), WidgetFamily::systemLarge));
        ASSERT_THAT(words, SizeIs(3 * count));
        for (std::size_t index = 0; index < words.size(); index += 3) {
            EXPECT_EQ(words[index + 1], primary) << count;
            EXPECT_EQ(words[index + 2], secondary) << count;
        }
    }
}

TEST(PackageLayouts, ShowTheMerchantsPictureAsLargeAsTheirDesignHasIt) {
    struct Row {
        WidgetFamily family;
        double side;
    };
    for (const auto& [family, side] : {Row{WidgetFamily::systemSmall, 56}, Row{WidgetFamily::other, 56},
                                       Row{WidgetFamily::systemMedium, 44}}) {
        const DisplayList list = designed(shops(1), family);
        std::vector<double> sides;
        for (const DisplayItem& item : list.items)
            if (std::holds_alternative<PictureItem>(item.kind)) sides.push_back(item.frame.size.height);
        EXPECT_THAT(sides, ElementsAre(side)) << description(family);
    }
}

/// Where the words stand from top to bottom; nothing where they do not.
std::optional<Rect> frame(const DisplayList& list, const std::string& words) {
    for (const DisplayItem& item : list.items) {
        const auto* text = std::get_if<TextItem>(&item.kind);
        if (text && text->run.text == words) return item.frame;
    }
    return std::nullopt;
}

TEST(PackageLayouts, HaveFourPointsAboveEachStatusLine) {
    const DisplayList rows = designed(shops(3), WidgetFamily::systemLarge);
    const auto merchant = frame(rows, "Shop 0");
    const auto status = frame(rows, "primary");
    ASSERT_TRUE(merchant && status);
    EXPECT_NEAR(status->top() - merchant->bottom(), 4, 0.01);

    for (const std::size_t count : {1u, 2u, 3u}) {
        for (const WidgetFamily family : {WidgetFamily::systemMedium, WidgetFamily::systemLarge}) {
            const DisplayList list = designed(shops(count), family);
            const auto primary = frame(list, "primary");
            const auto secondary = frame(list, "secondary");
            ASSERT_TRUE(primary && secondary);
            EXPECT_NEAR(secondary->top() - primary->bottom(), 4, 0.01) << description(family) << " " << count;
        }
    }
}

TEST(PackageLayouts, SayHowFarAPackageIsInTheBrandsColour) {
    struct Row {
        WidgetFamily family;
        std::string color;
    };
    for (const auto& [family, color] :
         {Row{WidgetFamily::systemSmall, "BrandColor"}, Row{WidgetFamily::systemMedium, "BrandColor"},
          Row{WidgetFamily::systemLarge, "BrandColor"}, Row{WidgetFamily::accessoryRectangular, "primary"}}) {
        const DisplayList list = designed(shops(1), family);
        EXPECT_THAT(linesBeginning("roundedRectangle " + color, list), SizeIs(2)) << description(family);
        for (const DisplayItem& item : list.items) {
            const auto* shape = std::get_if<RoundedRectangleItem>(&item.kind);
            if (!shape ||
                (shape->color.name() != color && shape->color.name() != "ProgressBarBackgroundColor"))
                continue;
            EXPECT_EQ(shape->cornerRadius, 2) << description(family);
        }
    }
}

TEST(LargePackage, HasADividerBetweenConsecutivePackagesAndNoOther) {
    for (const std::size_t count : {1u, 2u, 3u}) {
        const DisplayList list = designed(shops(count), WidgetFamily::systemLarge);
        ASSERT_EQ(list.links.size(), count);
        std::vector<Rect> dividers;
        for (const DisplayItem& item : list.items) {
            const auto* shape = std::get_if<RectangleItem>(&item.kind);
            if (shape && shape->color == Color::asset("DividerColor")) dividers.push_back(item.frame);
        }
        ASSERT_EQ(dividers.size(), count - 1);
        for (std::size_t index = 0; index < dividers.size(); ++index) {
            EXPECT_GE(dividers[index].top(), list.links[index].frame.bottom());
            EXPECT_LE(dividers[index].bottom(), list.links[index + 1].frame.top());
        }
        for (std::size_t index = 0; index < count; ++index)
            EXPECT_EQ(list.links[index].url.absoluteString(), "velaapp://order/" + std::to_string(index));
    }
}

// --- Prompts

TEST(Prompts, SetEachOfTheirWordsInItsFontWeightAndColour) {
    const std::vector<Setting> signIns = {
        {WidgetFamily::systemLarge,
         {"Track your orders in a glance.: medium title, primary", "Sign in to Vela: medium body, primary",
          "Sign In: medium body, white"}},
        {WidgetFamily::systemMedium,
         {"Sign in to track your orders in a glance: medium body, primary",
          "Sign In: medium subheadline, white"}},
        {WidgetFamily::systemSmall,
         {"Sign in to Vela: medium subheadline, primary", "Sign In: medium subheadline, white"}},
        {WidgetFamily::accessoryRectangular, {"Sign in to Vela: medium subheadline, primary"}},
        {WidgetFamily::accessoryInline, {"Sign in to Vela: medium subheadline, primary"}},
    };
    const std::vector<Setting> noPackages = {
        {WidgetFamily::systemLarge,
         {"You have no new orders to track: medium title, primary",
          "Add order to track: medium body, white"}},
        {WidgetFamily::systemMedium,
         {"You have no new orders to track: medium body, primary",
          "Add order to track: medium subheadline, white"}},
        {WidgetFamily::systemSmall,
         {"You have no new orders to track: medium subheadline, primary",
          "Add order to track: medium subheadline, white"}},
        {WidgetFamily::accessoryRectangular,
         {"You have no new orders to track: medium subheadline, primary"}},
        {WidgetFamily::accessoryInline, {"Add order to track: medium subheadline, primary"}},
    };
    for (const ColorScheme scheme : eitherScheme) {
        for (const auto& [family, words] : signIns) {
            const DisplayList list = designed(drawing_tests::entry(widget::NotLoggedIn{}), family, scheme);
            EXPECT_THAT(settings(list), ElementsAreArray(words)) << description(family);
        }
        for (const auto& [family, words] : noPackages) {
            const DisplayList list = designed(drawing_tests::entry(widget::NoPackages{}), family, scheme);
            EXPECT_THAT(settings(list), ElementsAreArray(words)) << description(family);
        }
    }
}

TEST(Prompts, HaveTheirButtonOnTheBrandsColourTwelvePointsBelowTheirWords) {
    for (const widget::WidgetState& state :
         {widget::WidgetState(widget::NotLoggedIn{}), widget::WidgetState(widget::NoPackages{})}) {
        for (const WidgetFamily family :
             {WidgetFamily::systemSmall, WidgetFamily::systemMedium, WidgetFamily::systemLarge}) {
            const DisplayList list = designed(drawing_tests::entry(state), family);
            std::optional<Rect> button;
            std::optional<Rect> words;
            for (const DisplayItem& item : list.items) {
                const auto* shape = std::get_if<RoundedRectangleItem>(&item.kind);
                if (shape && shape->color == Color::asset("BrandColor")) {
                    EXPECT_EQ(shape->cornerRadius, 12);
                    button = item.frame;
                }
                const auto* text = std::get_if<TextItem>(&item.kind);
                if (text && text->color == Color::primary()) words = item.frame;
            }
            ASSERT_TRUE(button && words) << description(family);
            const double above = family == WidgetFamily::systemLarge ? 24 : 12;
            EXPECT_NEAR(button->top() - words->bottom(), above, 0.01) << description(family);
        }
    }
    const DisplayList signIn =
        designed(drawing_tests::entry(widget::NotLoggedIn{}), WidgetFamily::systemLarge);
    const auto invitation = frame(signIn, "Track your orders in a glance.");
    const auto where = frame(signIn, "Sign in to Vela");
    ASSERT_TRUE(invitation && where);
    EXPECT_NEAR(where->top() - invitation->bottom(), 12, 0.01);
}

}  // namespace
