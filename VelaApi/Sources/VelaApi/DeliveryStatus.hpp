// SPDX-License-Identifier: Apache-2.0

#pragma once

// How far a delivery has come, by its carrier. `unknown` is the server's own word; `unknownValue` stands for
// any word that this client does not know.

#include "VelaApi/Sources/VelaApi/DorvoSupport/SchemaEnumeration.hpp"

namespace VelaApi {

enum class DeliveryStatus {
    attemptedDelivery,
    carrierNotSupported,
    delivered,
    deliveryNotCompleted,
    inTransit,
    invalidTrackingNumber,
    labelCreated,
    outForDelivery,
    pickedUp,
    preparing,
    readyForPickUp,
    returnedToSender,
    unknown,
    unknownValue,
};

template <>
inline constexpr auto wireValues<DeliveryStatus> = std::to_array<WireValue<DeliveryStatus>>({
    {DeliveryStatus::attemptedDelivery, "ATTEMPTED_DELIVERY"},
    {DeliveryStatus::carrierNotSupported, "CARRIER_NOT_SUPPORTED"},
    {DeliveryStatus::delivered, "DELIVERED"},
    {DeliveryStatus::deliveryNotCompleted, "DELIVERY_NOT_COMPLETED"},
    {DeliveryStatus::inTransit, "IN_TRANSIT"},
    {DeliveryStatus::invalidTrackingNumber, "INVALID_TRACKING_NUMBER"},
    {DeliveryStatus::labelCreated, "LABEL_CREATED"},
    {DeliveryStatus::outForDelivery, "OUT_FOR_DELIVERY"},
    {DeliveryStatus::pickedUp, "PICKED_UP"},
    {DeliveryStatus::preparing, "PREPARING"},
    {DeliveryStatus::readyForPickUp, "READY_FOR_PICK_UP"},
    {DeliveryStatus::returnedToSender, "RETURNED_TO_SENDER"},
    {DeliveryStatus::unknown, "UNKNOWN"},
    {DeliveryStatus::unknownValue, ""},
});
static_assert(isWholeTable(wireValues<DeliveryStatus>));

}  // namespace VelaApi
