// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/DorvoSupport/SchemaEnumeration.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "VelaApi/Sources/VelaApi/DeliveryExceptionType.hpp"
#include "VelaApi/Sources/VelaApi/DeliveryFlag.hpp"
#include "VelaApi/Sources/VelaApi/DeliveryState.hpp"
#include "VelaApi/Sources/VelaApi/DeliveryStatus.hpp"
#include "VelaApi/Sources/VelaApi/OrderDeliveryStatus.hpp"
#include "VelaApi/Sources/VelaApi/OrderDisplayStatus.hpp"

namespace VelaApi {
namespace {

template <class Enumeration>
using Rows = std::vector<std::pair<Enumeration, std::string>>;

const Rows<DeliveryExceptionType> exceptionTypes = {
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
};

const Rows<DeliveryFlag> flags = {
    {DeliveryFlag::canBeArchived, "CAN_BE_ARCHIVED"},
    {DeliveryFlag::canBeMarkedAsDelivered, "CAN_BE_MARKED_AS_DELIVERED"},
    {DeliveryFlag::canDelete, "CAN_DELETE"},
    {DeliveryFlag::canUndoMarkAsDelivered, "CAN_UNDO_MARK_AS_DELIVERED"},
    {DeliveryFlag::canUpdateTrackingDetails, "CAN_UPDATE_TRACKING_DETAILS"},
    {DeliveryFlag::stale, "STALE"},
    {DeliveryFlag::trackingDetailsManuallyEntered, "TRACKING_DETAILS_MANUALLY_ENTERED"},
};

const Rows<DeliveryState> states = {
    {DeliveryState::archived, "ARCHIVED"},
    {DeliveryState::current, "CURRENT"},
    {DeliveryState::past, "PAST"},
};

const Rows<DeliveryStatus> deliveryStatuses = {
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
};

const Rows<OrderDeliveryStatus> orderDeliveryStatuses = {
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
};

const Rows<OrderDisplayStatus> displayStatuses = {
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
};

template <class Enumeration>
Enumeration decoded(const std::string& json) {
    return platform::JSONDecoder().decode<Enumeration>(json);
}

template <class Enumeration>
void expectRows(const Rows<Enumeration>& rows) {
    std::vector<Enumeration> cases;
    for (const auto& [value, wire] : rows) {
        SCOPED_TRACE(wire);
        cases.push_back(value);
        EXPECT_EQ(rawValue(value), wire);
        EXPECT_EQ(fromRawValue<Enumeration>(wire), value);
        EXPECT_EQ(decoded<Enumeration>('"' + wire + '"'), value);
        EXPECT_EQ(platform::JSONEncoder().encode(value), '"' + wire + '"');

        for (const std::string& odd : {wire + " ", " " + wire, wire + "x", wire.substr(1)}) {
            EXPECT_EQ(fromRawValue<Enumeration>(odd), std::nullopt) << odd;
            EXPECT_EQ(decoded<Enumeration>('"' + odd + '"'), Enumeration::unknownValue) << odd;
        }
    }
    EXPECT_EQ(allCases<Enumeration>(), cases);
    EXPECT_EQ(rawValue(Enumeration::unknownValue), "");
    EXPECT_EQ(fromRawValue<Enumeration>(""), Enumeration::unknownValue);
    EXPECT_EQ(decoded<Enumeration>(R"("")"), Enumeration::unknownValue);
    EXPECT_EQ(platform::JSONEncoder().encode(Enumeration::unknownValue), R"("")");
    for (const char* other : {"1", "true", "null", "[]", "{}", R"(["DELIVERED"])"}) {
        EXPECT_THROW(decoded<Enumeration>(other), platform::DecodingError) << other;
    }
}

TEST(SchemaEnumeration, DeliveryExceptionTypeHasItsWireValues) {
    expectRows(exceptionTypes);
}
TEST(SchemaEnumeration, DeliveryFlagHasItsWireValues) {
    expectRows(flags);
}
TEST(SchemaEnumeration, DeliveryStateHasItsWireValues) {
    expectRows(states);
}
TEST(SchemaEnumeration, DeliveryStatusHasItsWireValues) {
    expectRows(deliveryStatuses);
}
TEST(SchemaEnumeration, OrderDeliveryStatusHasItsWireValues) {
    expectRows(orderDeliveryStatuses);
}
TEST(SchemaEnumeration, OrderDisplayStatusHasItsWireValues) {
    expectRows(displayStatuses);
}

TEST(SchemaEnumeration, ReadyForPickUpIsSpelledInTwoWordsForDeliveriesOnly) {
    EXPECT_EQ(decoded<DeliveryStatus>(R"("READY_FOR_PICKUP")"), DeliveryStatus::unknownValue);
    EXPECT_EQ(decoded<DeliveryStatus>(R"("READY_FOR_PICK_UP")"), DeliveryStatus::readyForPickUp);
    EXPECT_EQ(decoded<OrderDisplayStatus>(R"("ready_for_pick_up")"), OrderDisplayStatus::unknownValue);
}

TEST(SchemaEnumeration, WireValuesAreCaseSensitive) {
    EXPECT_EQ(decoded<OrderDisplayStatus>(R"("PAID")"), OrderDisplayStatus::unknownValue);
    EXPECT_EQ(fromRawValue<DeliveryState>("archived"), std::nullopt);
    EXPECT_EQ(fromRawValue<DeliveryState>(""), DeliveryState::unknownValue);
}

TEST(SchemaEnumeration, TheServersUnknownIsNotTheClients) {
    EXPECT_EQ(decoded<DeliveryStatus>(R"("UNKNOWN")"), DeliveryStatus::unknown);
    EXPECT_EQ(decoded<DeliveryStatus>(R"("unknown")"), DeliveryStatus::unknownValue);
    EXPECT_EQ(decoded<OrderDisplayStatus>(R"("unknown")"), OrderDisplayStatus::unknown);
}

TEST(SchemaEnumeration, AllCasesLeavesUnknownValueOut) {
    EXPECT_EQ(allCases<OrderDisplayStatus>().size(), 24U);
    EXPECT_EQ(allCases<DeliveryStatus>().size(), 13U);
    EXPECT_THAT(allCases<DeliveryFlag>(), testing::Not(testing::Contains(DeliveryFlag::unknownValue)));
}

TEST(SchemaEnumeration, AllCasesIsSettable) {
    const std::vector<DeliveryState> original = allCases<DeliveryState>();
    allCases<DeliveryState>() = {DeliveryState::past};
    EXPECT_THAT(allCases<DeliveryState>(), testing::ElementsAre(DeliveryState::past));
    EXPECT_EQ(allCases<DeliveryFlag>().size(), 7U);
    EXPECT_EQ(decoded<DeliveryState>(R"("CURRENT")"), DeliveryState::current);
    allCases<DeliveryState>() = original;
}

TEST(SchemaEnumeration, AWireValueWithAZeroByteIsUnknown) {
    EXPECT_EQ(decoded<DeliveryState>(R"("PAST\u0000")"), DeliveryState::unknownValue);
    EXPECT_EQ(decoded<DeliveryState>(R"("\u0000")"), DeliveryState::unknownValue);
}

}  // namespace
}  // namespace VelaApi
