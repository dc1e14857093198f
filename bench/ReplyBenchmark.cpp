// SPDX-License-Identifier: Apache-2.0

// From the bytes of a reply of ten items to the entry's JSON, step by step and as a whole.

#include <benchmark/benchmark.h>

#include "host/protocol/EntryCoding.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "server/PackageFetch.hpp"

namespace {

namespace json = boost::json;
using platform::JSONSerialization;

json::object event(const char* message) {
    return {{"carrierLocationMessage", message},
            {"happenedAt", "2026-01-30T08:00:00+0000"},
            {"__typename", "TrackingEvent"}};
}

json::object connection(const char* typeName, json::array nodes) {
    return {{"nodes", std::move(nodes)}, {"__typename", typeName}};
}

json::object order(int index) {
    const json::object image = {{"url", "https://pictures.example/product.png?width=192"},
                                {"__typename", "Image"}};
    const json::object tracker = {
        {"paginatedTrackingEvents",
         connection("TrackingEventConnection", {event("Customs cleared in Rotterdam")})},
        {"__typename", "Tracker"}};
    return {
        {"id", "order-" + std::to_string(index)},
        {"createdAt", "2026-01-28T08:00:00+0000"},
        {"displayStatus", "in_transit"},
        {"deliveryStatus", "in_transit"},
        {"shippingMethod", "Standard"},
        {"markedAsDeliveredAt", nullptr},
        {"etaInfo",
         {{"formattedEta", "Arriving Friday"},
          {"isFuture", true},
          {"formattedEtaTime", "Between 2 and 4 PM"},
          {"__typename", "Eta"}}},
        {"lineItems",
         connection("OrderLineItemConnection", {json::object{{"image", image}, {"__typename", "LineItem"}}})},
        {"shop",
         {{"name", "Fathom & Co."},
          {"visualTheme", {{"logoImage", image}, {"__typename", "VisualTheme"}}},
          {"__typename", "Shop"}}},
        {"trackers", connection("TrackerConnection", {tracker})},
        {"__typename", "Order"},
    };
}

json::object delivery(int index) {
    return {
        {"id", "delivery-" + std::to_string(index)},
        {"status", "DELIVERED"},
        {"state", "CURRENT"},
        {"customName", nullptr},
        {"deliveryName", "Birthday present"},
        {"sellerName", nullptr},
        {"deliveredAt", "2026-01-30T08:00:00+0000"},
        {"deliveryFlags", {"CAN_DELETE"}},
        {"exceptions", json::array()},
        {"currentEtaInfo", nullptr},
        {"tracker",
         {{"carrierInfo",
           {{"id", "c-1"},
            {"name", "Swift Post"},
            {"imageUrl", "https://pictures.example/carrier.png"},
            {"__typename", "Carrier"}}},
          {"__typename", "DeliveryTracker"}}},
        {"__typename", "Delivery"},
    };
}

std::string tenItems() {
    json::array nodes;
    for (int index = 0; index < 5; ++index) {
        nodes.push_back(order(index));
        nodes.push_back(delivery(index));
    }
    const json::object data = {
        {"deliveriesOrdersList", connection("DeliveriesOrdersListConnection", std::move(nodes))},
        {"__typename", "Query"}};
    return JSONSerialization::dataWithJSONObject(json::object{{"data", data}});
}

VelaApi::TrackingWidgetResponse decoded(const std::string& body) {
    auto envelope = JSONSerialization::JSONObjectWithData(body);
    return VelaApi::responseFrom<VelaApi::TrackingWidgetResponse>(std::move(envelope.at("data").as_object()));
}

void parseReply(benchmark::State& state) {
    const auto body = tenItems();
    for (auto _ : state) benchmark::DoNotOptimize(JSONSerialization::JSONObjectWithData(body));
    state.SetBytesProcessed(static_cast<std::int64_t>(body.size()) * state.iterations());
}
BENCHMARK(parseReply);

void decodeReply(benchmark::State& state) {
    const auto body = tenItems();
    for (auto _ : state) benchmark::DoNotOptimize(decoded(body));
    state.SetBytesProcessed(static_cast<std::int64_t>(body.size()) * state.iterations());
}
BENCHMARK(decodeReply);

void replyToEntry(benchmark::State& state) {
    const auto body = tenItems();
    for (auto _ : state) {
        const widget::SimpleEntry entry = {platform::Date::now(),
                                           widget::LoggedIn{server::packages(decoded(body))}};
        benchmark::DoNotOptimize(JSONSerialization::dataWithJSONObject(host::entryObject(entry)));
    }
}
BENCHMARK(replyToEntry);

}  // namespace
