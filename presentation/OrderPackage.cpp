#include "presentation/OrderPackage.hpp"

#include <initializer_list>
#include <string_view>

#include "platform/Text/Text.hpp"
#include "presentation/DeepLink.hpp"
#include "presentation/DeliveredDateText.hpp"
#include "presentation/OrderWording.hpp"

namespace presentation {
namespace {

using VelaApi::OrderDeliveryStatus;
using VelaApi::OrderDisplayStatus;

using OptionalText = std::optional<std::string>;

OptionalText firstPresent(std::initializer_list<OptionalText> candidates) {
    for (const OptionalText& candidate : candidates) {
        if (candidate) return candidate;
    }
    return std::nullopt;
}

std::string trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return "";
    return std::string(text.substr(first, text.find_last_not_of(blanks) - first + 1));
}

}  // namespace

platform::URL OrderPackage::deepLinkingUrl() const {
    return deepLink("velaapp://order/" + order_.id.rawValue());
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
    switch (order_.displayStatus) {
        case OrderDisplayStatus::attemptedDelivery: return 0.8F;
        case OrderDisplayStatus::buyerActionRequired: return 0.6F;
        case OrderDisplayStatus::cancelled:
        case OrderDisplayStatus::delayed:
        case OrderDisplayStatus::delivered: return 0.0F;
        case OrderDisplayStatus::deliveredPartially: return 0.8F;
        case OrderDisplayStatus::expired:
        case OrderDisplayStatus::failure: return 0.0F;
        case OrderDisplayStatus::fulfilled:
        case OrderDisplayStatus::fulfilledPartially: return 0.4F;
        case OrderDisplayStatus::inTransit: return 0.6F;
        case OrderDisplayStatus::outForDelivery: return 0.8F;
        case OrderDisplayStatus::paid:
        case OrderDisplayStatus::paidPartially: return 0.2F;
        case OrderDisplayStatus::partiallyRefundedInStore:
        case OrderDisplayStatus::pending:
        case OrderDisplayStatus::pickedUp:
        case OrderDisplayStatus::purchasedInStore: return 0.0F;
        case OrderDisplayStatus::readyForPickup: return 0.8F;
        case OrderDisplayStatus::refunded:
        case OrderDisplayStatus::refundedInStore:
        case OrderDisplayStatus::refundedPartially:
        case OrderDisplayStatus::returned:
        case OrderDisplayStatus::unknown:
        case OrderDisplayStatus::unknownValue: return 0.0F;
    }
    return 0.0F;
}

StatusPair OrderPackage::statusText() const {
    const OptionalText& shipping = order_.shippingMethod;
    const std::string wording = displayWording(order_.displayStatus);
    if (order_.displayStatus == OrderDisplayStatus::refunded &&
        order_.deliveryStatus == OrderDeliveryStatus::pending) {
        return {wording};
    }
    switch (order_.displayStatus) {
        case OrderDisplayStatus::buyerActionRequired:
        case OrderDisplayStatus::delayed: return {wording, firstPresent({etaLine(), location(), shipping})};

        case OrderDisplayStatus::delivered:
            return {wording, firstPresent({deliveredText(), pastEta(), shipping})};
        case OrderDisplayStatus::deliveredPartially: return {wording, firstPresent({pastEta(), shipping})};

        case OrderDisplayStatus::fulfilled:
        case OrderDisplayStatus::fulfilledPartially:
        case OrderDisplayStatus::outForDelivery:
            return {futureEta().value_or(wording), firstPresent({futureTime(), shipping})};
        case OrderDisplayStatus::inTransit:
            return {futureEta().value_or(wording), firstPresent({futureTime(), location(), shipping})};

        case OrderDisplayStatus::cancelled:
        case OrderDisplayStatus::failure:
        case OrderDisplayStatus::pickedUp:
        case OrderDisplayStatus::returned: return {wording};

        case OrderDisplayStatus::partiallyRefundedInStore:
        case OrderDisplayStatus::refundedInStore: return {"In-store purchase", wording};
        case OrderDisplayStatus::refunded:
        case OrderDisplayStatus::refundedPartially: return {deliveryWording(order_.deliveryStatus), wording};

        case OrderDisplayStatus::attemptedDelivery:
        case OrderDisplayStatus::expired:
        case OrderDisplayStatus::paid:
        case OrderDisplayStatus::paidPartially:
        case OrderDisplayStatus::pending:
        case OrderDisplayStatus::purchasedInStore:
        case OrderDisplayStatus::readyForPickup:
        case OrderDisplayStatus::unknown:
        case OrderDisplayStatus::unknownValue: break;
    }
    return {wording, shipping};
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
    std::string line = trimmed(futureEta().value_or("") + " " + time);
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

OptionalText OrderPackage::deliveredText() const {
    if (!order_.markedAsDeliveredAt) return std::nullopt;
    return deliveredDateText(*order_.markedAsDeliveredAt);
}

}  // namespace presentation
