// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Bar/BarContent.hpp"

#include <gtest/gtest.h>

#include "host/reader/PackageLine.hpp"
#include "host/widget/Bar/BarText.hpp"
#include "platform/Files/ShellWord.hpp"
#include "platform/Text/Text.hpp"
#include "tests/host/readers/LiveStates.hpp"
#include "tests/support/ZoneInForce.hpp"

namespace host {
namespace {

BarContent contentOf(const LiveState& state, std::size_t position = 0) {
    return barContent(state, position, someNoon);
}

TEST(BarContent, HasAClassForWhatIsToBeDone) {
    struct Row {
        const char* primary;
        float progress;
        BarClass barClass;
    };
    const Row rows[] = {
        {"In transit", 0.6F, BarClass::arriving},
        {"Arriving today", 0.8F, BarClass::arriving},
        {"Words that nobody knows yet", 0.2F, BarClass::arriving},
        {"Words that nobody knows yet", 1.0F, BarClass::delivered},
        {"Delivered", 0.0F, BarClass::delivered},
        {"Picked up", 0.0F, BarClass::delivered},
        {"Attempted delivery", 0.8F, BarClass::attention},
        {"Customs payment due", 0.6F, BarClass::attention},
        {"Delivery delayed", 0.0F, BarClass::attention},
        {"Failure", 0.0F, BarClass::attention},
        {"Ready for pickup", 0.8F, BarClass::attention},
        {"Cancelled", 0.0F, BarClass::ended},
        {"Refunded", 0.0F, BarClass::ended},
    };
    for (const auto& row : rows) {
        const auto content =
            contentOf(stateWith({{.name = "Tea", .primary = row.primary, .progress = row.progress}}));
        EXPECT_EQ(content.barClass, row.barClass) << row.primary;
    }
}

TEST(BarContent, NamesEachClassAsAStyleSheetCan) {
    std::vector<std::string_view> seen;
    for (const auto each : allBarClasses) {
        EXPECT_EQ(name(each).find_first_not_of("abcdefghijklmnopqrstuvwxyz-"), std::string_view::npos);
        EXPECT_EQ(std::count(seen.begin(), seen.end(), name(each)), 0) << name(each);
        seen.push_back(name(each));
    }
}

TEST(BarContent, SaysTheWidgetsOwnWordsWhereThereAreNoPackages) {
    EXPECT_EQ(contentOf(signedOutState()).words, "Sign in to Vela");
    EXPECT_EQ(contentOf(signedOutState()).link, "velaapp://home_orders");
    EXPECT_EQ(contentOf(emptyState()).words, "You have no new orders to track");
    EXPECT_EQ(contentOf(emptyState()).link, "velaapp://add_delivery");
    EXPECT_EQ(contentOf(stateWith({})).words, "You have no new orders to track");
    EXPECT_EQ(contentOf(unknownState()).words, "Looking for your packages");
    EXPECT_TRUE(contentOf(unknownState()).packages.empty()) << "the sample is nobody's";
}

TEST(BarContent, SaysWhatIsWrongAndSinceWhen) {
    const platform::testing::ZoneInForce zone("UTC");
    auto state = stateWith({{.name = "Tea"}});
    state.asOf = someNoon;
    state.trouble = LiveTrouble::serverUnreachable;
    const auto content = contentOf(state);
    EXPECT_TRUE(content.isStale);
    EXPECT_TRUE(content.hasTrouble);
    EXPECT_EQ(content.remark, "as of 12:00: the server cannot be reached");
    auto unknown = unknownState();
    unknown.trouble = LiveTrouble::keychainLocked;
    EXPECT_EQ(contentOf(unknown).words, "Vela: the keyring is locked");
}

TEST(BarContent, ShowsThePackageAtThePosition) {
    const auto state = stateWith({{.name = "Tea"}, {.name = "Books", .link = "velaapp://order/2"}});
    EXPECT_EQ(contentOf(state, 0).shownPackage()->name, "Tea");
    EXPECT_EQ(contentOf(state, 1).shownPackage()->name, "Books");
    EXPECT_EQ(contentOf(state, 1).link, "velaapp://order/2");
    EXPECT_EQ(contentOf(state, 99).shownPackage()->name, "Books");
}

TEST(BarText, GivesTheStatusItsRoomFirst) {
    struct Row {
        std::size_t columns;
        const char* text;
    };
    const Row rows[] = {
        {60, "Tea House and Sons: In transit"},
        {20, "Tea Hou…: In transit"},
        {16, "Tea…: In transit"},
        {15, "In transit"},
        {10, "In transit"},
        {6, "In tr…"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(
            barText(contentOf(stateWith({{.name = "Tea House and Sons"}})), row.columns, BarDirections::left),
            row.text);
}

TEST(BarText, IsNeverEmpty) {
    EXPECT_EQ(barText(contentOf(stateWith({{.name = "", .primary = ""}})), 60, BarDirections::left),
              "Tracking Widget");
    EXPECT_EQ(barText(contentOf(stateWith({{.name = "Tea", .primary = ""}})), 60, BarDirections::left),
              "Tea");
    EXPECT_EQ(barText(contentOf(stateWith({{.name = ""}})), 60, BarDirections::left), "In transit");
}

TEST(BarText, FitsWholeCharactersIntoTheColumnsOfAnyName) {
    for (const auto& name : hostileNames())
        for (std::size_t columns = 4; columns < 40; ++columns) {
            const auto text = barText(contentOf(stateWith({{.name = name, .primary = name}})), columns,
                                      BarDirections::isolated);
            EXPECT_LE(platform::terminalColumns(text), columns) << text;
            EXPECT_TRUE(platform::isValidUTF8(text));
        }
}

TEST(BarText, KeepsNamesOfTheOtherDirectionTogether) {
    const auto state = stateWith({{.name = "שוק"}});
    EXPECT_EQ(barText(contentOf(state), 60, BarDirections::isolated), "\u200E\u2068שוק\u2069: In transit");
    EXPECT_EQ(barText(contentOf(state), 60, BarDirections::left), "שוק: In transit");
}

TEST(BarText, IsOneWordForAShellWhateverItHolds) {
    EXPECT_EQ(platform::shellQuoted("a'b"), R"('a'\''b')");
    EXPECT_EQ(platform::shellQuoted("$(x) `y`"), "'$(x) `y`'");
}

TEST(BarTooltip, HasALineForEachOfTenPackages) {
    std::vector<PackageWords> packages;
    for (int count = 0; count < 10; ++count)
        packages.push_back({.name = "Shop " + std::to_string(count), .secondary = "Standard"});
    const auto tooltip = barTooltip(contentOf(stateWith(packages)));
    EXPECT_EQ(std::count(tooltip.begin(), tooltip.end(), '\n'), 9);
    EXPECT_NE(tooltip.find("<b>Shop 9</b>: In transit, Standard"), std::string::npos);
}

}  // namespace
}  // namespace host
