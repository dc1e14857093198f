// SPDX-License-Identifier: Apache-2.0

#pragma once

// An order as a package: a purchase that the user made with a merchant, with one or more carriers or none.
// Immutable; safe from any thread.

#include "VelaApi/Sources/VelaApi/TrackingWidgetResponse.hpp"
#include "presentation/OrderStatusTable.hpp"
#include "presentation/Package.hpp"

namespace presentation {

class OrderPackage final : public Package {
  public:
    using Order = VelaApi::TrackingWidgetResponse::DeliveriesOrdersList::Nodes::Order;

    explicit OrderPackage(Order order) : order_(std::move(order)) {}

    std::string shopName() const override { return order_.shop.name; }
    platform::URL deepLinkingUrl() const override;
    std::optional<platform::URL> shopImage() const override;
    std::optional<platform::URL> productImage() const override;
    float progress() const override;
    StatusPair statusText() const override;

  private:
    std::optional<std::string> wordsFrom(OrderSource source, const OrderStatusRow& row) const;
    std::optional<std::string> futureEta() const;
    std::optional<std::string> futureTime() const;
    /// Both of the above in one line.
    std::optional<std::string> etaLine() const;
    std::optional<std::string> pastEta() const;
    /// What the carrier with the latest news says.
    std::optional<std::string> location() const;
    std::optional<std::string> deliveredDay() const;

    Order order_;
};

}  // namespace presentation
