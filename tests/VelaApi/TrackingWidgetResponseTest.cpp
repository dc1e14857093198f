// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/TrackingWidgetResponse.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/JSON/Coding.hpp"
#include "tests/VelaApi/JSON.hpp"
#include "tests/VelaApi/Sample.hpp"
#include "tests/support/FixedAmbient.hpp"

namespace VelaApi {
namespace {

using platform::testing::FixedAmbient;
using platform::testing::instant;

using DeliveriesOrdersList = TrackingWidgetResponse::DeliveriesOrdersList;
using Nodes = DeliveriesOrdersList::Nodes;
using Delivery = Nodes::Delivery;
using Order = Nodes::Order;
using Base = Nodes::BaseDeliveriesOrdersListItemInterface;

constexpr const char* responseTime = "2024-06-15T10:20:30.456Z";

TrackingWidgetResponse decodedResponse(const boost::json::value& data) {
    return responseFrom<TrackingWidgetResponse>(data.get_object());
}

TrackingWidgetResponse sampleWith(std::string_view path, boost::json::value replacement) {
    boost::json::value data = json::parsed(sample::trackingWidget);
    json::at(data, path) = std::move(replacement);
    return decodedResponse(data);
}

Nodes item(std::string_view text) {
    const boost::json::value node = json::parsed(text);
    return decodedResponse(
               {{"deliveriesOrdersList", {{"nodes", boost::json::array{node}}, {"__typename", "L"}}},
                {"__typename", "Query"}})
        .deliveriesOrdersList->nodes.front();
}

enum class Presence { required, optional };

/// Which JSON a field reads.
enum class Reads { text, url, boolean, object, list };

struct FieldRow {
    const char* path;
    Presence presence;
    Reads reads;
};

constexpr Presence required = Presence::required;
constexpr Presence optional = Presence::optional;

#define DELIVERY "/deliveriesOrdersList/nodes/0"
#define ORDER "/deliveriesOrdersList/nodes/1"
#define OTHER "/deliveriesOrdersList/nodes/2"

const FieldRow fieldRows[] = {
    {"/deliveriesOrdersList", optional, Reads::object},
    {"/deliveriesOrdersList/nodes", required, Reads::list},
    {DELIVERY "/id", required, Reads::text},
    {DELIVERY "/status", required, Reads::text},
    {DELIVERY "/state", required, Reads::text},
    {DELIVERY "/customName", optional, Reads::text},
    {DELIVERY "/deliveryName", optional, Reads::text},
    {DELIVERY "/sellerName", optional, Reads::text},
    {DELIVERY "/deliveredAt", optional, Reads::text},
    {DELIVERY "/deliveryFlags", required, Reads::list},
    {DELIVERY "/exceptions", required, Reads::list},
    {DELIVERY "/exceptions/0/exceptionType", optional, Reads::text},
    {DELIVERY "/exceptions/0/__typename", required, Reads::text},
    {DELIVERY "/currentEtaInfo", optional, Reads::object},
    {DELIVERY "/currentEtaInfo/formattedEtaDateAndTime", optional, Reads::text},
    {DELIVERY "/currentEtaInfo/estimatedTimeOfDelivery", optional, Reads::text},
    {DELIVERY "/currentEtaInfo/etaRange", optional, Reads::object},
    {DELIVERY "/currentEtaInfo/etaRange/etaStart", required, Reads::text},
    {DELIVERY "/currentEtaInfo/etaRange/etaEnd", required, Reads::text},
    {DELIVERY "/currentEtaInfo/etaRange/__typename", required, Reads::text},
    {DELIVERY "/currentEtaInfo/__typename", required, Reads::text},
    {DELIVERY "/tracker", optional, Reads::object},
    {DELIVERY "/tracker/carrierInfo", optional, Reads::object},
    {DELIVERY "/tracker/carrierInfo/id", required, Reads::text},
    {DELIVERY "/tracker/carrierInfo/name", required, Reads::text},
    {DELIVERY "/tracker/carrierInfo/imageUrl", required, Reads::url},
    {DELIVERY "/tracker/carrierInfo/__typename", required, Reads::text},
    {DELIVERY "/tracker/__typename", required, Reads::text},
    {DELIVERY "/__typename", required, Reads::text},
    {ORDER "/id", required, Reads::text},
    {ORDER "/createdAt", required, Reads::text},
    {ORDER "/displayStatus", required, Reads::text},
    {ORDER "/deliveryStatus", required, Reads::text},
    {ORDER "/shippingMethod", optional, Reads::text},
    {ORDER "/markedAsDeliveredAt", optional, Reads::text},
    {ORDER "/etaInfo", optional, Reads::object},
    {ORDER "/etaInfo/formattedEta", optional, Reads::text},
    {ORDER "/etaInfo/isFuture", required, Reads::boolean},
    {ORDER "/etaInfo/formattedEtaTime", optional, Reads::text},
    {ORDER "/etaInfo/__typename", required, Reads::text},
    {ORDER "/lineItems", required, Reads::object},
    {ORDER "/lineItems/nodes", required, Reads::list},
    {ORDER "/lineItems/nodes/0/image", optional, Reads::object},
    {ORDER "/lineItems/nodes/0/image/url", required, Reads::url},
    {ORDER "/lineItems/nodes/0/image/__typename", required, Reads::text},
    {ORDER "/lineItems/nodes/0/__typename", required, Reads::text},
    {ORDER "/lineItems/__typename", required, Reads::text},
    {ORDER "/shop", required, Reads::object},
    {ORDER "/shop/name", required, Reads::text},
    {ORDER "/shop/visualTheme", optional, Reads::object},
    {ORDER "/shop/visualTheme/logoImage", optional, Reads::object},
    {ORDER "/shop/visualTheme/logoImage/url", required, Reads::url},
    {ORDER "/shop/visualTheme/logoImage/__typename", required, Reads::text},
    {ORDER "/shop/visualTheme/__typename", required, Reads::text},
    {ORDER "/shop/__typename", required, Reads::text},
    {ORDER "/trackers", required, Reads::object},
    {ORDER "/trackers/nodes", required, Reads::list},
    {ORDER "/trackers/nodes/0/paginatedTrackingEvents", required, Reads::object},
    {ORDER "/trackers/nodes/0/paginatedTrackingEvents/nodes", required, Reads::list},
    {ORDER "/trackers/nodes/0/paginatedTrackingEvents/nodes/0/carrierLocationMessage", optional, Reads::text},
    {ORDER "/trackers/nodes/0/paginatedTrackingEvents/nodes/0/happenedAt", required, Reads::text},
    {ORDER "/trackers/nodes/0/paginatedTrackingEvents/nodes/0/__typename", required, Reads::text},
    {ORDER "/trackers/nodes/0/paginatedTrackingEvents/__typename", required, Reads::text},
    {ORDER "/trackers/nodes/0/__typename", required, Reads::text},
    {ORDER "/trackers/__typename", required, Reads::text},
    {ORDER "/__typename", required, Reads::text},
    {OTHER "/id", required, Reads::text},
    {OTHER "/__typename", required, Reads::text},
    {"/deliveriesOrdersList/__typename", required, Reads::text},
    {"/__typename", required, Reads::text},
};

#undef DELIVERY
#undef ORDER
#undef OTHER

TEST(TrackingWidgetResponse, IsEncodedBackToTheSameKeysInOrder) {
    const FixedAmbient surroundings({.now = responseTime});
    const boost::json::value data = json::parsed(sample::trackingWidget);
    for (const auto collapsing : {FragmentCollapsing::keepFragments, FragmentCollapsing::collapseFragments}) {
        EXPECT_EQ(json::text(fields(decodedResponse(data), collapsing)), json::text(data));
    }
}

TEST(TrackingWidgetResponse, TheTableNamesEveryFieldOfTheSample) {
    std::vector<std::string> named;
    for (const FieldRow& row : fieldRows) named.emplace_back(row.path);
    EXPECT_THAT(json::paths(json::parsed(sample::trackingWidget)), testing::UnorderedElementsAreArray(named));
}

TEST(TrackingWidgetResponse, LacksOptionalFieldsOnly) {
    for (const FieldRow& row : fieldRows) {
        boost::json::value data = json::parsed(sample::trackingWidget);
        json::erase(data, row.path);
        if (row.presence == optional) {
            EXPECT_EQ(
                json::text(fields(decodedResponse(data), FragmentCollapsing::keepFragments)).find("null"),
                std::string::npos)
                << row.path;
        } else {
            EXPECT_THROW(decodedResponse(data), platform::DecodingError) << row.path;
        }
    }
}

TEST(TrackingWidgetResponse, ReadsNullAsAbsentInOptionalFieldsOnly) {
    for (const FieldRow& row : fieldRows) {
        if (row.presence == optional) {
            boost::json::value without = json::parsed(sample::trackingWidget);
            json::erase(without, row.path);
            const FixedAmbient surroundings({.now = responseTime});
            EXPECT_EQ(sampleWith(row.path, nullptr), decodedResponse(without)) << row.path;
        } else {
            EXPECT_THROW(sampleWith(row.path, nullptr), platform::DecodingError) << row.path;
        }
    }
}

TEST(TrackingWidgetResponse, FailsForEveryOtherTypeOfJSON) {
    const std::pair<Reads, boost::json::value> values[] = {
        {Reads::text, "text"},
        {Reads::boolean, true},
        {Reads::boolean, false},
        {Reads::object, boost::json::object()},
        {Reads::list, boost::json::array()},
    };
    const boost::json::value numbers[] = {0, 1, -1, 0.0, 1.5, 18'446'744'073'709'551'615U};
    for (const FieldRow& row : fieldRows) {
        for (const auto& [kind, value] : values) {
            const bool takes = kind == row.reads;
            if (takes && row.reads == Reads::object)
                continue;  // An object without its keys is another test's.
            if (takes) {
                EXPECT_NO_THROW(sampleWith(row.path, value)) << row.path;
            } else {
                EXPECT_THROW(sampleWith(row.path, value), platform::DecodingError)
                    << row.path << " as " << json::text(value);
            }
        }
        for (const boost::json::value& number : numbers) {
            EXPECT_THROW(sampleWith(row.path, number), platform::DecodingError) << row.path;
        }
    }
}

TEST(TrackingWidgetResponse, FailsForANullOrAStrangerInAList) {
    for (const FieldRow& row : fieldRows) {
        if (row.reads != Reads::list) continue;
        for (const boost::json::value& stranger :
             {boost::json::value(nullptr), boost::json::value(1), boost::json::value(boost::json::array())}) {
            boost::json::value data = json::parsed(sample::trackingWidget);
            json::at(data, row.path).get_array().push_back(stranger);
            EXPECT_THROW(decodedResponse(data), platform::DecodingError)
                << row.path << " " << json::text(stranger);
        }
    }
}

TEST(TrackingWidgetResponse, FailsForATextThatIsNoURL) {
    for (const FieldRow& row : fieldRows) {
        if (row.reads != Reads::url) continue;
        for (const char* text : {"", "picture.png", "//pictures.example/a.png", "http://[::1/a.png"}) {
            EXPECT_THROW(sampleWith(row.path, text), platform::DecodingError) << row.path << " " << text;
        }
    }
}

TEST(TrackingWidgetResponse, NamesThePlaceOfAnErrorButNoValue) {
    struct Fault {
        const char* path;
        boost::json::value value;
        platform::DecodingErrorKind kind;
        const char* place;
    };
    using Kind = platform::DecodingErrorKind;
    const Fault faults[] = {
        {"/__typename", nullptr, Kind::valueNotFound, "__typename"},
        {"/deliveriesOrdersList/nodes", "secret", Kind::typeMismatch, "deliveriesOrdersList.nodes"},
        {"/deliveriesOrdersList/nodes/0/tracker/carrierInfo/imageUrl", "secret", Kind::dataCorrupted,
         "deliveriesOrdersList.nodes[0].tracker.carrierInfo.imageUrl"},
        {"/deliveriesOrdersList/nodes/1/shop",
         {{"name", "secret"}},
         Kind::keyNotFound,
         "deliveriesOrdersList.nodes[1].shop.__typename"},
        {"/deliveriesOrdersList/nodes/0/deliveryFlags/1", nullptr, Kind::valueNotFound,
         "deliveriesOrdersList.nodes[0].deliveryFlags[1]"},
        {"/deliveriesOrdersList/nodes/2", "secret", Kind::typeMismatch, "deliveriesOrdersList.nodes[2]"},
    };
    for (const Fault& fault : faults) {
        try {
            sampleWith(fault.path, fault.value);
            ADD_FAILURE() << fault.place;
        } catch (const platform::DecodingError& error) {
            EXPECT_EQ(error.kind(), fault.kind) << fault.place;
            EXPECT_EQ(platform::joined(error.codingPath()), fault.place);
            EXPECT_EQ(std::string(error.what()).find("secret"), std::string::npos);
        }
    }
}

TEST(TrackingWidgetResponse, TakesADeliverysNameFromTheAliasAlone) {
    const Nodes node = item(R"({"id": "D-1", "status": "DELIVERED", "state": "PAST", "name": "ignored",
        "deliveryName": "Parcel", "deliveryFlags": [], "exceptions": [], "__typename": "Delivery"})");
    EXPECT_EQ(std::get<Delivery>(node.realized).deliveryName, "Parcel");

