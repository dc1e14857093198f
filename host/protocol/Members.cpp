// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/Members.hpp"

#include <string>

#include "host/protocol/MessageChannel.hpp"

namespace host {

std::string_view memberText(const boost::json::object& object, std::string_view key,
                            std::string_view fallback) {
    const auto* value = object.if_contains(key);
    if (!value) return fallback;
    if (!value->is_string()) throw ProtocolError(std::string(key) + " must be a text");
    return value->get_string();
}

double memberNumber(const boost::json::object& object, std::string_view key, double fallback) {
    const auto* value = object.if_contains(key);
    if (!value) return fallback;
    if (!value->is_number()) throw ProtocolError(std::string(key) + " must be a number");
    return value->to_number<double>();
}

platform::WidgetFamily memberFamily(const boost::json::object& object) {
    return platform::widgetFamily(memberText(object, "family", "systemMedium"))
        .value_or(platform::WidgetFamily::other);
}

}  // namespace host
