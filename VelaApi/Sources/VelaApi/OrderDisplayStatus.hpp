// SPDX-License-Identifier: Apache-2.0

#pragma once

// What an order is shown as: its way, its payment, and purchases in a store. `unknown` is the server's own
// word; `unknownValue` stands for any word that this client does not know.

#include "VelaApi/Sources/VelaApi/DorvoSupport/SchemaEnumeration.hpp"

namespace VelaApi {

enum class OrderDisplayStatus {
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
    paid,
    paidPartially,
    partiallyRefundedInStore,
    pending,
    pickedUp,
    purchasedInStore,
    readyForPickup,
    refunded,
    refundedInStore,
    refundedPartially,
    returned,
    unknown,
    unknownValue,
};

template <>
inline constexpr auto wireValues<OrderDisplayStatus> = std::to_array<WireValue<OrderDisplayStatus>>({
    {OrderDisplayStatus::attemptedDelivery, "attempted_delivery"},
    {OrderDisplayStatus::buyerActionRequired, "buyer_action_required"},
    {OrderDisplayStatus::cancelled, "cancelled"},
    {OrderDisplayStatus::delayed, "delayed"},
    {OrderDisplayStatus::delivered, "delivered"},
    {OrderDisplayStatus::deliveredPartially, "delivered_partially"},
    {OrderDisplayStatus::expired, "expired"},
    {OrderDisplayStatus::failure, "failure"},
    {OrderDisplayStatus::fulfilled, "fulfilled"},
    {OrderDisplayStatus::fulfilledPartially, "fulfilled_partially"},
    {OrderDisplayStatus::inTransit, "in_transit"},
    {OrderDisplayStatus::outForDelivery, "out_for_delivery"},
    {OrderDisplayStatus::paid, "paid"},
    {OrderDisplayStatus::paidPartially, "paid_partially"},
    {OrderDisplayStatus::partiallyRefundedInStore, "partially_refunded_in_store"},
    {OrderDisplayStatus::pending, "pending"},
    {OrderDisplayStatus::pickedUp, "picked_up"},
    {OrderDisplayStatus::purchasedInStore, "purchased_in_store"},
    {OrderDisplayStatus::readyForPickup, "ready_for_pickup"},
    {OrderDisplayStatus::refunded, "refunded"},
    {OrderDisplayStatus::refundedInStore, "refunded_in_store"},
    {OrderDisplayStatus::refundedPartially, "refunded_partially"},
    {OrderDisplayStatus::returned, "returned"},
    {OrderDisplayStatus::unknown, "unknown"},
    {OrderDisplayStatus::unknownValue, ""},
});
static_assert(isWholeTable(wireValues<OrderDisplayStatus>));

}  // namespace VelaApi
