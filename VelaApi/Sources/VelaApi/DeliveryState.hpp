// SPDX-License-Identifier: Apache-2.0

#pragma once

// On which list of the user a delivery stands.

#include "VelaApi/Sources/VelaApi/DorvoSupport/SchemaEnumeration.hpp"

namespace VelaApi {

enum class DeliveryState {
    archived,
    current,
    past,
    unknownValue,
};

template <>
inline constexpr auto wireValues<DeliveryState> = std::to_array<WireValue<DeliveryState>>({
    {DeliveryState::archived, "ARCHIVED"},
    {DeliveryState::current, "CURRENT"},
    {DeliveryState::past, "PAST"},
    {DeliveryState::unknownValue, ""},
});
static_assert(isWholeTable(wireValues<DeliveryState>));

}  // namespace VelaApi
