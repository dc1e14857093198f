#include "host/protocol/ExtensionRequest.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

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
    KindRow{ExtensionRequest::Kind::render, "render"},
    KindRow{ExtensionRequest::Kind::finishUploads, "finishUploads"},
};

constexpr std::array<std::string_view, 3> formatNames = {"png", "svg", "tree"};
constexpr std::array<std::string_view, 2> colorSchemeNames = {"light", "dark"};
constexpr std::array<std::string_view, 2> pictureReadingNames = {"allowed", "placeholdersOnly"};

std::string_view text(const json::object& object, std::string_view key, std::string_view fallback) {
    const auto* value = object.if_contains(key);
    if (!value) return fallback;
    if (!value->is_string()) throw ProtocolError(std::string(key) + " must be a text");
    return value->get_string();
}

double number(const json::object& object, std::string_view key, double fallback) {
    const auto* value = object.if_contains(key);
    if (!value) return fallback;
    if (!value->is_number()) throw ProtocolError(std::string(key) + " must be a number");
    return value->to_number<double>();
}

std::chrono::milliseconds limitIn(const json::object& object, std::chrono::milliseconds fallback) {
    const auto limit = number(object, "limit", static_cast<double>(fallback.count()));
    const auto longest = static_cast<double>(ExtensionRequest::longestLimit.count());
    return std::chrono::milliseconds(static_cast<std::int64_t>(std::clamp(limit, 0.0, longest)));
}

ExtensionRequest::Kind kindNamed(std::string_view name) {
    for (const auto& row : kindTable)
        if (row.name == name) return row.kind;
    throw ProtocolError("unknown request");
}

/// The enumerator whose name stands under `key`; the names are in the order of the enumeration.
template <typename Enumeration, std::size_t count>
Enumeration named(const json::object& object, std::string_view key,
                  const std::array<std::string_view, count>& names) {
    const auto name = text(object, key, names.front());
    for (std::size_t index = 0; index < count; ++index)
        if (names[index] == name) return static_cast<Enumeration>(index);
    throw ProtocolError(std::string(key) + " has a value that is not known");
}

json::object drawingObject(const DrawingRequest& drawing) {
    json::object object = {
        {"entry", drawing.entry},
        {"colorScheme", name(drawing.colorScheme)},
        {"scale", drawing.scale},
        {"format", name(drawing.format)},
        {"pictures", pictureReadingNames[static_cast<std::size_t>(drawing.pictures)]},
    };
    if (drawing.size) object["size"] = {{"width", drawing.size->width}, {"height", drawing.size->height}};
    if (drawing.tint) object["tint"] = *drawing.tint;
    return object;
}

DrawingRequest drawingFromObject(const json::object& object) {
    DrawingRequest drawing = {.entry = {}};
    const auto* entry = object.if_contains("entry");
    if (!entry || !entry->is_object()) throw ProtocolError("entry must be an object");
    drawing.entry = entry->get_object();
    drawing.colorScheme = named<platform::ColorScheme>(object, "colorScheme", colorSchemeNames);
    drawing.format = named<DrawingFormat>(object, "format", formatNames);
    drawing.pictures = named<PictureReading>(object, "pictures", pictureReadingNames);
    drawing.scale = number(object, "scale", drawing.scale);
    if (!(drawing.scale >= 1 && drawing.scale <= 4)) throw ProtocolError("scale must be from 1 to 4");
    if (const auto* size = object.if_contains("size"); size && size->is_object()) {
        const platform::Size given = {number(size->get_object(), "width", 0),
                                      number(size->get_object(), "height", 0)};
        if (!DrawingRequest::isWithinBounds(given, drawing.scale))
            throw ProtocolError("size is out of bounds");
        drawing.size = given;
    }
    if (object.contains("tint")) drawing.tint = std::string(text(object, "tint", ""));
    return drawing;
}

}  // namespace

std::string_view name(DrawingFormat format) {
    return formatNames[static_cast<std::size_t>(format)];
}

std::string_view name(platform::ColorScheme colorScheme) {
    return colorSchemeNames[static_cast<std::size_t>(colorScheme)];
}

bool DrawingRequest::isWithinBounds(platform::Size size, double scale) {
    const auto isUsable = [](double side) { return side >= 1 && side <= longestSide; };
    return isUsable(size.width) && isUsable(size.height) &&
           size.width * size.height * scale * scale <= mostPixels;
}

json::object ExtensionRequest::object() const {
    auto object = drawing ? drawingObject(*drawing) : json::object();
    object["request"] = kindTable[static_cast<std::size_t>(kind)].name;
    object["family"] = platform::description(family);
    if (kind == Kind::finishUploads) object["limit"] = limit.count();
    return object;
}

ExtensionRequest ExtensionRequest::fromObject(const json::object& object) {
    ExtensionRequest request = {.kind = kindNamed(text(object, "request", ""))};
    request.family = platform::widgetFamily(text(object, "family", "systemMedium"))
                         .value_or(platform::WidgetFamily::other);
    request.limit = limitIn(object, request.limit);
    if (request.kind == Kind::render) request.drawing = drawingFromObject(object);
    return request;
}

}  // namespace host
