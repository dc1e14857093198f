// SPDX-License-Identifier: Apache-2.0

#pragma once

// A delivery as a package: a parcel that the user tracks by carrier and tracking number. Immutable; safe from
// any thread.

#include "VelaApi/Sources/VelaApi/TrackingWidgetResponse.hpp"
#include "presentation/DeliveryStatusTable.hpp"
#include "presentation/Package.hpp"

namespace presentation {

class DeliveryPackage final : public Package {
  public:
    using Delivery = VelaApi::TrackingWidgetResponse::DeliveriesOrdersList::Nodes::Delivery;

    explicit DeliveryPackage(Delivery delivery) : delivery_(std::move(delivery)) {}

    std::string shopName() const override;
    platform::URL deepLinkingUrl() const override;
    std::optional<platform::URL> shopImage() const override;
    std::optional<platform::URL> productImage() const override { return std::nullopt; }
    float progress() const override;
    StatusPair statusText() const override;

  private:
    std::optional<std::string> wordsFrom(DeliverySource source, const DeliveryStatusRow& row) const;
    const Delivery::Tracker::CarrierInfo* carrier() const;
    std::optional<std::string> carrierName() const;
    std::optional<std::string> eta() const;
    std::optional<std::string> deliveredDay() const;
    bool isDelayed() const;

    Delivery delivery_;
};

}  // namespace presentation
