// SPDX-License-Identifier: Apache-2.0

#pragma once

// What can be done with a delivery, and what is known of it.

#include "VelaApi/Sources/VelaApi/DorvoSupport/SchemaEnumeration.hpp"

namespace VelaApi {

enum class DeliveryFlag {
    canBeArchived,
    canBeMarkedAsDelivered,
    canDelete,
    canUndoMarkAsDelivered,
    canUpdateTrackingDetails,
    stale,
    trackingDetailsManuallyEntered,
    unknownValue,
};

template <>
inline constexpr auto wireValues<DeliveryFlag> = std::to_array<WireValue<DeliveryFlag>>({
    {DeliveryFlag::canBeArchived, "CAN_BE_ARCHIVED"},
    {DeliveryFlag::canBeMarkedAsDelivered, "CAN_BE_MARKED_AS_DELIVERED"},
    {DeliveryFlag::canDelete, "CAN_DELETE"},
    {DeliveryFlag::canUndoMarkAsDelivered, "CAN_UNDO_MARK_AS_DELIVERED"},
    {DeliveryFlag::canUpdateTrackingDetails, "CAN_UPDATE_TRACKING_DETAILS"},
    {DeliveryFlag::stale, "STALE"},
    {DeliveryFlag::trackingDetailsManuallyEntered, "TRACKING_DETAILS_MANUALLY_ENTERED"},
    {DeliveryFlag::unknownValue, ""},
});
static_assert(isWholeTable(wireValues<DeliveryFlag>));

}  // namespace VelaApi
