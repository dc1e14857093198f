// SPDX-License-Identifier: Apache-2.0

#include "presentation/Package.hpp"

#include <gtest/gtest.h>

#include "presentation/DeepLink.hpp"
#include "presentation/DeliveryPackage.hpp"
#include "presentation/OrderPackage.hpp"
#include "presentation/PlaceholderPackage.hpp"
#include "tests/presentation/Packages.hpp"

namespace presentation {
namespace {

StoredPackage::Values sampleValues() {
    return {.shopName = "Shop",
            .deepLinkingUrl = url("velaapp://home_orders"),
            .progress = 0.5F,
            .shopImage = url("https://pictures.example/shop.png"),
            .productImage = url("https://pictures.example/product.png"),
            .statusText = {.primary = "one", .secondary = "two"}};
}

TEST(PlaceholderPackage, ThePlaceholderHoldsThreePackagesInOrderWithoutImages) {
    const PackageList packages = placeholderPackages("Shop Name");
    const std::vector<float> progresses = {0.4F, 0.8F, 0.4F};
    ASSERT_EQ(packages.size(), progresses.size());
    for (std::size_t index = 0; index < packages.size(); ++index) {
        const Package& package = *packages[index];
        EXPECT_EQ(package.shopName(), "Shop Name");
        EXPECT_EQ(package.deepLinkingUrl().absoluteString(), "velaapp://home_orders");
        EXPECT_EQ(package.progress(), progresses[index]);
        EXPECT_EQ(package.shopImage(), std::nullopt);
        EXPECT_EQ(package.productImage(), std::nullopt);
        EXPECT_EQ(package.statusText(), (StatusPair{"primary", "secondary"}));
    }
}

TEST(PlaceholderPackage, EveryPlaceholderHasASecondLine) {
    for (const auto& package : placeholderPackages("")) EXPECT_TRUE(package->statusText().secondary);
}

TEST(StoredPackage, GivesItsValuesUnchanged) {
    const StoredPackage package(sampleValues());
    EXPECT_EQ(package.shopName(), "Shop");
    EXPECT_EQ(package.deepLinkingUrl(), url("velaapp://home_orders"));
    EXPECT_EQ(package.progress(), 0.5F);
    EXPECT_EQ(package.shopImage(), url("https://pictures.example/shop.png"));
    EXPECT_EQ(package.productImage(), url("https://pictures.example/product.png"));
    EXPECT_EQ(package.statusText(), (StatusPair{"one", "two"}));
}

TEST(Package, AListMixesDeliveriesAndOrders) {
    const PackageList packages = {std::make_shared<DeliveryPackage>(delivery()),
                                  std::make_shared<OrderPackage>(order())};
    EXPECT_EQ(packages[0]->deepLinkingUrl().absoluteString(), "velaapp://delivery/D-1?referral=ios_widget");
    EXPECT_EQ(packages[1]->deepLinkingUrl().absoluteString(), "velaapp://order/O-1");
}

TEST(Package, ShowsTheSameOnlyWithAllSixValuesEqual) {
    using Change = void (*)(StoredPackage::Values&);
    const Change changes[] = {
        [](auto& values) { values.shopName = "Other"; },
        [](auto& values) { values.deepLinkingUrl = url("velaapp://other"); },
        [](auto& values) { values.progress = 0.6F; },
        [](auto& values) { values.shopImage.reset(); },
        [](auto& values) { values.productImage = url("https://pictures.example/other.png"); },
        [](auto& values) { values.statusText.primary = "other"; },
        [](auto& values) { values.statusText.secondary.reset(); },
    };
    const StoredPackage original(sampleValues());
    EXPECT_TRUE(showsTheSame(original, StoredPackage(sampleValues())));
    for (const Change change : changes) {
        StoredPackage::Values values = sampleValues();
        change(values);
        EXPECT_FALSE(showsTheSame(original, StoredPackage(values))) << &change - changes;
    }
}

TEST(DeepLink, ThatDoesNotParseStopsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(DeepLink::fromText("no scheme"), "deep link");
}

}  // namespace
}  // namespace presentation
