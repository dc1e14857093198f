// SPDX-License-Identifier: Apache-2.0

#pragma once

// How each status of an order shows: one row a status. A new status is a new row. Constants.

#include <string_view>

#include "VelaApi/Sources/VelaApi/OrderDeliveryStatus.hpp"
#include "VelaApi/Sources/VelaApi/OrderDisplayStatus.hpp"
#include "presentation/StatusTable.hpp"
#include "presentation/Wording.hpp"

namespace presentation {

enum class OrderSource {
    word,
    /// The word for how far the delivery has come.
    deliveryWord,
    inStorePurchase,
    futureEta,
    futureTime,
    etaLine,
    pastEta,
    location,
    deliveredDay,
    shipping,
};

struct OrderStatusRow {
    VelaApi::OrderDisplayStatus status;
    /// 0.0 to 1.0. A delivered order has an empty bar, on purpose and unlike a delivered parcel.
    float progress;
    std::string_view word;
    Chain<OrderSource> primary;
    /// May be empty, or end empty: then there is one line only.
    Chain<OrderSource> secondary;
};

inline constexpr auto orderStatusTable = [] {
    using enum VelaApi::OrderDisplayStatus;
    using enum OrderSource;
    using W = Wording;
    // clang-format off
    return std::to_array<OrderStatusRow>({
        {attemptedDelivery,        0.8F, W::attemptedDelivery,    {word},            {shipping}},
        {buyerActionRequired,      0.6F, W::customsPaymentDue,    {word},            {etaLine, location, shipping}},
        {cancelled,                0.0F, W::cancelled,            {word},            {}},
        {delayed,                  0.0F, W::deliveryDelayed,      {word},            {etaLine, location, shipping}},
        {delivered,                0.0F, W::delivered,            {word},            {deliveredDay, pastEta, shipping}},
        {deliveredPartially,       0.8F, W::partiallyDelivered,   {word},            {pastEta, shipping}},
        {expired,                  0.0F, W::noRecentActivity,     {word},            {shipping}},
        {failure,                  0.0F, W::failure,              {word},            {}},
        {fulfilled,                0.4F, W::readyToShip,          {futureEta, word}, {futureTime, shipping}},
        {fulfilledPartially,       0.4F, W::partiallyReadyToShip, {futureEta, word}, {futureTime, shipping}},
        {inTransit,                0.6F, W::inTransit,            {futureEta, word}, {futureTime, location, shipping}},
        {outForDelivery,           0.8F, W::outForDelivery,       {futureEta, word}, {futureTime, shipping}},
        {paid,                     0.2F, W::orderPlaced,          {word},            {shipping}},
        {paidPartially,            0.2F, W::orderPlaced,          {word},            {shipping}},
        {partiallyRefundedInStore, 0.0F, W::partiallyRefunded,    {inStorePurchase}, {word}},
        {pending,                  0.0F, W::waitingForDetails,    {word},            {shipping}},
        {pickedUp,                 0.0F, W::pickedUp,             {word},            {}},
        {purchasedInStore,         0.0F, W::inStorePurchase,      {word},            {shipping}},
        {readyForPickup,           0.8F, W::readyForPickup,       {word},            {shipping}},
        {refunded,                 0.0F, W::refunded,             {deliveryWord},    {word}},
        {refundedInStore,          0.0F, W::refunded,             {inStorePurchase}, {word}},
        {refundedPartially,        0.0F, W::partiallyRefunded,    {deliveryWord},    {word}},
        {returned,                 0.0F, W::returned,             {word},            {}},
        {unknown,                  0.0F, W::unknown,              {word},            {shipping}},
        {unknownValue,             0.0F, W::unknown,              {word},            {shipping}},
    });
    // clang-format on
}();
static_assert(hasARowForEachStatus(orderStatusTable));

struct OrderDeliveryRow {
    VelaApi::OrderDeliveryStatus status;
    std::string_view word;
};

inline constexpr auto orderDeliveryTable = [] {
    using enum VelaApi::OrderDeliveryStatus;
    using W = Wording;
    // clang-format off
    return std::to_array<OrderDeliveryRow>({
        {attemptedDelivery,   W::attemptedDelivery},
        {buyerActionRequired, W::customsPaymentDue},
        {cancelled,           W::cancelled},
        {delayed,             W::deliveryDelayed},
        {delivered,           W::delivered},
        {deliveredPartially,  W::partiallyDelivered},
        {expired,             W::noRecentActivity},
        {failure,             W::failure},
        {fulfilled,           W::readyToShip},
        {fulfilledPartially,  W::partiallyReadyToShip},
        {inTransit,           W::inTransit},
        {outForDelivery,      W::outForDelivery},
        {pending,             W::waitingForDetails},
        {pickedUp,            W::pickedUp},
        {readyForPickup,      W::readyForPickup},
        {returned,            W::returned},
        {unknown,             W::unknown},
        {unknownValue,        W::unknown},
    });
    // clang-format on
}();
static_assert(hasARowForEachStatus(orderDeliveryTable));

}  // namespace presentation
