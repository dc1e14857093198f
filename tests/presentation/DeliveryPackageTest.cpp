// SPDX-License-Identifier: Apache-2.0

#include "presentation/DeliveryPackage.hpp"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "tests/presentation/Packages.hpp"
#include "tests/support/FixedAmbient.hpp"

namespace presentation {
namespace {

using platform::testing::FixedAmbient;
using platform::testing::instant;

using VelaApi::DeliveryExceptionType;
using VelaApi::DeliveryStatus;

constexpr const char* deliveryNow = "2024-06-15T12:00:00Z";

StatusPair statusOf(const Delivery& delivery) {
    return DeliveryPackage(delivery).statusText();
}

/// A delivery of that status in each of five situations: with nothing else known; with a carrier; with a day
/// to come as well; with the day it was delivered on as well; and delayed.
std::array<Delivery, 5> situations(DeliveryStatus status) {
    const Delivery bare = delivery(status);
    Delivery carried = bare;
    carried.tracker = trackerOf("Swift Post");
    Delivery dayAhead = carried;
    dayAhead.currentEtaInfo = Delivery::CurrentEtaInfo{.formattedEtaDateAndTime = "Arriving Friday"};
    Delivery dated = dayAhead;
    dated.deliveredAt = instant("2024-03-05T08:00:00Z");
    Delivery delayed = dated;
    delayed.exceptions = {exception(std::nullopt), exception(DeliveryExceptionType::unknownValue),
                          exception(DeliveryExceptionType::delayed),
                          exception(DeliveryExceptionType::delivered)};
    return {bare, carried, dayAhead, dated, delayed};
}

/// A slash stands between two lines.
struct DeliveryRow {
    DeliveryStatus status;
    float progress;
    std::array<const char*, 5> lines;
};

const auto deliveryRows = [] {
    using enum DeliveryStatus;
    return std::to_array<DeliveryRow>({
        {attemptedDelivery,
         0.8F,
         {"Attempted delivery", "Attempted delivery", "Attempted delivery", "Attempted delivery",
          "Delivery delayed / Arriving Friday"}},
        {carrierNotSupported,
         0.0F,
         {"Unknown", "Unknown / Swift Post", "Unknown / Swift Post", "Unknown / Swift Post",
          "Delivery delayed / Arriving Friday"}},
        {delivered,
         1.0F,
         {"Delivered", "Delivered", "Delivered", "Delivered / Delivered on Mar 5",
          "Delivery delayed / Arriving Friday"}},
        {deliveryNotCompleted,
         0.0F,
         {"Unknown", "Unknown / Swift Post", "Unknown / Swift Post", "Unknown / Swift Post",
          "Delivery delayed / Arriving Friday"}},
        {inTransit,
         0.6F,
         {"In transit", "In transit", "Arriving Friday", "Arriving Friday",
          "Delivery delayed / Arriving Friday"}},
        {invalidTrackingNumber,
         0.0F,
         {"Unknown", "Unknown / Swift Post", "Unknown / Swift Post", "Unknown / Swift Post",
          "Delivery delayed / Arriving Friday"}},
        {labelCreated,
         0.4F,
         {"Unknown", "Unknown / Swift Post", "Unknown / Swift Post", "Unknown / Swift Post",
          "Delivery delayed / Arriving Friday"}},
        {outForDelivery,
         0.8F,
         {"Out for delivery", "Out for delivery", "Arriving Friday", "Arriving Friday",
          "Delivery delayed / Arriving Friday"}},
        {pickedUp,
         0.0F,
         {"Unknown", "Unknown / Swift Post", "Unknown / Swift Post", "Unknown / Swift Post",
          "Delivery delayed / Arriving Friday"}},
        {preparing,
         0.2F,
         {"Waiting for details", "Waiting for details", "Waiting for details", "Waiting for details",
          "Delivery delayed / Arriving Friday"}},
        {readyForPickUp,
         0.8F,
         {"Ready for pickup", "Ready for pickup", "Ready for pickup", "Ready for pickup",
          "Delivery delayed / Arriving Friday"}},
        {returnedToSender,
         0.0F,
         {"Unknown", "Unknown / Swift Post", "Unknown / Swift Post", "Unknown / Swift Post",
          "Delivery delayed / Arriving Friday"}},
        {unknown,
         0.0F,
         {"Unknown", "Unknown / Swift Post", "Unknown / Swift Post", "Unknown / Swift Post",
          "Delivery delayed / Arriving Friday"}},
        {unknownValue,
         0.0F,
         {"Unknown", "Unknown / Swift Post", "Unknown / Swift Post", "Unknown / Swift Post",
          "Delivery delayed / Arriving Friday"}},
    });
}();

TEST(DeliveryPackage, EveryStatusHasItsProgressAndItsLinesInEachSituation) {
    const FixedAmbient surroundings({.now = deliveryNow});
    ASSERT_EQ(deliveryRows.size(), VelaApi::allCases<DeliveryStatus>().size() + 1);
    for (const DeliveryRow& row : deliveryRows) {
        const auto deliveries = situations(row.status);
        for (std::size_t index = 0; index < deliveries.size(); ++index) {
            const auto [primary, secondary] = statusOf(deliveries[index]);
            EXPECT_EQ(secondary ? primary + " / " + *secondary : primary, row.lines[index])
                << VelaApi::rawValue(row.status) << ", situation " << index;
        }
        EXPECT_EQ(DeliveryPackage(deliveries.front()).progress(), row.progress)
            << VelaApi::rawValue(row.status);
    }
}

TEST(DeliveryPackage, ADelayIsToldWithTheDayElseTheCarrierElseAlone) {
    Delivery parcel = delivery(DeliveryStatus::inTransit);
    parcel.exceptions = {exception(DeliveryExceptionType::delayed)};
    EXPECT_EQ(statusOf(parcel), (StatusPair{"Delivery delayed"}));
    parcel.tracker = Delivery::Tracker{};
    EXPECT_EQ(statusOf(parcel), (StatusPair{"Delivery delayed"}));
    parcel.tracker = trackerOf("Swift Post");
    EXPECT_EQ(statusOf(parcel), (StatusPair{"Delivery delayed", "Swift Post"}));
    parcel.currentEtaInfo = Delivery::CurrentEtaInfo{.estimatedTimeOfDelivery = instant(deliveryNow)};
    EXPECT_EQ(statusOf(parcel), (StatusPair{"Delivery delayed", "Swift Post"}));
    parcel.currentEtaInfo->formattedEtaDateAndTime = "";
    EXPECT_EQ(statusOf(parcel), (StatusPair{"Delivery delayed", ""}));
}

TEST(DeliveryPackage, OnlyADelayChangesTheLines) {
    for (const DeliveryExceptionType type : VelaApi::allCases<DeliveryExceptionType>()) {
        Delivery parcel = delivery(DeliveryStatus::preparing);
        parcel.exceptions = {exception(type)};
        const bool isDelay = type == DeliveryExceptionType::delayed;
        EXPECT_EQ(statusOf(parcel).primary, isDelay ? "Delivery delayed" : "Waiting for details")
            << VelaApi::rawValue(type);
    }
}

TEST(DeliveryPackage, ADelayedDeliveryThatWasDeliveredKeepsItsProgress) {
    Delivery parcel = delivery(DeliveryStatus::delivered);
    parcel.exceptions = {exception(DeliveryExceptionType::delayed)};
    EXPECT_EQ(statusOf(parcel), (StatusPair{"Delivery delayed"}));
    EXPECT_EQ(DeliveryPackage(parcel).progress(), 1.0F);
}

TEST(DeliveryPackage, OutForDeliveryWithAnEtaReadsOnlyTheEta) {
    Delivery parcel = delivery(DeliveryStatus::outForDelivery);
    parcel.currentEtaInfo = Delivery::CurrentEtaInfo{.formattedEtaDateAndTime = "Today by 5 PM"};
    parcel.tracker = trackerOf("Swift Post");
    EXPECT_EQ(statusOf(parcel), (StatusPair{"Today by 5 PM"}));
}

TEST(DeliveryPackage, DeliveredWithoutADateReadsOnOneLine) {
    EXPECT_EQ(statusOf(delivery(DeliveryStatus::delivered)), (StatusPair{"Delivered"}));
}

TEST(DeliveryPackage, DeliveredTodayIsSaidTwice) {
    const FixedAmbient surroundings({.now = deliveryNow});
    Delivery parcel = delivery(DeliveryStatus::delivered);
    parcel.deliveredAt = instant(deliveryNow);
    EXPECT_EQ(statusOf(parcel), (StatusPair{"Delivered", "Delivered today"}));
}

TEST(DeliveryPackage, LabelCreatedWithACarrierReadsUnknownOverTheCarriersName) {
    Delivery parcel = delivery(DeliveryStatus::labelCreated);
    parcel.tracker = trackerOf("Swift Post");
    EXPECT_EQ(statusOf(parcel), (StatusPair{"Unknown", "Swift Post"}));
    EXPECT_EQ(DeliveryPackage(parcel).progress(), 0.4F);
}

TEST(DeliveryPackage, TheTitleIsTheFirstNamePresentInEveryCombination) {
    for (unsigned present = 0; present < 32; ++present) {
        Delivery parcel = delivery();
        if (present & 1U) parcel.customName = "custom";
        if (present & 2U) parcel.sellerName = "seller";
        if (present & 4U) parcel.deliveryName = "delivery";
        if (present & 8U) parcel.tracker = Delivery::Tracker{};
        if (present & 16U) parcel.tracker = trackerOf("carrier");
        const char* expected = present & 1U    ? "custom"
                               : present & 2U  ? "seller"
                               : present & 4U  ? "delivery"
                               : present & 16U ? "carrier"
                                               : "Unknown";
        EXPECT_EQ(DeliveryPackage(parcel).shopName(), expected) << present;
    }
}

TEST(DeliveryPackage, WithoutAnyNameTheTitleIsUnknown) {
    EXPECT_EQ(DeliveryPackage(delivery()).shopName(), "Unknown");
}

TEST(DeliveryPackage, AnEmptyNameIsPresent) {
    Delivery parcel = delivery();
    parcel.sellerName = "Nordwind";
    parcel.customName = "";
    EXPECT_EQ(DeliveryPackage(parcel).shopName(), "");
}

TEST(DeliveryPackage, LinksToTheDeliveryWithAReferral) {
    EXPECT_EQ(DeliveryPackage(delivery()).deepLinkingUrl(),
              url("velaapp://delivery/D-1?referral=ios_widget"));
    EXPECT_EQ(DeliveryPackage(delivery()).deepLinkingUrl().absoluteString(),
              "velaapp://delivery/D-1?referral=ios_widget");
}

TEST(DeliveryPackage, LinksWithOddIdentifiers) {
    const std::pair<const char*, const char*> links[] = {
        {"", "velaapp://delivery/?referral=ios_widget"},
        {"a b", "velaapp://delivery/a%20b?referral=ios_widget"},
        {"a\"b", "velaapp://delivery/a%22b?referral=ios_widget"},
        {"a\nb", "velaapp://delivery/a%0Ab?referral=ios_widget"},
        {"📦", "velaapp://delivery/%F0%9F%93%A6?referral=ios_widget"},
        {"a/b?c=d", "velaapp://delivery/a/b?c=d?referral=ios_widget"},
    };
    for (const auto& [identifier, link] : links) {
        Delivery parcel = delivery();
        parcel.id = identifier;
        EXPECT_EQ(DeliveryPackage(parcel).deepLinkingUrl().absoluteString(), link) << identifier;
    }
}

TEST(DeliveryPackage, ShowsTheCarriersLogoAndNoProduct) {
    Delivery parcel = delivery();
    EXPECT_EQ(DeliveryPackage(parcel).shopImage(), std::nullopt);
    parcel.tracker = Delivery::Tracker{};
    EXPECT_EQ(DeliveryPackage(parcel).shopImage(), std::nullopt);
    parcel.tracker = trackerOf("Swift Post");
    EXPECT_EQ(DeliveryPackage(parcel).shopImage(), url("https://pictures.example/carrier.png"));
    EXPECT_EQ(DeliveryPackage(parcel).productImage(), std::nullopt);
}

TEST(DeliveryPackage, AStaleDeliveryIsPresentedLikeAnyOther) {
    Delivery stale = delivery(DeliveryStatus::inTransit);
    stale.deliveryFlags = {VelaApi::DeliveryFlag::stale};
    stale.state = VelaApi::DeliveryState::archived;
    EXPECT_TRUE(showsTheSame(DeliveryPackage(stale), DeliveryPackage(delivery(DeliveryStatus::inTransit))));
}

}  // namespace
}  // namespace presentation
