#include "host/ExtensionRequest.hpp"

#include <array>
#include <string>

#include "host/MessageChannel.hpp"

namespace host {

namespace json = boost::json;

namespace {

struct KindRow {
    ExtensionRequest::Kind kind;
    std::string_view name;
};

constexpr std::array kindTable = {
    KindRow{ExtensionRequest::Kind::declaration, "declaration"},
    KindRow{ExtensionRequest::Kind::placeholder, "placeholder"},
    KindRow{ExtensionRequest::Kind::snapshot, "snapshot"},
    KindRow{ExtensionRequest::Kind::timeline, "timeline"},
    KindRow{ExtensionRequest::Kind::finishUploads, "finishUploads"},
};

std::string_view text(const json::object& object, std::string_view key, std::string_view fallback) {
    const auto* value = object.if_contains(key);
    if (!value) return fallback;
    if (!value->is_string()) throw ProtocolError(std::string(key) + " must be a text");
    return value->get_string();
}

ExtensionRequest::Kind kindNamed(std::string_view name) {
    for (const auto& row : kindTable)
        if (row.name == name) return row.kind;
    throw ProtocolError("unknown request");
}

}  // namespace

json::object ExtensionRequest::object() const {
    return {
        {"request", kindTable[static_cast<std::size_t>(kind)].name},
        {"family", platform::description(family)},
        {"limit", limit.count()},
    };
}

ExtensionRequest ExtensionRequest::fromObject(const json::object& object) {
    ExtensionRequest request = {.kind = kindNamed(text(object, "request", ""))};
    request.family = platform::widgetFamily(text(object, "family", "systemMedium"))
                         .value_or(platform::WidgetFamily::other);
    if (const auto* limit = object.if_contains("limit"); limit && limit->is_int64())
        request.limit = std::chrono::milliseconds(limit->get_int64());
    return request;
}

}  // namespace host