    const Nodes unnamed = item(R"({"id": "D-1", "status": "DELIVERED", "state": "PAST", "name": "ignored",
        "deliveryFlags": [], "exceptions": [], "__typename": "Delivery"})");
    EXPECT_EQ(std::get<Delivery>(unnamed.realized).deliveryName, std::nullopt);
}

TEST(TrackingWidgetResponse, ReadsAnItemOfUnknownTypeByWhatAllItemsHave) {
    for (const char* typeName : {"Article", "", "delivery", "ORDER", "Delivery ", "📦"}) {
        boost::json::object node{{"id", "A-1"}, {"__typename", typeName}, {"status", 7}};
        const Nodes read = item(json::text(node));
        EXPECT_EQ(read.typename_, typeName);
        EXPECT_EQ(std::get<Base>(read.realized), (Base{.id = "A-1", .typename_ = typeName}));
        EXPECT_EQ(read.common, std::get<Base>(read.realized));
    }
}

TEST(TrackingWidgetResponse, ReadsWhatAllItemsHaveBesideTheConcreteRecord) {
    const TrackingWidgetResponse response = decodedResponse(json::parsed(sample::trackingWidget));
    const std::vector<Nodes>& nodes = response.deliveriesOrdersList->nodes;
    EXPECT_EQ(nodes.at(0).common, (Base{.id = "D-1", .typename_ = "Delivery"}));
    EXPECT_EQ(std::get<Delivery>(nodes.at(0).realized).id, GraphID("D-1"));
    EXPECT_EQ(nodes.at(1).common, (Base{.id = "O-1", .typename_ = "Order"}));
    EXPECT_EQ(std::get<Order>(nodes.at(1).realized).id, GraphID("O-1"));
}

