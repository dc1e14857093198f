#include "presentation/OrderPackage.hpp"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

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

constexpr const char* now = "2024-06-15T12:00:00Z";

/// One row for each display status. Words in capitals are values of the order; a slash is "else".
struct Row {
    OrderDisplayStatus status;
    float progress;
    const char* wording;
    const char* primary;
    const char* secondary;
};

const Row rows[] = {
    {OrderDisplayStatus::attemptedDelivery, 0.8F, "Attempted delivery", "WORDING", "SHIPPING"},
    {OrderDisplayStatus::buyerActionRequired, 0.6F, "Customs payment due", "WORDING",
     "ETA_LINE/LOCATION/SHIPPING"},
    {OrderDisplayStatus::cancelled, 0.0F, "Cancelled", "WORDING", ""},
    {OrderDisplayStatus::delayed, 0.0F, "Delivery delayed", "WORDING", "ETA_LINE/LOCATION/SHIPPING"},
    {OrderDisplayStatus::delivered, 0.0F, "Delivered", "WORDING", "DELIVERED_TEXT/PAST_ETA/SHIPPING"},
    {OrderDisplayStatus::deliveredPartially, 0.8F, "Partially delivered", "WORDING", "PAST_ETA/SHIPPING"},
    {OrderDisplayStatus::expired, 0.0F, "No recent activity", "WORDING", "SHIPPING"},
    {OrderDisplayStatus::failure, 0.0F, "Failure", "WORDING", ""},
    {OrderDisplayStatus::fulfilled, 0.4F, "Ready to ship", "FUTURE_ETA/WORDING", "FUTURE_TIME/SHIPPING"},
    {OrderDisplayStatus::fulfilledPartially, 0.4F, "Partially ready to ship", "FUTURE_ETA/WORDING",
     "FUTURE_TIME/SHIPPING"},
    {OrderDisplayStatus::inTransit, 0.6F, "In transit", "FUTURE_ETA/WORDING",
     "FUTURE_TIME/LOCATION/SHIPPING"},
    {OrderDisplayStatus::outForDelivery, 0.8F, "Out for delivery", "FUTURE_ETA/WORDING",
     "FUTURE_TIME/SHIPPING"},
    {OrderDisplayStatus::paid, 0.2F, "Order placed", "WORDING", "SHIPPING"},
    {OrderDisplayStatus::paidPartially, 0.2F, "Order placed", "WORDING", "SHIPPING"},
    {OrderDisplayStatus::partiallyRefundedInStore, 0.0F, "Partially refunded", "IN_STORE", "WORDING"},
    {OrderDisplayStatus::pending, 0.0F, "Waiting for details", "WORDING", "SHIPPING"},
    {OrderDisplayStatus::pickedUp, 0.0F, "Picked up", "WORDING", ""},
    {OrderDisplayStatus::purchasedInStore, 0.0F, "In-store purchase", "WORDING", "SHIPPING"},
    {OrderDisplayStatus::readyForPickup, 0.8F, "Ready for pickup", "WORDING", "SHIPPING"},
    {OrderDisplayStatus::refunded, 0.0F, "Refunded", "DELIVERY_WORDING", "WORDING"},
    {OrderDisplayStatus::refundedInStore, 0.0F, "Refunded", "IN_STORE", "WORDING"},
    {OrderDisplayStatus::refundedPartially, 0.0F, "Partially refunded", "DELIVERY_WORDING", "WORDING"},
    {OrderDisplayStatus::returned, 0.0F, "Returned", "WORDING", ""},
    {OrderDisplayStatus::unknown, 0.0F, "Unknown", "WORDING", "SHIPPING"},
    {OrderDisplayStatus::unknownValue, 0.0F, "Unknown", "WORDING", "SHIPPING"},
};

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

TEST(OrderPackage, EveryStatusHasItsRow) {
    std::size_t next = 0;
    for (const Row& row : rows) EXPECT_EQ(static_cast<std::size_t>(row.status), next++);
    EXPECT_EQ(next, static_cast<std::size_t>(OrderDisplayStatus::unknownValue) + 1);
    next = 0;
    for (const auto& [status, wording] : deliveryWordings)
        EXPECT_EQ(static_cast<std::size_t>(status), next++);
    EXPECT_EQ(next, static_cast<std::size_t>(OrderDeliveryStatus::unknownValue) + 1);
}

TEST(OrderPackage, EveryStatusHasItsProgress) {
    for (const Row& row : rows) {
        EXPECT_EQ(OrderPackage(order(row.status)).progress(), row.progress) << VelaApi::rawValue(row.status);
    }
}

