#include "presentation/DeepLink.hpp"

#include "platform/Log/Logger.hpp"

namespace presentation {

namespace {

platform::URL link(std::string_view host, const std::string& rest = "") {
    return DeepLink::fromText(std::string(DeepLink::scheme) + "://" + std::string(host) + rest);
}

}  // namespace

platform::URL DeepLink::delivery(const VelaApi::GraphID& id) {
    return link(deliveryHost, "/" + id.rawValue() + "?referral=ios_widget");
}

platform::URL DeepLink::order(const VelaApi::GraphID& id) {
    return link(orderHost, "/" + id.rawValue());
}

platform::URL DeepLink::homeOrders() {
    return link(homeOrdersHost);
}

platform::URL DeepLink::addDelivery() {
    return link(addDeliveryHost);
}

platform::URL DeepLink::fromText(const std::string& text) {
    auto parsed = platform::URL::parse(text);
    if (!parsed) platform::fatalError("A deep link into the companion app does not parse");
    return *std::move(parsed);
}

}  // namespace presentation
