// SPDX-License-Identifier: Apache-2.0

#include "analytics/EventCollector.hpp"

#include <string_view>

#include "platform/Log/Logger.hpp"

namespace analytics {

namespace {

constexpr std::string_view builtInAddress = VELA_EVENT_COLLECTOR_URL;

std::string_view configuredAddress(const std::optional<boost::json::object>& infoDictionary) {
    const auto* value = infoDictionary ? infoDictionary->if_contains("EVENT_COLLECTOR_URL") : nullptr;
    const auto* text = value ? value->if_string() : nullptr;
    return text ? std::string_view(text->data(), text->size()) : builtInAddress;
}

}  // namespace

platform::URL eventCollectorURL(const std::optional<boost::json::object>& infoDictionary) {
    const auto url = platform::URL::parse(configuredAddress(infoDictionary));
    if (!url) platform::fatalError("the event collector's address is not a URL");
    return *url;
}

}  // namespace analytics