TEST(OrderPackage, EveryStatusHasItsWording) {
    for (const Row& row : rows) {
        EXPECT_EQ(rowOf(orderStatusTable, row.status).word, row.wording) << VelaApi::rawValue(row.status);
    }
    for (const auto& [status, wording] : deliveryWordings) {
        EXPECT_EQ(rowOf(orderDeliveryTable, status).word, wording) << VelaApi::rawValue(status);
    }
}

/// The first of the values named in `choice` that is present.
OptionalText chosen(const std::string& choice, const std::map<std::string, OptionalText>& values) {
    std::istringstream names(choice);
    for (std::string name; std::getline(names, name, '/');) {
        if (values.at(name)) return values.at(name);
    }
    return std::nullopt;
}

TEST(OrderPackage, EveryStatusHasItsLinesInEveryCombination) {
    const FixedAmbient surroundings({.now = now});
    struct EtaCase {
        std::optional<Order::EtaInfo> info;
        OptionalText futureEta, futureTime, etaLine, pastEta;
    };
    const EtaCase etaCases[] = {
        {std::nullopt, {}, {}, {}, {}},
        {eta(true, std::nullopt, std::nullopt), {}, {}, {}, {}},
        {eta(true, std::nullopt, "By 5 PM"), {}, {}, {}, {}},
        {eta(true, "Friday", std::nullopt), "Friday", {}, "Friday", {}},
        {eta(true, "Friday", "By 5 PM"), "Friday", "By 5 PM", "Friday by 5 PM", {}},
        {eta(true, "", std::nullopt), "", {}, {}, {}},
        {eta(true, "", "By 5 PM"), "", "By 5 PM", "by 5 PM", {}},
        {eta(true, "Friday", ""), "Friday", "", "Friday", {}},
        {eta(true, " \t", " "), " \t", " ", {}, {}},
        {eta(false, std::nullopt, std::nullopt), {}, {}, {}, {}},
        {eta(false, std::nullopt, "By 5 PM"), {}, {}, {}, {}},
        {eta(false, "Friday", std::nullopt), {}, {}, {}, "Friday"},
        {eta(false, "Friday", "By 5 PM"), {}, {}, {}, "Friday"},
    };
    const OptionalText locations[] = {std::nullopt, "Leipzig", ""};
    const OptionalText shippingMethods[] = {std::nullopt, "Express", ""};
    const std::optional<platform::Date> deliveryDates[] = {std::nullopt, instant("2024-03-05T08:00:00Z")};

    for (const Row& row : rows) {
        for (const auto& [deliveryStatus, deliveryWords] : deliveryWordings) {
            for (const EtaCase& etaCase : etaCases) {
                for (const OptionalText& location : locations) {
                    for (const OptionalText& shipping : shippingMethods) {
                        for (const auto& deliveredAt : deliveryDates) {
                            Order purchase = order(row.status, deliveryStatus);
                            purchase.etaInfo = etaCase.info;
                            purchase.shippingMethod = shipping;
                            purchase.markedAsDeliveredAt = deliveredAt;
                            purchase.trackers.nodes = {trackerWith({event(location, 1)})};

                            const std::map<std::string, OptionalText> values = {
                                {"WORDING", row.wording},
                                {"DELIVERY_WORDING", deliveryWords},
                                {"IN_STORE", "In-store purchase"},
                                {"FUTURE_ETA", etaCase.futureEta},
                                {"FUTURE_TIME", etaCase.futureTime},
                                {"ETA_LINE", etaCase.etaLine},
                                {"PAST_ETA", etaCase.pastEta},
                                {"LOCATION", location},
                                {"SHIPPING", shipping},
                                {"DELIVERED_TEXT",
                                 deliveredAt ? OptionalText("Delivered on Mar 5") : std::nullopt},
                            };
                            StatusPair expected{chosen(row.primary, values).value(),
                                                chosen(row.secondary, values)};
                            if (row.status == OrderDisplayStatus::refunded &&
                                deliveryStatus == OrderDeliveryStatus::pending) {
                                expected = {"Refunded"};
                            }
                            ASSERT_EQ(statusOf(purchase), expected)
                                << VelaApi::rawValue(row.status) << ", " << VelaApi::rawValue(deliveryStatus)
                                << ", ETA " << &etaCase - etaCases << ", location "
                                << location.value_or("(none)") << ", shipping "
                                << shipping.value_or("(none)");
                        }
                    }
                }
            }
        }
    }
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
        EXPECT_EQ(statusOf(purchase), (StatusPair{std::string(rowOf(orderStatusTable, status).word)})) << VelaApi::rawValue(status);
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