TEST(TrackingWidgetResponse, FailsWholeForOneBrokenItem) {
    for (const char* typeName : {"Delivery", "Order"}) {
        boost::json::value data = json::parsed(sample::trackingWidget);
        json::at(data, "/deliveriesOrdersList/nodes")
            .get_array()
            .push_back({{"id", "X-1"}, {"__typename", typeName}});
        EXPECT_THROW(decodedResponse(data), platform::DecodingError) << typeName;
    }
    EXPECT_THROW(item(R"({"id": "A-1"})"), platform::DecodingError);
    EXPECT_THROW(item(R"({"__typename": "Article"})"), platform::DecodingError);
    EXPECT_THROW(item(R"({"__typename": "Article", "id": 1})"), platform::DecodingError);
}

TEST(TrackingWidgetResponse, ReadsUnknownEnumerationTextsAsUnknownValue) {
    boost::json::value data = json::parsed(sample::trackingWidget);
    for (const char* path :
         {"/deliveriesOrdersList/nodes/0/status", "/deliveriesOrdersList/nodes/0/state",
          "/deliveriesOrdersList/nodes/0/deliveryFlags/0",
          "/deliveriesOrdersList/nodes/0/exceptions/0/exceptionType",
          "/deliveriesOrdersList/nodes/1/displayStatus", "/deliveriesOrdersList/nodes/1/deliveryStatus"}) {
        json::at(data, path) = "SOMETHING_NEW";
    }
    const TrackingWidgetResponse response = decodedResponse(data);
    const auto& delivery = std::get<Delivery>(response.deliveriesOrdersList->nodes.at(0).realized);
    EXPECT_EQ(delivery.status, DeliveryStatus::unknownValue);
    EXPECT_EQ(delivery.state, DeliveryState::unknownValue);
    EXPECT_EQ(delivery.deliveryFlags.at(0), DeliveryFlag::unknownValue);
    EXPECT_EQ(delivery.deliveryFlags.at(1), DeliveryFlag::stale);
    EXPECT_EQ(delivery.exceptions.at(0).exceptionType, DeliveryExceptionType::unknownValue);
    const auto& order = std::get<Order>(response.deliveriesOrdersList->nodes.at(1).realized);
    EXPECT_EQ(order.displayStatus, OrderDisplayStatus::unknownValue);
    EXPECT_EQ(order.deliveryStatus, OrderDeliveryStatus::unknownValue);
}

