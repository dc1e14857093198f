// SPDX-License-Identifier: Apache-2.0

#pragma once

// Deliveries and orders with nothing in them that is not required, for tests to fill.

#include <initializer_list>
#include <optional>
#include <string>
#include <utility>

#include "VelaApi/Sources/VelaApi/TrackingWidgetResponse.hpp"
#include "platform/URL/URL.hpp"

namespace presentation {

using Nodes = VelaApi::TrackingWidgetResponse::DeliveriesOrdersList::Nodes;
using Delivery = Nodes::Delivery;
using Order = Nodes::Order;
using OptionalText = std::optional<std::string>;

inline platform::URL url(const std::string& text) {
    return platform::URL::parse(text).value();
}

inline Delivery delivery(VelaApi::DeliveryStatus status = VelaApi::DeliveryStatus::preparing) {
    return {.id = "D-1",
            .status = status,
            .state = VelaApi::DeliveryState::current,
            .deliveryFlags = {},
            .exceptions = {}};
}

inline Delivery::Tracker trackerOf(const std::string& carrierName) {
    return {.carrierInfo = Delivery::Tracker::CarrierInfo{
                .id = "C-1", .name = carrierName, .imageUrl = url("https://pictures.example/carrier.png")}};
}

inline Delivery::Exceptions exception(std::optional<VelaApi::DeliveryExceptionType> type) {
    return {.exceptionType = type};
}

inline Order order(VelaApi::OrderDisplayStatus displayStatus = VelaApi::OrderDisplayStatus::paid,
                   VelaApi::OrderDeliveryStatus deliveryStatus = VelaApi::OrderDeliveryStatus::unknown) {
    return {.id = "O-1",
            .createdAt = platform::Date::since1970(0),
            .displayStatus = displayStatus,
            .deliveryStatus = deliveryStatus,
            .lineItems = {.nodes = {}},
            .shop = {.name = "Kettle & Co"},
            .trackers = {.nodes = {}}};
}

using TrackingEvent = Order::Trackers::Nodes::PaginatedTrackingEvents::Nodes;

inline TrackingEvent event(OptionalText message, double happenedAt) {
    return {.carrierLocationMessage = std::move(message),
            .happenedAt = platform::Date::since1970(happenedAt)};
}

inline Order::Trackers::Nodes trackerWith(std::vector<TrackingEvent> events) {
    return {.paginatedTrackingEvents = {.nodes = std::move(events)}};
}

inline Order::EtaInfo eta(bool isFuture, OptionalText formattedEta, OptionalText time = std::nullopt) {
    return {
        .formattedEta = std::move(formattedEta), .isFuture = isFuture, .formattedEtaTime = std::move(time)};
}

}  // namespace presentation
