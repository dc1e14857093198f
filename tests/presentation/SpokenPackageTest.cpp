// SPDX-License-Identifier: Apache-2.0

#include "presentation/SpokenPackage.hpp"

#include <gtest/gtest.h>

#include <limits>

#include "presentation/DeliveryPackage.hpp"
#include "presentation/OrderPackage.hpp"
#include "presentation/PlaceholderPackage.hpp"
#include "presentation/Wording.hpp"
#include "tests/presentation/Packages.hpp"

namespace presentation {
namespace {

std::string said(const std::string& name, const StatusPair& status, float progress) {
    return spoken(StoredPackage({.shopName = name,
                                 .deepLinkingUrl = url("velaapp://order/1"),
                                 .progress = progress,
                                 .statusText = status}));
}

TEST(SpokenPackage, IsASentenceWithItsProgress) {
    const struct {
        std::string name;
        StatusPair status;
        float progress;
        std::string words;
    } rows[] = {
        {"Fathom & Co.",
         {"Arriving today", "Between 2 and 4 PM"},
         0.8F,
         "Fathom & Co.: arriving today, between 2 and 4 PM; 80 percent of the way"},
        {"Meadow Tea", {"Order placed"}, 0.2F, "Meadow Tea: order placed; 20 percent of the way"},
        {"Shop", {"In-store purchase", "Refunded"}, 0, "Shop: in-store purchase, refunded"},
        {"Shop", {"Tomorrow"}, 0.6F, "Shop: tomorrow; 60 percent of the way"},
        // What is said once is not said again.
        {"Shop", {"Delivered", "Delivered yesterday"}, 1, "Shop: delivered yesterday; all of the way"},
        {"Shop", {"Delivered", "Delivered on Dec 30, 2023"}, 0, "Shop: delivered on Dec 30, 2023"},
        {"Shop", {"Delivered", "Delivered"}, 0, "Shop: delivered"},
        {"Shop", {"Delivered", "DeliveredFast Inc."}, 0, "Shop: delivered, DeliveredFast Inc."},
        // Names of days, places and carriers keep their capitals.
        {"Shop",
         {"Fri, Dec 5", "Standard shipping"},
         0.4F,
         "Shop: Fri, Dec 5, Standard shipping; 40 percent of the way"},
        {"Shop", {"Unknown", "Bytown Couriers"}, 0, "Shop: unknown, Bytown Couriers"},
        {"Shop", {"Refunded Goods Ltd. has it"}, 0, "Shop: Refunded Goods Ltd. has it"},
        {"書店", {"配達中です", "本日"}, 0.6F, "書店: 配達中です, 本日; 60 percent of the way"},
        // What is missing leaves no mark.
        {"", {"In transit", "Arriving today"}, 0.6F, "In transit, arriving today; 60 percent of the way"},
        {"Shop", {"", "Today"}, 0, "Shop: today"},
        {"Shop", {""}, 0.5F, "Shop; 50 percent of the way"},
        {" ", {" "}, 0.5F, "50 percent of the way"},
        {"", {""}, 0, ""},
    };
    for (const auto& row : rows) EXPECT_EQ(said(row.name, row.status, row.progress), row.words);
}

TEST(SpokenPackage, IsCutWherePartsOfItAreLongAndKeepsTheOthers) {
    const std::string longName(100'000, 'n');
    EXPECT_EQ(said(longName, {longName, "Today"}, 0.8F),
              std::string(119, 'n') + "…: " + std::string(119, 'n') + "…, today; 80 percent of the way");
    EXPECT_EQ(said(std::string(120, 'n'), {longName, longName}, 0),
              std::string(120, 'n') + ": " + std::string(119, 'n') + "…");
    // A family is one character of 25 bytes, and two columns wide.
    std::string families;
    for (int count = 0; count < 100; ++count) families += "👨‍👩‍👧‍👦";
    const auto words = said(families, {"Delivered"}, 0);
    EXPECT_EQ(words, families.substr(0, std::size_t{59} * 25) + "…: delivered");
    // One character, by what a reader perceives.
    std::string marked = "a";
    for (int count = 0; count < 40'000; ++count) marked += "\u0301";
    EXPECT_LT(said(marked, {marked, marked}, 1).size(), 1000u);
}

TEST(SpokenPackage, SaysAllOfTheWayOnlyWhereTheBarIsFull) {
    const struct {
        float progress;
        std::string words;
    } rows[] = {
        {0.001F, "1 percent of the way"},
        {0.6F, "60 percent of the way"},
        {0.999F, "99 percent of the way"},
        {1, "all of the way"},
        {2, "all of the way"},
        {-1, ""},
        {std::numeric_limits<float>::quiet_NaN(), ""},
    };
    for (const auto& row : rows) EXPECT_EQ(said("", {""}, row.progress), row.words);
}

TEST(SpokenPackage, IsOneLineWhateverAServerSends) {
    EXPECT_EQ(said("Tea\r\nHouse\x1B[2J", {"In transit", "\tToday\xE2\x80\xA8"}, 0),
              "Tea  House [2J: in transit, today");
}

TEST(SpokenPackage, SaysOfASampleThatNothingIsKnown) {
    const PackageList samples = placeholderPackages("Shop Name");
    for (const auto& sample : samples) EXPECT_EQ(spoken(*sample), "Not yet known");
    EXPECT_TRUE(areSamples(samples));
    PackageList mixed = samples;
    mixed.push_back(
        std::make_shared<StoredPackage>(StoredPackage::Values{.shopName = "Shop",
                                                              .deepLinkingUrl = url("velaapp://order/1"),
                                                              .progress = 0,
                                                              .statusText = {"primary", "secondary"}}));
    EXPECT_FALSE(areSamples(mixed));
    EXPECT_EQ(spoken(*mixed.back()), "Shop: primary, secondary");
}

TEST(SpokenPackage, BeginsEveryStatusOfOursInLowerCaseAfterAName) {
    for (const auto& row : orderStatusTable) {
        const std::string words = spoken(OrderPackage(order(row.status)));
        EXPECT_TRUE(words.starts_with("Kettle & Co: ")) << words;
        EXPECT_TRUE(words.at(13) >= 'a' && words.at(13) <= 'z') << words;
    }
    for (const auto& row : deliveryStatusTable) {
        Delivery shown = delivery(row.status);
        shown.customName = "Kettle & Co";
        const std::string words = spoken(DeliveryPackage(shown));
        EXPECT_TRUE(words.at(13) >= 'a' && words.at(13) <= 'z') << words;
    }
}

}  // namespace
}  // namespace presentation