TEST(TrackingWidgetResponse, LeavesAnExceptionsTypeEmptyForNullAndTakesAnEmptyListButNoMissingOne) {
    const auto exceptionsOf = [](const boost::json::value& exceptions) {
        const TrackingWidgetResponse response =
            sampleWith("/deliveriesOrdersList/nodes/0/exceptions", exceptions);
        return std::get<Delivery>(response.deliveriesOrdersList->nodes.at(0).realized).exceptions;
    };
    EXPECT_EQ(
        exceptionsOf(json::parsed(R"([{"exceptionType": null, "__typename": "E"}])")).at(0).exceptionType,
        std::nullopt);
    EXPECT_THAT(exceptionsOf(boost::json::array()), testing::IsEmpty());

    boost::json::value data = json::parsed(sample::trackingWidget);
    json::erase(data, "/deliveriesOrdersList/nodes/0/exceptions");
    EXPECT_THROW(decodedResponse(data), platform::DecodingError);
}

TEST(TrackingWidgetResponse, ReadsAnUnparsableDateAsNow) {
    const FixedAmbient surroundings({.now = responseTime});
    const TrackingWidgetResponse response =
        sampleWith("/deliveriesOrdersList/nodes/0/deliveredAt", "the day before");
    EXPECT_EQ(std::get<Delivery>(response.deliveriesOrdersList->nodes.at(0).realized).deliveredAt,
              instant(responseTime));
}

