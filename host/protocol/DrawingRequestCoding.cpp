// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/DrawingRequestCoding.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "host/protocol/EntryCoding.hpp"
#include "host/protocol/Members.hpp"
#include "host/protocol/MessageChannel.hpp"

namespace host {

namespace json = boost::json;
using drawing::ColorScheme;
using widget::DrawingFormat;
using widget::DrawingRequest;
using widget::name;
using widget::PictureReading;

namespace {

constexpr std::array formats = {DrawingFormat::png, DrawingFormat::svg, DrawingFormat::tree,
                                DrawingFormat::text};
constexpr std::array colorSchemes = {ColorScheme::light, ColorScheme::dark};
constexpr std::array pictureReadings = {PictureReading::allowed, PictureReading::placeholdersOnly};

/// The one of `values` whose name stands under `key`; `fallback` where there is none.
template <typename Enumeration, std::size_t count>
Enumeration named(const json::object& object, std::string_view key,
                  const std::array<Enumeration, count>& values, Enumeration fallback = {}) {
    const auto wanted = memberText(object, key, name(fallback));
    for (const auto value : values)
        if (name(value) == wanted) return value;
    throw ProtocolError(std::string(key) + " has a value that is not known");
}

const json::value& entryIn(const json::object& object) {
    const auto* entry = object.if_contains("entry");
    if (!entry || !entry->is_object()) throw ProtocolError("entry must be an object");
    return *entry;
}

double scaleIn(const json::object& object) {
    const auto scale = memberNumber(object, "scale", 3);
    if (!(scale >= 1 && scale <= 4)) throw ProtocolError("scale must be from 1 to 4");
    return scale;
}

std::optional<drawing::Size> sizeIn(const json::object& object, double scale) {
    const auto* member = object.if_contains("size");
    if (!member) return std::nullopt;
    if (!member->is_object()) throw ProtocolError("size must be an object");
    const auto& given = member->get_object();
    const drawing::Size size = {memberNumber(given, "width", 0), memberNumber(given, "height", 0)};
    if (!DrawingRequest::isWithinBounds(size, scale)) throw ProtocolError("size is out of bounds");
    return size;
}

/// What is beyond the longest that a transfer takes is taken for that.
std::optional<std::chrono::milliseconds> pictureBudgetIn(const json::object& object) {
    if (!object.contains("pictureBudget")) return std::nullopt;
    constexpr std::chrono::milliseconds longest = std::chrono::seconds(120);
    const auto budget = memberNumber(object, "pictureBudget", 0);
    return std::chrono::milliseconds(
        static_cast<std::int64_t>(std::clamp(budget, 0.0, static_cast<double>(longest.count()))));
}

drawing::Appearance appearanceIn(const json::object& object) {
    const drawing::Appearance usual;
    return {.textSize = named(object, "textSize", drawing::allTextSizes, usual.textSize),
            .contrast = named(object, "contrast", drawing::allContrasts, usual.contrast),
            .transparency = named(object, "transparency", drawing::allTransparencies, usual.transparency),
            .redaction = named(object, "redaction", drawing::allRedactions, usual.redaction)};
}

std::optional<std::string> tintIn(const json::object& object) {
    if (!object.contains("tint")) return std::nullopt;
    const auto text = memberText(object, "tint", "");
    if (!DrawingRequest::isTint(text)) throw ProtocolError("tint must be #RRGGBB");
    return std::string(text);
}

}  // namespace

json::object drawingRequestObject(const DrawingRequest& request) {
    json::object object = {
        {"entry", entryObject(request.entry)},
        {"colorScheme", name(request.colorScheme)},
        {"scale", request.scale},
        {"format", name(request.format)},
        {"pictures", name(request.pictures)},
        {"textSize", name(request.appearance.textSize)},
        {"contrast", name(request.appearance.contrast)},
        {"transparency", name(request.appearance.transparency)},
        {"redaction", name(request.appearance.redaction)},
    };
    if (request.size) object["size"] = {{"width", request.size->width}, {"height", request.size->height}};
    if (request.tint) object["tint"] = *request.tint;
    if (request.pictureBudget) object["pictureBudget"] = request.pictureBudget->count();
    return object;
}

DrawingRequest drawingRequestFromObject(const json::object& object) {
    const auto& entry = entryIn(object);
    const auto colorScheme = named(object, "colorScheme", colorSchemes);
    const auto appearance = appearanceIn(object);
    const auto format = named(object, "format", formats);
    const auto pictures = named(object, "pictures", pictureReadings);
    const auto scale = scaleIn(object);
    const auto size = sizeIn(object, scale);
    auto tint = tintIn(object);
    const auto pictureBudget = pictureBudgetIn(object);
    // What is wrong with a drawing is said before what is wrong with its entry.
    return {.entry = entryFromValue(entry),
            .family = memberFamily(object),
            .colorScheme = colorScheme,
            .appearance = appearance,
            .size = size,
            .scale = scale,
            .format = format,
            .tint = std::move(tint),
            .pictures = pictures,
            .pictureBudget = pictureBudget};
}

}  // namespace host
