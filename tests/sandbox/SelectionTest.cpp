// SPDX-License-Identifier: Apache-2.0

#include "sandbox/Selection.hpp"

#include <gtest/gtest.h>

#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>

#include "sandbox/Error.hpp"

namespace {

using boost::json::parse;

TEST(Selection, FillsInWhatAnItemLeavesOut) {
    const auto item =
        parse(R"({"__typename": "Delivery", "id": "1", "status": "IN_TRANSIT", "state": "CURRENT"})");
    EXPECT_EQ(boost::json::value(sandbox::selected(item.as_object())), parse(R"({
        "__typename": "Delivery", "id": "1", "status": "IN_TRANSIT", "state": "CURRENT", "customName": null,
        "deliveryName": null, "sellerName": null, "deliveredAt": null, "deliveryFlags": [], "exceptions": [],
        "currentEtaInfo": null, "tracker": null})"));
}

TEST(Selection, NamesTheTypeOfEveryRecord) {
    const auto item = parse(R"({"__typename": "Order", "id": "1", "createdAt": "", "displayStatus": "",
        "deliveryStatus": "", "shop": {"name": "A"}, "trackers": {"nodes": [{}]}})");
    EXPECT_EQ(boost::json::value(sandbox::selected(item.as_object())), parse(R"({
        "__typename": "Order", "id": "1", "createdAt": "", "displayStatus": "", "deliveryStatus": "",
        "shippingMethod": null, "markedAsDeliveredAt": null, "etaInfo": null,
        "lineItems": {"__typename": "OrderLineItemConnection", "nodes": []},
        "shop": {"__typename": "Shop", "name": "A", "visualTheme": null},
        "trackers": {"__typename": "TrackerConnection", "nodes": [{"__typename": "Tracker",
            "paginatedTrackingEvents": {"__typename": "TrackingEventConnection", "nodes": []}}]}})"));
}

TEST(Selection, RefusesWhatTheSchemaDoesNotHave) {
    for (
        const std::string item :
        {R"({"__typename": "Delivery", "id": "1", "status": "IN_TRANSIT"})",
         R"({"__typename": "Delivery", "id": "1", "status": "IN_TRANSIT", "state": "PAST", "colour": "red"})",
         R"({"__typename": "Order", "id": "1"})", R"({"id": "1"})"}) {
        EXPECT_THROW(sandbox::selected(parse(item).as_object()), sandbox::Error) << item;
    }
}

}  // namespace
