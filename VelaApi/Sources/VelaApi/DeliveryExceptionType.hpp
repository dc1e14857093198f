// SPDX-License-Identifier: Apache-2.0

#pragma once

// What has happened to a delivery out of the ordinary.

#include "VelaApi/Sources/VelaApi/DorvoSupport/SchemaEnumeration.hpp"

namespace VelaApi {

enum class DeliveryExceptionType {
    addressUpdated,
    attemptedDelivery,
    buyerInformationRequired,
    customsPayable,
    damaged,
    delayed,
    delivered,
    parcelAtPickupPoint,
    parcelRerouted,
    paymentChargesRequired,
    undeliveredAndDisposedOf,
    undeliveredAndReturnedToSender,
    unknownValue,
};

template <>
inline constexpr auto wireValues<DeliveryExceptionType> = std::to_array<WireValue<DeliveryExceptionType>>({
    {DeliveryExceptionType::addressUpdated, "ADDRESS_UPDATED"},
    {DeliveryExceptionType::attemptedDelivery, "ATTEMPTED_DELIVERY"},
    {DeliveryExceptionType::buyerInformationRequired, "BUYER_INFORMATION_REQUIRED"},
    {DeliveryExceptionType::customsPayable, "CUSTOMS_PAYABLE"},
    {DeliveryExceptionType::damaged, "DAMAGED"},
    {DeliveryExceptionType::delayed, "DELAYED"},
    {DeliveryExceptionType::delivered, "DELIVERED"},
    {DeliveryExceptionType::parcelAtPickupPoint, "PARCEL_AT_PICKUP_POINT"},
    {DeliveryExceptionType::parcelRerouted, "PARCEL_REROUTED"},
    {DeliveryExceptionType::paymentChargesRequired, "PAYMENT_CHARGES_REQUIRED"},
    {DeliveryExceptionType::undeliveredAndDisposedOf, "UNDELIVERED_AND_DISPOSED_OF"},
    {DeliveryExceptionType::undeliveredAndReturnedToSender, "UNDELIVERED_AND_RETURNED_TO_SENDER"},
    {DeliveryExceptionType::unknownValue, ""},
});
static_assert(isWholeTable(wireValues<DeliveryExceptionType>));

}  // namespace VelaApi
