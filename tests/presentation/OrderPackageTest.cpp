// SPDX-License-Identifier: Apache-2.0

#include "presentation/OrderPackage.hpp"

#include <gtest/gtest.h>

#include <array>
#include <iterator>
#include <string>
#include <utility>

#include "presentation/DeliveryPackage.hpp"
#include "presentation/OrderStatusTable.hpp"
#include "tests/presentation/Packages.hpp"
#include "tests/support/FixedAmbient.hpp"

namespace presentation {
namespace {

using platform::testing::FixedAmbient;
using platform::testing::instant;

using VelaApi::OrderDeliveryStatus;
using VelaApi::OrderDisplayStatus;

constexpr const char* orderNow = "2024-06-15T12:00:00Z";

/// An order of that status in each of seven situations, each of which knows more than the one before or
/// something else: nothing; how it is sent; where it was seen; a day that has passed; a day to come; its
/// hours as well; the day it was delivered on.
std::array<Order, 7> situations(OrderDisplayStatus status) {
    const Order bare = order(status);
    Order sent = bare;
    sent.shippingMethod = "Express";
    Order seen = sent;
    seen.trackers.nodes = {trackerWith({event("Leipzig", 1)})};
    Order overdue = seen;
    overdue.etaInfo = eta(false, "Monday", "By 5 PM");
    Order dayAhead = seen;
    dayAhead.etaInfo = eta(true, "Friday");
    Order hoursAhead = seen;
    hoursAhead.etaInfo = eta(true, "Friday", "By 5 PM");
    Order dated = overdue;
    dated.markedAsDeliveredAt = instant("2024-03-05T08:00:00Z");
    return {bare, sent, seen, overdue, dayAhead, hoursAhead, dated};
}

/// A slash stands between two lines.
struct OrderRow {
    OrderDisplayStatus status;
    float progress;
    std::array<const char*, 7> lines;
};

const auto orderRows = [] {
    using enum OrderDisplayStatus;
    return std::to_array<OrderRow>({
        {attemptedDelivery,
         0.8F,
         {"Attempted delivery", "Attempted delivery / Express", "Attempted delivery / Express",
          "Attempted delivery / Express", "Attempted delivery / Express", "Attempted delivery / Express",
          "Attempted delivery / Express"}},
        {buyerActionRequired,
         0.6F,
         {"Customs payment due", "Customs payment due / Express", "Customs payment due / Leipzig",
          "Customs payment due / Leipzig", "Customs payment due / Friday",
          "Customs payment due / Friday by 5 PM", "Customs payment due / Leipzig"}},
        {cancelled,
         0.0F,
         {"Cancelled", "Cancelled", "Cancelled", "Cancelled", "Cancelled", "Cancelled", "Cancelled"}},
        {delayed,
         0.0F,
         {"Delivery delayed", "Delivery delayed / Express", "Delivery delayed / Leipzig",
          "Delivery delayed / Leipzig", "Delivery delayed / Friday", "Delivery delayed / Friday by 5 PM",
          "Delivery delayed / Leipzig"}},
        {delivered,
         0.0F,
         {"Delivered", "Delivered / Express", "Delivered / Express", "Delivered / Monday",
          "Delivered / Express", "Delivered / Express", "Delivered / Delivered on Mar 5"}},
        {deliveredPartially,
         0.8F,
         {"Partially delivered", "Partially delivered / Express", "Partially delivered / Express",
          "Partially delivered / Monday", "Partially delivered / Express", "Partially delivered / Express",
          "Partially delivered / Monday"}},
        {expired,
         0.0F,
         {"No recent activity", "No recent activity / Express", "No recent activity / Express",
          "No recent activity / Express", "No recent activity / Express", "No recent activity / Express",
          "No recent activity / Express"}},
        {failure, 0.0F, {"Failure", "Failure", "Failure", "Failure", "Failure", "Failure", "Failure"}},
        {fulfilled,
         0.4F,
         {"Ready to ship", "Ready to ship / Express", "Ready to ship / Express", "Ready to ship / Express",
          "Friday / Express", "Friday / By 5 PM", "Ready to ship / Express"}},
        {fulfilledPartially,
         0.4F,
         {"Partially ready to ship", "Partially ready to ship / Express", "Partially ready to ship / Express",
          "Partially ready to ship / Express", "Friday / Express", "Friday / By 5 PM",
          "Partially ready to ship / Express"}},
        {inTransit,
         0.6F,
         {"In transit", "In transit / Express", "In transit / Leipzig", "In transit / Leipzig",
          "Friday / Leipzig", "Friday / By 5 PM", "In transit / Leipzig"}},
        {outForDelivery,
         0.8F,
         {"Out for delivery", "Out for delivery / Express", "Out for delivery / Express",
          "Out for delivery / Express", "Friday / Express", "Friday / By 5 PM",
          "Out for delivery / Express"}},
        {paid,
         0.2F,
         {"Order placed", "Order placed / Express", "Order placed / Express", "Order placed / Express",
          "Order placed / Express", "Order placed / Express", "Order placed / Express"}},
        {paidPartially,
         0.2F,
         {"Order placed", "Order placed / Express", "Order placed / Express", "Order placed / Express",
          "Order placed / Express", "Order placed / Express", "Order placed / Express"}},
        {partiallyRefundedInStore,
         0.0F,
         {"In-store purchase / Partially refunded", "In-store purchase / Partially refunded",
          "In-store purchase / Partially refunded", "In-store purchase / Partially refunded",
          "In-store purchase / Partially refunded", "In-store purchase / Partially refunded",
          "In-store purchase / Partially refunded"}},
        {pending,
         0.0F,
         {"Waiting for details", "Waiting for details / Express", "Waiting for details / Express",
          "Waiting for details / Express", "Waiting for details / Express", "Waiting for details / Express",
          "Waiting for details / Express"}},
        {pickedUp,
         0.0F,
         {"Picked up", "Picked up", "Picked up", "Picked up", "Picked up", "Picked up", "Picked up"}},
        {purchasedInStore,
         0.0F,
         {"In-store purchase", "In-store purchase / Express", "In-store purchase / Express",
          "In-store purchase / Express", "In-store purchase / Express", "In-store purchase / Express",
          "In-store purchase / Express"}},
        {readyForPickup,
         0.8F,
         {"Ready for pickup", "Ready for pickup / Express", "Ready for pickup / Express",
          "Ready for pickup / Express", "Ready for pickup / Express", "Ready for pickup / Express",
          "Ready for pickup / Express"}},
        {refunded,
         0.0F,
         {"Unknown / Refunded", "Unknown / Refunded", "Unknown / Refunded", "Unknown / Refunded",
          "Unknown / Refunded", "Unknown / Refunded", "Unknown / Refunded"}},
        {refundedInStore,
         0.0F,
         {"In-store purchase / Refunded", "In-store purchase / Refunded", "In-store purchase / Refunded",
          "In-store purchase / Refunded", "In-store purchase / Refunded", "In-store purchase / Refunded",
          "In-store purchase / Refunded"}},
        {refundedPartially,
         0.0F,
         {"Unknown / Partially refunded", "Unknown / Partially refunded", "Unknown / Partially refunded",
          "Unknown / Partially refunded", "Unknown / Partially refunded", "Unknown / Partially refunded",
          "Unknown / Partially refunded"}},
        {returned,
         0.0F,
         {"Returned", "Returned", "Returned", "Returned", "Returned", "Returned", "Returned"}},
        {unknown,
         0.0F,
         {"Unknown", "Unknown / Express", "Unknown / Express", "Unknown / Express", "Unknown / Express",
          "Unknown / Express", "Unknown / Express"}},
        {unknownValue,
         0.0F,
         {"Unknown", "Unknown / Express", "Unknown / Express", "Unknown / Express", "Unknown / Express",
          "Unknown / Express", "Unknown / Express"}},
    });
}();

const std::pair<OrderDeliveryStatus, const char*> deliveryWordings[] = {
    {OrderDeliveryStatus::attemptedDelivery, "Attempted delivery"},
    {OrderDeliveryStatus::buyerActionRequired, "Customs payment due"},
    {OrderDeliveryStatus::cancelled, "Cancelled"},
    {OrderDeliveryStatus::delayed, "Delivery delayed"},
    {OrderDeliveryStatus::delivered, "Delivered"},
    {OrderDeliveryStatus::deliveredPartially, "Partially delivered"},
    {OrderDeliveryStatus::expired, "No recent activity"},
    {OrderDeliveryStatus::failure, "Failure"},
    {OrderDeliveryStatus::fulfilled, "Ready to ship"},
    {OrderDeliveryStatus::fulfilledPartially, "Partially ready to ship"},
    {OrderDeliveryStatus::inTransit, "In transit"},
    {OrderDeliveryStatus::outForDelivery, "Out for delivery"},
    {OrderDeliveryStatus::pending, "Waiting for details"},
    {OrderDeliveryStatus::pickedUp, "Picked up"},
    {OrderDeliveryStatus::readyForPickup, "Ready for pickup"},
    {OrderDeliveryStatus::returned, "Returned"},
    {OrderDeliveryStatus::unknown, "Unknown"},
    {OrderDeliveryStatus::unknownValue, "Unknown"},
};

StatusPair statusOf(const Order& order) {
    return OrderPackage(order).statusText();
}

TEST(OrderPackage, EveryStatusHasItsProgressAndItsLinesInEachSituation) {
    const FixedAmbient surroundings({.now = orderNow});
    ASSERT_EQ(orderRows.size(), VelaApi::allCases<OrderDisplayStatus>().size() + 1);
    for (const OrderRow& row : orderRows) {
        const auto orders = situations(row.status);
        for (std::size_t index = 0; index < orders.size(); ++index) {
            const auto [primary, secondary] = statusOf(orders[index]);
            EXPECT_EQ(secondary ? primary + " / " + *secondary : primary, row.lines[index])
                << VelaApi::rawValue(row.status) << ", situation " << index;
        }
        EXPECT_EQ(OrderPackage(orders.front()).progress(), row.progress) << VelaApi::rawValue(row.status);
    }
}

TEST(OrderPackage, EveryDeliveryStatusHasItsWord) {
    ASSERT_EQ(std::size(deliveryWordings), VelaApi::allCases<OrderDeliveryStatus>().size() + 1);
    for (const auto& [status, word] : deliveryWordings) {
        EXPECT_EQ(statusOf(order(OrderDisplayStatus::refundedPartially, status)),
                  (StatusPair{word, "Partially refunded"}))
            << VelaApi::rawValue(status);
    }
}

TEST(OrderPackage, ATextThatIsEmptyIsPresent) {
    Order purchase = order(OrderDisplayStatus::inTransit);
    purchase.shippingMethod = "";
    EXPECT_EQ(statusOf(purchase), (StatusPair{"In transit", ""}));
    purchase.trackers.nodes = {trackerWith({event("", 1)})};
    purchase.shippingMethod = "Express";
    EXPECT_EQ(statusOf(purchase), (StatusPair{"In transit", ""}));
    purchase.etaInfo = eta(true, "", "");
    EXPECT_EQ(statusOf(purchase), (StatusPair{"", ""}));
}

TEST(OrderPackage, ARefundIsToldByWhatBecameOfTheDelivery) {
    const auto refund = [](OrderDisplayStatus display, OrderDeliveryStatus delivery) {
        return statusOf(order(display, delivery));
    };
    EXPECT_EQ(refund(OrderDisplayStatus::refunded, OrderDeliveryStatus::pending), (StatusPair{"Refunded"}));
    EXPECT_EQ(refund(OrderDisplayStatus::refunded, OrderDeliveryStatus::delivered),
              (StatusPair{"Delivered", "Refunded"}));
    EXPECT_EQ(refund(OrderDisplayStatus::refundedPartially, OrderDeliveryStatus::pending),
              (StatusPair{"Waiting for details", "Partially refunded"}));
}

TEST(OrderPackage, InTransitWithAPastEtaAndNoLocationReadsInTransitOverTheShippingMethod) {
    Order purchase = order(OrderDisplayStatus::inTransit);
    purchase.etaInfo = eta(false, "Yesterday", "By 5 PM");
    purchase.shippingMethod = "Express";
    EXPECT_EQ(statusOf(purchase), (StatusPair{"In transit", "Express"}));
}

TEST(OrderPackage, DeliveredWithoutADateButWithAPastEtaShowsTheEta) {
    Order purchase = order(OrderDisplayStatus::delivered);
    purchase.etaInfo = eta(false, "Arrived Monday");
    purchase.shippingMethod = "Express";
    EXPECT_EQ(statusOf(purchase), (StatusPair{"Delivered", "Arrived Monday"}));
}

TEST(OrderPackage, OfTwoTrackersAtTheSameInstantTheFirstSpeaks) {
    Order purchase = order(OrderDisplayStatus::inTransit);
    purchase.trackers.nodes = {trackerWith({event("Leipzig", 5)}), trackerWith({event("Halle", 5)})};
    EXPECT_EQ(statusOf(purchase).secondary, "Leipzig");
}

TEST(OrderPackage, TheLatestMessageOfTheFirstEventsIsTheLocation) {
    using Trackers = std::vector<Order::Trackers::Nodes>;
    const std::pair<Trackers, OptionalText> cases[] = {
        {{}, std::nullopt},
        {{trackerWith({})}, std::nullopt},
        {{trackerWith({}), trackerWith({event("Halle", 1)})}, "Halle"},
        {{trackerWith({event("Leipzig", 1)}), trackerWith({event("Halle", 2)})}, "Halle"},
        {{trackerWith({event("Leipzig", 2)}), trackerWith({event("Halle", 1)})}, "Leipzig"},
        {{trackerWith({event("Leipzig", 1)}), trackerWith({event(std::nullopt, 2)})}, "Leipzig"},
        {{trackerWith({event(std::nullopt, 1), event("Leipzig", 2)})}, std::nullopt},
        {{trackerWith({event("Leipzig", 1)}), trackerWith({event(std::nullopt, 2), event("Halle", 3)})},
         "Leipzig"},
        {{trackerWith({event("Leipzig", 1), event("Halle", 2)}), trackerWith({event("Berlin", 1)})},
         "Leipzig"},
        {{trackerWith({event("a", -2)}), trackerWith({event("b", -1)}), trackerWith({event("c", -1)})}, "b"},
    };
    for (const auto& [trackers, location] : cases) {
        Order purchase = order(OrderDisplayStatus::inTransit);
        purchase.trackers.nodes = trackers;
        EXPECT_EQ(statusOf(purchase).secondary, location) << &trackers - &cases[0].first;
    }
}

TEST(OrderPackage, AnEtaTimeWithoutAnEtaIsNothing) {
    for (const auto status : {OrderDisplayStatus::inTransit, OrderDisplayStatus::delayed,
                              OrderDisplayStatus::fulfilled, OrderDisplayStatus::buyerActionRequired}) {
        Order purchase = order(status);
        purchase.etaInfo = eta(true, std::nullopt, "Between 2 and 4 PM");
        EXPECT_EQ(statusOf(purchase), (StatusPair{std::string(rowOf(orderStatusTable, status).word)}))
            << VelaApi::rawValue(status);
    }
}

TEST(OrderPackage, TheEtaLineJoinsDayAndTime) {
    struct EtaRow {
        OptionalText day, time, line;
    };
    const EtaRow lines[] = {
        {"Arriving Friday", "Between 2 and 4 PM", "Arriving Friday between 2 and 4 PM"},
        {"Arriving Friday", std::nullopt, "Arriving Friday"},
        {" \tArriving Friday\t ", std::nullopt, "Arriving Friday"},
        {"Friday", "BY 5 PM", "Friday bY 5 PM"},
        {"Friday", "Écrit", "Friday écrit"},
        {"Friday", "E\u0301crit", "Friday e\u0301crit"},
        {"Friday", "Σήμερα", "Friday σήμερα"},
        {"Friday", "5 PM", "Friday 5 PM"},
        {"Friday", "🚚 By 5", "Friday 🚚 By 5"},
        {"Friday", " By 5 ", "Friday  By 5"},
        {"\u00a0Friday", "By 5\n", "\u00a0Friday by 5\n"},
        {"", "", std::nullopt},
        {" ", "\t", std::nullopt},
    };
    for (const EtaRow& row : lines) {
        Order purchase = order(OrderDisplayStatus::delayed);
        purchase.etaInfo = eta(true, row.day, row.time);
        EXPECT_EQ(statusOf(purchase), (StatusPair{"Delivery delayed", row.line}))
            << *row.day << " and " << row.time.value_or("(none)");
    }
}

TEST(OrderPackage, OnlyTheFirstLineItemMayShowAProduct) {
    const Order::LineItems::Nodes bare;
    const Order::LineItems::Nodes pictured{
        .image = Order::LineItems::Nodes::Image{.url = url("https://pictures.example/kettle.jpg")}};
    Order purchase = order();
    EXPECT_EQ(OrderPackage(purchase).productImage(), std::nullopt);
    purchase.lineItems.nodes = {bare, pictured};
    EXPECT_EQ(OrderPackage(purchase).productImage(), std::nullopt);
    purchase.lineItems.nodes = {pictured, bare};
    EXPECT_EQ(OrderPackage(purchase).productImage(), url("https://pictures.example/kettle.jpg"));
}

TEST(OrderPackage, ShowsTheShopsNameAndLogo) {
    using Theme = Order::Shop::VisualTheme;
    Order purchase = order();
    EXPECT_EQ(OrderPackage(purchase).shopName(), "Kettle & Co");
    EXPECT_EQ(OrderPackage(purchase).shopImage(), std::nullopt);
    purchase.shop.visualTheme = Theme{};
    EXPECT_EQ(OrderPackage(purchase).shopImage(), std::nullopt);
    purchase.shop.visualTheme =
        Theme{.logoImage = Theme::LogoImage{.url = url("https://pictures.example/l.png")}};
    EXPECT_EQ(OrderPackage(purchase).shopImage(), url("https://pictures.example/l.png"));
}

TEST(OrderPackage, LinksToTheOrderWithoutAReferral) {
    const std::pair<const char*, const char*> links[] = {
        {"O-1", "velaapp://order/O-1"},        {"", "velaapp://order/"},
        {"a b", "velaapp://order/a%20b"},      {"a\nb", "velaapp://order/a%0Ab"},
        {"📦", "velaapp://order/%F0%9F%93%A6"},
    };
    for (const auto& [identifier, link] : links) {
        Order purchase = order();
        purchase.id = identifier;
        EXPECT_EQ(OrderPackage(purchase).deepLinkingUrl().absoluteString(), link);
    }
}

TEST(OrderPackage, ADeliveredOrderShowsAnEmptyBarUnlikeADeliveredParcel) {
    EXPECT_EQ(OrderPackage(order(OrderDisplayStatus::delivered)).progress(), 0.0F);
    EXPECT_EQ(DeliveryPackage(delivery(VelaApi::DeliveryStatus::delivered)).progress(), 1.0F);
}

}  // namespace
}  // namespace presentation
