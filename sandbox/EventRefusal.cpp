// SPDX-License-Identifier: Apache-2.0

#include "sandbox/EventRefusal.hpp"

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <cctype>
#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>
#include <vector>

namespace sandbox {
namespace {

using boost::json::object;
using boost::json::value;

constexpr std::string_view contentType = "Content-Type";
constexpr std::string_view createdAt = "X-Relaybox-Edge-Event-Created-At-Ms";
constexpr std::string_view sentAt = "X-Relaybox-Edge-Event-Sent-At-Ms";
constexpr std::string_view contentLanguage = "X-Relaybox-Edge-Content-Language";
constexpr std::string_view requiredHeaders[] = {contentType, createdAt, sentAt, contentLanguage};

constexpr std::string_view schemaId = "vela_app_widget_interaction/1.0";

constexpr std::string_view payloadTexts[] = {"device_identifier", "device_model", "platform",
                                             "platform_version",  "widget_id",    "widget_size",
                                             "widget_state",      "widget_type"};
constexpr std::string_view widgetStates[] = {"loggedIn", "notLoggedIn", "noPackages"};

std::string quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

/// The four headers, spelled as given and in the given order; others may stand between them.
std::string refusalOfHeaders(const Request& request) {
    auto next = request.headers.begin();
    for (const std::string_view name : requiredHeaders) {
        next = std::find_if(next, request.headers.end(),
                            [name](const HeaderField& field) { return field.name == name; });
        if (next == request.headers.end())
            return "the header " + quoted(name) + " is missing or out of order";
        ++next;
    }
    if (request.value(contentType) != "application/json") return "the content type is not application/json";
    return {};
}

std::optional<long long> millisecondsIn(const Request& request, std::string_view field) {
    const std::string_view text = request.value(field).value_or("");
    long long count = 0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), count);
    if (text.empty() || end.ec != std::errc() || end.ptr != text.data() + text.size()) return std::nullopt;
    return count;
}

bool isLanguageTag(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char character) {
        return std::isalnum(character) || character == '-';
    });
}

/// Object keys as they stand in the text; the parser keeps their order.
bool hasSortedKeys(const value& given) {
    if (given.is_array()) {
        return std::all_of(given.get_array().begin(), given.get_array().end(), hasSortedKeys);
    }
    if (!given.is_object()) return true;
    const object& record = given.get_object();
    return std::is_sorted(record.begin(), record.end(),
                          [](const auto& one, const auto& other) { return one.key() < other.key(); }) &&
           std::all_of(record.begin(), record.end(),
                       [](const auto& member) { return hasSortedKeys(member.value()); });
}

std::string refusalOfPayload(const object& payload) {
    for (const std::string_view key : payloadTexts) {
        const value* found = payload.if_contains(key);
        if (found == nullptr || !found->is_string()) return quoted(key) + " is not a text";
    }
    const value* userId = payload.if_contains("user_id");
    if (userId != nullptr && !userId->is_int64()) return "\"user_id\" is not a whole number";
    if (payload.size() != std::size(payloadTexts) + (userId == nullptr ? 0 : 1)) {
        return "the payload has a key too many";
    }
    const auto text = [&payload](std::string_view key) {
        return std::string_view(payload.at(key).get_string());
    };
    if (text("platform") != "ios") return "\"platform\" is not ios";
    if (text("widget_type") != "TrackingWidget") return "\"widget_type\" is not TrackingWidget";
    if (std::find(std::begin(widgetStates), std::end(widgetStates), text("widget_state")) ==
        std::end(widgetStates)) {
        return "\"widget_state\" is not a state";
    }
    const bool namesItsSize = text("widget_id") == std::string(text("widget_size")) + ".TrackingWidget";
    if (!namesItsSize && text("widget_size") != "unknown")
        return "\"widget_id\" does not name the widget's size";
    return {};
}

/// The header's milliseconds were cut off, the body's seconds lost digits since 2001: they may differ by one.
bool nameTheSameInstant(long long headerMilliseconds, double bodySeconds) {
    constexpr double from1970To2001 = 978'307'200;
    const double bodyMilliseconds = (bodySeconds + from1970To2001) * 1000;
    return std::fabs(bodyMilliseconds - static_cast<double>(headerMilliseconds)) <= 1.01;
}

}  // namespace

std::string refusalOfEvent(const Request& request) {
    if (request.method != "POST") return "the method is not POST";
    if (std::string refusal = refusalOfHeaders(request); !refusal.empty()) return refusal;
    const auto created = millisecondsIn(request, createdAt);
    const auto sent = millisecondsIn(request, sentAt);
    if (!created || !sent) return "a time header is not a decimal number of milliseconds";
    if (*sent < *created) return "the event was sent before it was created";
    if (!isLanguageTag(request.value(contentLanguage).value_or("")))
        return "the language is not a language tag";

    boost::system::error_code error;
    const value body = boost::json::parse(request.body, error);
    if (error || !body.is_object()) return "the body is not a JSON object";
    if (!hasSortedKeys(body)) return "the keys are not in ascending order";
    const object& envelope = body.get_object();
    const value* time = envelope.if_contains("created_at");
    const value* payload = envelope.if_contains("payload");
    const value* schema = envelope.if_contains("schema_id");
    if (envelope.size() != 3 || time == nullptr || payload == nullptr || schema == nullptr) {
        return "the body does not hold exactly \"created_at\", \"payload\" and \"schema_id\"";
    }
    if (!schema->is_string() || schema->get_string() != schemaId)
        return "the schema is not " + quoted(schemaId);
    if (!time->is_number()) return "\"created_at\" is not a number";
    if (!nameTheSameInstant(*created, time->to_number<double>())) {
        return "\"created_at\" and the header name different instants";
    }
    if (!payload->is_object()) return "\"payload\" is not an object";
    return refusalOfPayload(payload->get_object());
}

}  // namespace sandbox
