#include "presentation/DeliveryPackage.hpp"

#include <gtest/gtest.h>

#include "tests/presentation/Packages.hpp"
#include "tests/support/FixedAmbient.hpp"

namespace presentation {
namespace {

using platform::testing::FixedAmbient;
using platform::testing::instant;

using VelaApi::DeliveryExceptionType;
using VelaApi::DeliveryStatus;

constexpr const char* now = "2024-06-15T12:00:00Z";

StatusPair statusOf(const Delivery& delivery) {
    return DeliveryPackage(delivery).statusText();
}

enum class Lines { words, wordsAndDay, etaOrWords, unknownAndCarrier };

/// One row for each status: its progress, its words, and where its lines come from.
struct Row {
    DeliveryStatus status;
    float progress;
    Lines lines;
    const char* words;
};

const Row rows[] = {
    {DeliveryStatus::attemptedDelivery, 0.8F, Lines::words, "Attempted delivery"},
    {DeliveryStatus::carrierNotSupported, 0.0F, Lines::unknownAndCarrier, "Unknown"},
    {DeliveryStatus::delivered, 1.0F, Lines::wordsAndDay, "Delivered"},
    {DeliveryStatus::deliveryNotCompleted, 0.0F, Lines::unknownAndCarrier, "Unknown"},
    {DeliveryStatus::inTransit, 0.6F, Lines::etaOrWords, "In transit"},
    {DeliveryStatus::invalidTrackingNumber, 0.0F, Lines::unknownAndCarrier, "Unknown"},
    {DeliveryStatus::labelCreated, 0.4F, Lines::unknownAndCarrier, "Unknown"},
    {DeliveryStatus::outForDelivery, 0.8F, Lines::etaOrWords, "Out for delivery"},
    {DeliveryStatus::pickedUp, 0.0F, Lines::unknownAndCarrier, "Unknown"},
    {DeliveryStatus::preparing, 0.2F, Lines::words, "Waiting for details"},
    {DeliveryStatus::readyForPickUp, 0.8F, Lines::words, "Ready for pickup"},
    {DeliveryStatus::returnedToSender, 0.0F, Lines::unknownAndCarrier, "Unknown"},
    {DeliveryStatus::unknown, 0.0F, Lines::unknownAndCarrier, "Unknown"},
    {DeliveryStatus::unknownValue, 0.0F, Lines::unknownAndCarrier, "Unknown"},
};

TEST(DeliveryPackage, EveryStatusHasItsRow) {
    std::size_t next = 0;
    for (const Row& row : rows) EXPECT_EQ(static_cast<std::size_t>(row.status), next++);
    EXPECT_EQ(next, static_cast<std::size_t>(DeliveryStatus::unknownValue) + 1);
}

TEST(DeliveryPackage, EveryStatusHasItsProgress) {
    for (const Row& row : rows) {
        EXPECT_EQ(DeliveryPackage(delivery(row.status)).progress(), row.progress)
            << VelaApi::rawValue(row.status);
    }
}

TEST(DeliveryPackage, EveryStatusHasItsLinesInEveryCombination) {
    using EtaInfo = Delivery::CurrentEtaInfo;
    const FixedAmbient surroundings({.now = now});
    const std::optional<EtaInfo> etaInfos[] = {
        std::nullopt,
        EtaInfo{},
        EtaInfo{.formattedEtaDateAndTime = "Arriving Friday"},
        EtaInfo{.formattedEtaDateAndTime = ""},
        EtaInfo{.estimatedTimeOfDelivery = instant(now)},
    };
    const std::optional<Delivery::Tracker> trackers[] = {std::nullopt, Delivery::Tracker{},
                                                         trackerOf("Swift Post"), trackerOf("")};
    const std::vector<Delivery::Exceptions> exceptionLists[] = {
        {},
        {exception(std::nullopt), exception(DeliveryExceptionType::damaged)},
        {exception(DeliveryExceptionType::delayed)},
        {exception(std::nullopt), exception(DeliveryExceptionType::unknownValue),
         exception(DeliveryExceptionType::delayed), exception(DeliveryExceptionType::delivered)},
    };
    const std::optional<platform::Date> deliveryDates[] = {std::nullopt, instant("2024-03-05T08:00:00Z")};

    for (const Row& row : rows) {
        for (const auto& etaInfo : etaInfos) {
            for (const auto& tracker : trackers) {
                for (const auto& exceptions : exceptionLists) {
                    for (const auto& deliveredAt : deliveryDates) {
                        Delivery parcel = delivery(row.status);
                        parcel.currentEtaInfo = etaInfo;
                        parcel.tracker = tracker;
                        parcel.exceptions = exceptions;
                        parcel.deliveredAt = deliveredAt;

                        const OptionalText eta = etaInfo ? etaInfo->formattedEtaDateAndTime : std::nullopt;
                        const OptionalText carrier = tracker && tracker->carrierInfo
                                                         ? OptionalText(tracker->carrierInfo->name)
                                                         : std::nullopt;
                        const bool isDelayed =
                            exceptions == exceptionLists[2] || exceptions == exceptionLists[3];
                        StatusPair expected{row.words};
                        if (isDelayed) {
                            expected = {"Delivery delayed", eta ? eta : carrier};
                        } else if (row.lines == Lines::wordsAndDay && deliveredAt) {
                            expected.secondary = "Delivered on Mar 5";
                        } else if (row.lines == Lines::etaOrWords && eta) {
                            expected.primary = *eta;
                        } else if (row.lines == Lines::unknownAndCarrier) {
                            expected.secondary = carrier;
                        }
                        EXPECT_EQ(statusOf(parcel), expected)
                            << VelaApi::rawValue(row.status) << ", ETA " << eta.value_or("(none)")
                            << ", carrier " << carrier.value_or("(none)") << ", " << exceptions.size()
                            << " exceptions";
                    }
                }
            }
        }
    }
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
    const FixedAmbient surroundings({.now = now});
    Delivery parcel = delivery(DeliveryStatus::delivered);
    parcel.deliveredAt = instant(now);
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