TEST(TrackingWidgetResponse, KeepsOddIdentifiersAndTexts) {
    for (const char* text :
         {"", "with space", "\"quotes\"", "line\nbreak", "📦", "‏مرحبا", "back\\slash"}) {
        const TrackingWidgetResponse response = sampleWith("/deliveriesOrdersList/nodes/0/id", text);
        EXPECT_EQ(response.deliveriesOrdersList->nodes.at(0).common.id.rawValue(), text);
    }
}

TEST(TrackingWidgetResponse, OfDuplicateKeysTheLastCounts) {
    const Nodes node = item(R"({"id": "A-1", "__typename": "Order", "id": "A-2", "__typename": "Article"})");
    EXPECT_EQ(node.common, (Base{.id = "A-2", .typename_ = "Article"}));
}

TEST(TrackingWidgetResponse, IgnoresKeysThatItDoesNotKnow) {
    boost::json::value data = json::parsed(sample::trackingWidget);
    const TrackingWidgetResponse before = decodedResponse(data);
    json::at(data, "/deliveriesOrdersList/nodes/0").get_object()["news"] = boost::json::array{1, nullptr};
    data.get_object()["extensions"] = nullptr;
    EXPECT_EQ(decodedResponse(data), before);
}

TEST(TrackingWidgetResponse, IsEmptyWithoutAList) {
    EXPECT_EQ(decodedResponse({{"__typename", "Query"}}),
              (TrackingWidgetResponse{.deliveriesOrdersList = std::nullopt}));
    EXPECT_EQ(decodedResponse({{"__typename", "Query"}, {"deliveriesOrdersList", nullptr}}),
              TrackingWidgetResponse{});
}

