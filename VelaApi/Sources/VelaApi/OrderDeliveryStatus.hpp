// SPDX-License-Identifier: Apache-2.0

#pragma once

// How far an order has come on its way. `unknown` is the server's own word; `unknownValue` stands for any
// word that this client does not know.

#include "VelaApi/Sources/VelaApi/DorvoSupport/SchemaEnumeration.hpp"

namespace VelaApi {

enum class OrderDeliveryStatus {
    attemptedDelivery,
    buyerActionRequired,
    cancelled,
    delayed,
    delivered,
    deliveredPartially,
    expired,
    failure,
    fulfilled,
    fulfilledPartially,
    inTransit,
    outForDelivery,
    pending,
    pickedUp,
    readyForPickup,
    returned,
    unknown,
    unknownValue,
};

template <>
inline constexpr auto wireValues<OrderDeliveryStatus> = std::to_array<WireValue<OrderDeliveryStatus>>({
    {OrderDeliveryStatus::attemptedDelivery, "attempted_delivery"},
    {OrderDeliveryStatus::buyerActionRequired, "buyer_action_required"},
    {OrderDeliveryStatus::cancelled, "cancelled"},
    {OrderDeliveryStatus::delayed, "delayed"},
    {OrderDeliveryStatus::delivered, "delivered"},
    {OrderDeliveryStatus::deliveredPartially, "delivered_partially"},
    {OrderDeliveryStatus::expired, "expired"},
    {OrderDeliveryStatus::failure, "failure"},
    {OrderDeliveryStatus::fulfilled, "fulfilled"},
    {OrderDeliveryStatus::fulfilledPartially, "fulfilled_partially"},
    {OrderDeliveryStatus::inTransit, "in_transit"},
    {OrderDeliveryStatus::outForDelivery, "out_for_delivery"},
    {OrderDeliveryStatus::pending, "pending"},
    {OrderDeliveryStatus::pickedUp, "picked_up"},
    {OrderDeliveryStatus::readyForPickup, "ready_for_pickup"},
    {OrderDeliveryStatus::returned, "returned"},
    {OrderDeliveryStatus::unknown, "unknown"},
    {OrderDeliveryStatus::unknownValue, ""},
});
static_assert(isWholeTable(wireValues<OrderDeliveryStatus>));

}  // namespace VelaApi
