// SPDX-License-Identifier: Apache-2.0

#include "presentation/OrderPackage.hpp"

#include <string_view>

#include "platform/Text/ASCII.hpp"
#include "platform/Text/Text.hpp"
#include "presentation/DeepLink.hpp"
#include "presentation/DeliveredDateText.hpp"

namespace presentation {
namespace {

using VelaApi::OrderDeliveryStatus;
using VelaApi::OrderDisplayStatus;

using OptionalText = std::optional<std::string>;

}  // namespace

platform::URL OrderPackage::deepLinkingUrl() const {
    return DeepLink::order(order_.id);
}

std::optional<platform::URL> OrderPackage::shopImage() const {
    const auto& theme = order_.shop.visualTheme;
    if (!theme || !theme->logoImage) return std::nullopt;
    return platform::URL::parse(theme->logoImage->url.absoluteString());
}

std::optional<platform::URL> OrderPackage::productImage() const {
    const auto& items = order_.lineItems.nodes;
    if (items.empty() || !items.front().image) return std::nullopt;
    return platform::URL::parse(items.front().image->url.absoluteString());
}

float OrderPackage::progress() const {
    return rowOf(orderStatusTable, order_.displayStatus).progress;
}

StatusPair OrderPackage::statusText() const {
    const auto& row = rowOf(orderStatusTable, order_.displayStatus);
    // A refund before anything was sent: what became of the delivery says nothing.
    if (order_.displayStatus == OrderDisplayStatus::refunded &&
        order_.deliveryStatus == OrderDeliveryStatus::pending) {
        return {std::string(row.word)};
    }
    const auto words = [&](OrderSource source) { return wordsFrom(source, row); };
    return {row.primary.firstPresent(words).value(), row.secondary.firstPresent(words)};
}

OptionalText OrderPackage::wordsFrom(OrderSource source, const OrderStatusRow& row) const {
    switch (source) {
        case OrderSource::word: return std::string(row.word);
        case OrderSource::deliveryWord:
            return std::string(rowOf(orderDeliveryTable, order_.deliveryStatus).word);
        case OrderSource::inStorePurchase: return std::string(Wording::inStorePurchase);
        case OrderSource::futureEta: return futureEta();
        case OrderSource::futureTime: return futureTime();
        case OrderSource::etaLine: return etaLine();
        case OrderSource::pastEta: return pastEta();
        case OrderSource::location: return location();
        case OrderSource::deliveredDay: return deliveredDay();
        case OrderSource::shipping: return order_.shippingMethod;
    }
    return std::nullopt;
}

OptionalText OrderPackage::futureEta() const {
    if (!order_.etaInfo || !order_.etaInfo->isFuture) return std::nullopt;
    return order_.etaInfo->formattedEta;
}

OptionalText OrderPackage::futureTime() const {
    if (!futureEta()) return std::nullopt;
    return order_.etaInfo->formattedEtaTime;
}

OptionalText OrderPackage::etaLine() const {
    const std::string time = platform::lowercasingFirstCharacter(futureTime().value_or(""));
    const std::string etaAndTime = futureEta().value_or("") + " " + time;
    std::string line(platform::trimmed(etaAndTime, " \t"));
    if (line.empty()) return std::nullopt;
    return line;
}

OptionalText OrderPackage::pastEta() const {
    if (!order_.etaInfo || order_.etaInfo->isFuture) return std::nullopt;
    return order_.etaInfo->formattedEta;
}

OptionalText OrderPackage::location() const {
    using Event = Order::Trackers::Nodes::PaginatedTrackingEvents::Nodes;
    const Event* latest = nullptr;
    for (const auto& tracker : order_.trackers.nodes) {
        const std::vector<Event>& events = tracker.paginatedTrackingEvents.nodes;
        if (events.empty() || !events.front().carrierLocationMessage) continue;
        if (!latest || events.front().happenedAt > latest->happenedAt) latest = &events.front();
    }
    if (!latest) return std::nullopt;
    return latest->carrierLocationMessage;
}

OptionalText OrderPackage::deliveredDay() const {
    if (!order_.markedAsDeliveredAt) return std::nullopt;
    return deliveredDateText(*order_.markedAsDeliveredAt);
}

}  // namespace presentation