TEST(TrackingWidgetResponse, ConstructorsNameTheSchemasTypes) {
    const platform::Date date = instant(responseTime);
    const platform::URL url = platform::URL::parse("https://pictures.example/a.png").value();
    using EtaInfo = Delivery::CurrentEtaInfo;
    using Carrier = Delivery::Tracker::CarrierInfo;
    using Events = Order::Trackers::Nodes::PaginatedTrackingEvents;

    EXPECT_EQ(TrackingWidgetResponse{}.typename_, "Query");
    EXPECT_EQ(DeliveriesOrdersList{.nodes = {}}.typename_, "DeliveriesOrdersListConnection");
    EXPECT_EQ(Base{.id = "a"}.typename_, "DeliveriesOrdersListItemInterface");
    const Delivery delivery{.id = "a",
                            .status = DeliveryStatus::unknown,
                            .state = DeliveryState::past,
                            .deliveryFlags = {},
                            .exceptions = {}};
    EXPECT_EQ(delivery.typename_, "Delivery");
    EXPECT_EQ(Delivery::Exceptions{}.typename_, "DeliveryException");
    EXPECT_EQ(EtaInfo{}.typename_, "Eta");
    const EtaInfo::EtaRange range{.etaStart = date, .etaEnd = date};
    EXPECT_EQ(range.typename_, "EtaRange");
    EXPECT_EQ(Delivery::Tracker{}.typename_, "DeliveryTracker");
    const Carrier carrier{.id = "a", .name = "", .imageUrl = url};
    EXPECT_EQ(carrier.typename_, "Carrier");

    const Order order{.id = "a",
                      .createdAt = date,
                      .displayStatus = OrderDisplayStatus::paid,
                      .deliveryStatus = OrderDeliveryStatus::pending,
                      .lineItems = {.nodes = {}},
                      .shop = {.name = ""},
                      .trackers = {.nodes = {}}};
    EXPECT_EQ(order.typename_, "Order");
    EXPECT_EQ(Order::EtaInfo{.isFuture = false}.typename_, "Eta");
    EXPECT_EQ(order.lineItems.typename_, "OrderLineItemConnection");
    EXPECT_EQ(Order::LineItems::Nodes{}.typename_, "LineItem");
    EXPECT_EQ(Order::LineItems::Nodes::Image{.url = url}.typename_, "Image");
    EXPECT_EQ(order.shop.typename_, "Shop");
    EXPECT_EQ(Order::Shop::VisualTheme{}.typename_, "VisualTheme");
    EXPECT_EQ(Order::Shop::VisualTheme::LogoImage{.url = url}.typename_, "Image");
    EXPECT_EQ(order.trackers.typename_, "TrackerConnection");
    const Order::Trackers::Nodes tracker{.paginatedTrackingEvents = {.nodes = {}}};
    EXPECT_EQ(tracker.typename_, "Tracker");
    EXPECT_EQ(tracker.paginatedTrackingEvents.typename_, "TrackingEventConnection");
    EXPECT_EQ(Events::Nodes{.happenedAt = date}.typename_, "TrackingEvent");
}

TEST(TrackingWidgetResponse, TheItemsConstructorTakesTheCommonPartFromTheIdentifier) {
    const Nodes node("Article", Base{.id = "A-1", .typename_ = "Article"}, "A-2");
    EXPECT_EQ(node.typename_, "Article");
    EXPECT_EQ(node.common, (Base{.id = "A-2", .typename_ = "DeliveriesOrdersListItemInterface"}));
    EXPECT_EQ(std::get<Base>(node.realized).id, GraphID("A-1"));
    EXPECT_EQ(platform::JSONEncoder().encode(node), R"({"id":"A-2","__typename":"Article"})");
}

TEST(TrackingWidgetResponse, IsEqualOnlyInEveryMember) {
    const FixedAmbient surroundings({.now = responseTime});
    const TrackingWidgetResponse original = decodedResponse(json::parsed(sample::trackingWidget));
    EXPECT_EQ(original, decodedResponse(json::parsed(sample::trackingWidget)));
    for (const FieldRow& row : fieldRows) {
        if (row.reads != Reads::text && row.reads != Reads::url) continue;
        const char* other = row.reads == Reads::url ? "https://other.example/" : "OTHER";
        EXPECT_NE(sampleWith(row.path, other), original) << row.path;
    }
    EXPECT_NE(sampleWith("/deliveriesOrdersList/nodes/1/etaInfo/isFuture", false), original);
}

}  // namespace
}  // namespace VelaApi
