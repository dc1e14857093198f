// SPDX-License-Identifier: Apache-2.0

#include "presentation/DeliveryPackage.hpp"

#include <algorithm>

#include "presentation/DeepLink.hpp"
#include "presentation/DeliveredDateText.hpp"

namespace presentation {

using VelaApi::DeliveryExceptionType;

std::string DeliveryPackage::shopName() const {
    for (const auto& name :
         {delivery_.customName, delivery_.sellerName, delivery_.deliveryName, carrierName()}) {
        if (name) return *name;
    }
    return std::string(Wording::unknown);
}

platform::URL DeliveryPackage::deepLinkingUrl() const {
    return DeepLink::delivery(delivery_.id);
}

std::optional<platform::URL> DeliveryPackage::shopImage() const {
    if (!carrier()) return std::nullopt;
    return platform::URL::parse(carrier()->imageUrl.absoluteString());
}

float DeliveryPackage::progress() const {
    return rowOf(deliveryStatusTable, delivery_.status).progress;
}

StatusPair DeliveryPackage::statusText() const {
    // A delay wins over every status.
    if (isDelayed()) return {std::string(Wording::deliveryDelayed), eta() ? eta() : carrierName()};
    const auto& row = rowOf(deliveryStatusTable, delivery_.status);
    const auto words = [&](DeliverySource source) { return wordsFrom(source, row); };
    return {row.primary.firstPresent(words).value(), row.secondary.firstPresent(words)};
}

std::optional<std::string> DeliveryPackage::wordsFrom(DeliverySource source,
                                                      const DeliveryStatusRow& row) const {
    switch (source) {
        case DeliverySource::word: return std::string(row.word);
        case DeliverySource::eta: return eta();
        case DeliverySource::deliveredDay: return deliveredDay();
        case DeliverySource::carrier: return carrierName();
    }
    return std::nullopt;
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

std::optional<std::string> DeliveryPackage::deliveredDay() const {
    if (!delivery_.deliveredAt) return std::nullopt;
    return deliveredDateText(*delivery_.deliveredAt);
}

bool DeliveryPackage::isDelayed() const {
    return std::any_of(delivery_.exceptions.begin(), delivery_.exceptions.end(), [](const auto& exception) {
        return exception.exceptionType == DeliveryExceptionType::delayed;
    });
}

}  // namespace presentation
