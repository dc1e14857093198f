#include "presentation/OrderWording.hpp"

namespace presentation {

using VelaApi::OrderDeliveryStatus;
using VelaApi::OrderDisplayStatus;

std::string displayWording(OrderDisplayStatus status) {
    switch (status) {
        case OrderDisplayStatus::attemptedDelivery: return "Attempted delivery";
        case OrderDisplayStatus::buyerActionRequired: return "Customs payment due";
        case OrderDisplayStatus::cancelled: return "Cancelled";
        case OrderDisplayStatus::delayed: return "Delivery delayed";
        case OrderDisplayStatus::delivered: return "Delivered";
        case OrderDisplayStatus::deliveredPartially: return "Partially delivered";
        case OrderDisplayStatus::expired: return "No recent activity";
        case OrderDisplayStatus::failure: return "Failure";
        case OrderDisplayStatus::fulfilled: return "Ready to ship";
        case OrderDisplayStatus::fulfilledPartially: return "Partially ready to ship";
        case OrderDisplayStatus::inTransit: return "In transit";
        case OrderDisplayStatus::outForDelivery: return "Out for delivery";
        case OrderDisplayStatus::paid: return "Order placed";
        case OrderDisplayStatus::paidPartially: return "Order placed";
        case OrderDisplayStatus::partiallyRefundedInStore: return "Partially refunded";
        case OrderDisplayStatus::pending: return "Waiting for details";
        case OrderDisplayStatus::pickedUp: return "Picked up";
        case OrderDisplayStatus::purchasedInStore: return "In-store purchase";
        case OrderDisplayStatus::readyForPickup: return "Ready for pickup";
        case OrderDisplayStatus::refunded: return "Refunded";
        case OrderDisplayStatus::refundedInStore: return "Refunded";
        case OrderDisplayStatus::refundedPartially: return "Partially refunded";
        case OrderDisplayStatus::returned: return "Returned";
        case OrderDisplayStatus::unknown:
        case OrderDisplayStatus::unknownValue: break;
    }
    return "Unknown";
}

std::string deliveryWording(OrderDeliveryStatus status) {
    switch (status) {
        case OrderDeliveryStatus::attemptedDelivery: return "Attempted delivery";
        case OrderDeliveryStatus::buyerActionRequired: return "Customs payment due";
        case OrderDeliveryStatus::cancelled: return "Cancelled";
        case OrderDeliveryStatus::delayed: return "Delivery delayed";
        case OrderDeliveryStatus::delivered: return "Delivered";
        case OrderDeliveryStatus::deliveredPartially: return "Partially delivered";
        case OrderDeliveryStatus::expired: return "No recent activity";
        case OrderDeliveryStatus::failure: return "Failure";
        case OrderDeliveryStatus::fulfilled: return "Ready to ship";
        case OrderDeliveryStatus::fulfilledPartially: return "Partially ready to ship";
        case OrderDeliveryStatus::inTransit: return "In transit";
        case OrderDeliveryStatus::outForDelivery: return "Out for delivery";
        case OrderDeliveryStatus::pending: return "Waiting for details";
        case OrderDeliveryStatus::pickedUp: return "Picked up";
        case OrderDeliveryStatus::readyForPickup: return "Ready for pickup";
        case OrderDeliveryStatus::returned: return "Returned";
        case OrderDeliveryStatus::unknown:
        case OrderDeliveryStatus::unknownValue: break;
    }
    return "Unknown";
}

}  // namespace presentation
