#include "presentation/DeliveryPackage.hpp"

#include <algorithm>

#include "presentation/DeepLink.hpp"
#include "presentation/DeliveredDateText.hpp"

namespace presentation {

using VelaApi::DeliveryExceptionType;
using VelaApi::DeliveryStatus;

std::string DeliveryPackage::shopName() const {
    for (const auto& name :
         {delivery_.customName, delivery_.sellerName, delivery_.deliveryName, carrierName()}) {
        if (name) return *name;
    }
    return "Unknown";
}

platform::URL DeliveryPackage::deepLinkingUrl() const {
    return deepLink("velaapp://delivery/" + delivery_.id.rawValue() + "?referral=ios_widget");
}

std::optional<platform::URL> DeliveryPackage::shopImage() const {
    if (!carrier()) return std::nullopt;
    return platform::URL::parse(carrier()->imageUrl.absoluteString());
}

float DeliveryPackage::progress() const {
    switch (delivery_.status) {
        case DeliveryStatus::attemptedDelivery: return 0.8F;
        case DeliveryStatus::carrierNotSupported: return 0.0F;
        case DeliveryStatus::delivered: return 1.0F;
        case DeliveryStatus::deliveryNotCompleted: return 0.0F;
        case DeliveryStatus::inTransit: return 0.6F;
        case DeliveryStatus::invalidTrackingNumber: return 0.0F;
        case DeliveryStatus::labelCreated: return 0.4F;
        case DeliveryStatus::outForDelivery: return 0.8F;
        case DeliveryStatus::pickedUp: return 0.0F;
        case DeliveryStatus::preparing: return 0.2F;
        case DeliveryStatus::readyForPickUp: return 0.8F;
        case DeliveryStatus::returnedToSender:
        case DeliveryStatus::unknown:
        case DeliveryStatus::unknownValue: return 0.0F;
    }
    return 0.0F;
}

StatusPair DeliveryPackage::statusText() const {
    if (isDelayed()) return {"Delivery delayed", eta() ? eta() : carrierName()};
    switch (delivery_.status) {
        case DeliveryStatus::attemptedDelivery: return {"Attempted delivery"};
        case DeliveryStatus::delivered:
            if (!delivery_.deliveredAt) return {"Delivered"};
            return {"Delivered", deliveredDateText(*delivery_.deliveredAt)};
        case DeliveryStatus::inTransit: return {eta().value_or("In transit")};
        case DeliveryStatus::outForDelivery: return {eta().value_or("Out for delivery")};
        case DeliveryStatus::preparing: return {"Waiting for details"};
        case DeliveryStatus::readyForPickUp: return {"Ready for pickup"};
        case DeliveryStatus::carrierNotSupported:
        case DeliveryStatus::deliveryNotCompleted:
        case DeliveryStatus::invalidTrackingNumber:
        case DeliveryStatus::labelCreated:
        case DeliveryStatus::pickedUp:
        case DeliveryStatus::returnedToSender:
        case DeliveryStatus::unknown:
        case DeliveryStatus::unknownValue: break;
    }
    return {"Unknown", carrierName()};
}

const DeliveryPackage::Delivery::Tracker::CarrierInfo* DeliveryPackage::carrier() const {
    if (!delivery_.tracker || !delivery_.tracker->carrierInfo) return nullptr;
    return &*delivery_.tracker->carrierInfo;
}

std::optional<std::string> DeliveryPackage::carrierName() const {
    if (!carrier()) return std::nullopt;
    return carrier()->name;
}

std::optional<std::string> DeliveryPackage::eta() const {
    if (!delivery_.currentEtaInfo) return std::nullopt;
    return delivery_.currentEtaInfo->formattedEtaDateAndTime;
}

bool DeliveryPackage::isDelayed() const {
    return std::any_of(delivery_.exceptions.begin(), delivery_.exceptions.end(), [](const auto& exception) {
        return exception.exceptionType == DeliveryExceptionType::delayed;
    });
}

}  // namespace presentation
