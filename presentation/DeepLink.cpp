// SPDX-License-Identifier: Apache-2.0

#include "presentation/DeepLink.hpp"

#include <array>

#include "platform/Log/Logger.hpp"

namespace presentation {

namespace {

std::string start(std::string_view host) {
    return std::string(DeepLink::scheme) + "://" + std::string(host);
}

platform::URL link(std::string_view host, const std::string& rest = "") {
    return DeepLink::fromText(start(host) + rest);
}

struct PageRow {
    std::string_view host;
    std::string_view page;
};

constexpr std::array pageTable = {
    PageRow{DeepLink::deliveryHost, "/delivery"},
    PageRow{DeepLink::orderHost, "/order"},
    PageRow{DeepLink::homeOrdersHost, "/orders"},
    PageRow{DeepLink::addDeliveryHost, "/add_delivery"},
};

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

std::optional<std::string> DeepLink::pageFor(const platform::URL& link) {
    if (link.scheme() != scheme) return std::nullopt;
    for (const auto& row : pageTable)
        if (link.host() == row.host)
            return std::string(row.page) + link.absoluteString().substr(start(row.host).size());
    return std::nullopt;
}

}  // namespace presentation
