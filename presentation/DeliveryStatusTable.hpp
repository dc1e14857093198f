// SPDX-License-Identifier: Apache-2.0

#pragma once

// How each status of a delivery shows: one row a status. A new status is a new row. Constants.

#include <string_view>

#include "VelaApi/Sources/VelaApi/DeliveryStatus.hpp"
#include "presentation/StatusTable.hpp"
#include "presentation/Wording.hpp"

namespace presentation {

enum class DeliverySource { word, eta, deliveredDay, carrier };

struct DeliveryStatusRow {
    VelaApi::DeliveryStatus status;
    /// 0.0 to 1.0. The statuses of a failure are at 0, and so, on purpose, is `pickedUp`.
    float progress;
    std::string_view word;
    Chain<DeliverySource> primary;
    /// May be empty, or end empty: then there is one line only.
    Chain<DeliverySource> secondary;
};

inline constexpr auto deliveryStatusTable = [] {
    using enum VelaApi::DeliveryStatus;
    using enum DeliverySource;
    using W = Wording;
    // clang-format off
    return std::to_array<DeliveryStatusRow>({
        {attemptedDelivery,     0.8F, W::attemptedDelivery, {word},      {}},
        {carrierNotSupported,   0.0F, W::unknown,           {word},      {carrier}},
        {delivered,             1.0F, W::delivered,         {word},      {deliveredDay}},
        {deliveryNotCompleted,  0.0F, W::unknown,           {word},      {carrier}},
        {inTransit,             0.6F, W::inTransit,         {eta, word}, {}},
        {invalidTrackingNumber, 0.0F, W::unknown,           {word},      {carrier}},
        {labelCreated,          0.4F, W::unknown,           {word},      {carrier}},
        {outForDelivery,        0.8F, W::outForDelivery,    {eta, word}, {}},
        {pickedUp,              0.0F, W::unknown,           {word},      {carrier}},
        {preparing,             0.2F, W::waitingForDetails, {word},      {}},
        {readyForPickUp,        0.8F, W::readyForPickup,    {word},      {}},
        {returnedToSender,      0.0F, W::unknown,           {word},      {carrier}},
        {unknown,               0.0F, W::unknown,           {word},      {carrier}},
        {unknownValue,          0.0F, W::unknown,           {word},      {carrier}},
    });
    // clang-format on
}();
static_assert(hasARowForEachStatus(deliveryStatusTable));

}  // namespace presentation
