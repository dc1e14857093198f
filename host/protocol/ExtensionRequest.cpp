// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/ExtensionRequest.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

#include "host/protocol/DrawingRequestCoding.hpp"
#include "host/protocol/Members.hpp"
#include "host/protocol/MessageChannel.hpp"

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
    KindRow{ExtensionRequest::Kind::credentials, "credentials"},
    KindRow{ExtensionRequest::Kind::settings, "settings"},
    KindRow{ExtensionRequest::Kind::diagnosis, "diagnosis"},
    KindRow{ExtensionRequest::Kind::render, "render"},
    KindRow{ExtensionRequest::Kind::finishUploads, "finishUploads"},
};

std::chrono::milliseconds limitIn(const json::object& object, std::chrono::milliseconds fallback) {
    const auto limit = memberNumber(object, "limit", static_cast<double>(fallback.count()));
    const auto longest = static_cast<double>(ExtensionRequest::longestLimit.count());
    return std::chrono::milliseconds(static_cast<std::int64_t>(std::clamp(limit, 0.0, longest)));
}

ExtensionRequest::Kind kindNamed(std::string_view name) {
    for (const auto& row : kindTable)
        if (row.name == name) return row.kind;
    throw ProtocolError("unknown request");
}

}  // namespace

json::object ExtensionRequest::object() const {
    auto object = drawing ? drawingRequestObject(*drawing) : json::object();
    object["request"] = kindTable[static_cast<std::size_t>(kind)].name;
    object["family"] = platform::description(family);
    if (kind == Kind::finishUploads) object["limit"] = limit.count();
    return object;
}

ExtensionRequest ExtensionRequest::rendering(widget::DrawingRequest drawing) {
    const auto family = drawing.family;
    return {.kind = Kind::render, .family = family, .drawing = std::move(drawing)};
}

ExtensionRequest::Kind ExtensionRequest::kindIn(const json::object& object) {
    return kindNamed(memberText(object, "request", ""));
}

ExtensionRequest ExtensionRequest::fromObject(const json::object& object) {
    ExtensionRequest request = {.kind = kindIn(object)};
    request.family = memberFamily(object);
    request.limit = limitIn(object, request.limit);
    if (request.kind == Kind::render) request.drawing = drawingRequestFromObject(object);
    return request;
}

}  // namespace host
