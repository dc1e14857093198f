// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/LiveCoding.hpp"

#include <array>

#include "host/protocol/EntryCoding.hpp"
#include "host/protocol/Members.hpp"
#include "host/protocol/MessageChannel.hpp"
#include "widget/DrawingRequest.hpp"

namespace host {

namespace json = boost::json;
using drawing::ColorScheme;
using platform::Date;

namespace {

// In order of declaration.
constexpr std::array<std::string_view, 5> requestNames = {"follow", "draw", "reload", "status", "pictures"};

/// More than every family in both schemes at four scales.
constexpr std::size_t mostPictures = 64;

json::value dateOrNull(const std::optional<Date>& date) {
    return date ? json::value(platform::internetDateTime(*date)) : json::value(nullptr);
}

[[noreturn]] void reject(std::string_view key, const char* expectation) {
    throw ProtocolError(std::string(key) + " must be " + expectation);
}

const json::object& objectIn(const json::value& value, std::string_view what) {
    if (!value.is_object()) reject(what, "an object");
    return value.get_object();
}

/// Nothing where it is absent or null.
const json::value* present(const json::object& object, std::string_view key) {
    const auto* value = object.if_contains(key);
    return value && !value->is_null() ? value : nullptr;
}

std::optional<Date> optionalDate(const json::object& object, std::string_view key) {
    const auto* value = present(object, key);
    if (!value) return std::nullopt;
    const auto date =
        value->is_string() ? platform::dateFromInternetDateTime(value->get_string()) : std::optional<Date>();
    if (!date) reject(key, "a date such as 2026-01-31T10:00:00.123Z");
    return date;
}

bool truth(const json::object& object, std::string_view key) {
    const auto* value = present(object, key);
    if (!value) return false;
    if (!value->is_bool()) reject(key, "true or false");
    return value->get_bool();
}

drawing::Contrast contrastIn(const json::object& object) {
    const auto wanted = memberText(object, "contrast", name(drawing::Contrast::standard));
    for (const auto contrast : drawing::allContrasts)
        if (name(contrast) == wanted) return contrast;
    reject("contrast", "standard or increased");
}

PictureFile pictureFile(const json::value& value) {
    const auto& object = objectIn(value, "a picture");
    const auto family = platform::widgetFamily(memberText(object, "family", "systemMedium"));
    if (!family) reject("family", "a family of the widget's");
    const auto scheme = memberText(object, "colorScheme", "dark");
    if (scheme != "light" && scheme != "dark") reject("colorScheme", "light or dark");
    const auto scale = memberNumber(object, "scale", PictureFile().scale);
    if (!(scale >= 1 && scale <= 4)) reject("scale", "a number from 1 to 4");
    const auto textScaling = memberNumber(object, "textScaling", 1);
    if (!(textScaling >= 0.5 && textScaling <= 4)) reject("textScaling", "a number from 0.5 to 4");
    return {.family = *family,
            .colorScheme = scheme == "dark" ? ColorScheme::dark : ColorScheme::light,
            .scale = scale,
            .textScaling = textScaling,
            .contrast = contrastIn(object)};
}

}  // namespace

std::string_view name(LiveRequest request) {
    return requestNames[static_cast<std::size_t>(request)];
}

LiveRequest liveRequestIn(const json::object& object) {
    const auto asked = memberText(object, "request", "");
    for (std::size_t index = 0; index < requestNames.size(); ++index)
        if (requestNames[index] == asked) return static_cast<LiveRequest>(index);
    throw ProtocolError("unknown request");
}

json::value textOrNull(const std::string& text) {
    return text.empty() ? json::value(nullptr) : json::value(text);
}

json::object liveStateObject(const LiveState& state) {
    return {{"asOf", dateOrNull(state.asOf)},
            {"entry", entryObject(state.entry)},
            {"isPlaceholder", state.isPlaceholder},
            {"keychain", textOrNull(state.keychain)},
            {"trouble", state.trouble ? json::value(name(*state.trouble)) : json::value(nullptr)}};
}

LiveState liveStateFromValue(const json::value& value) {
    const auto& object = objectIn(value, "a state");
    const auto* entry = present(object, "entry");
    if (!entry) reject("entry", "an entry");
    LiveState state = {.entry = entryFromValue(*entry)};
    state.isPlaceholder = truth(object, "isPlaceholder");
    state.asOf = optionalDate(object, "asOf");
    if (present(object, "keychain")) state.keychain = memberText(object, "keychain", "");
    // What a later host may call by a name that is not known here is a trouble of the server's.
    if (present(object, "trouble"))
        state.trouble = liveTrouble(memberText(object, "trouble", "")).value_or(LiveTrouble::serverFailing);
    return state;
}

json::object liveHostStatusObject(const LiveHostStatus& status) {
    return {{"lastFetch", dateOrNull(status.lastFetch)},
            {"nextFetch", dateOrNull(status.nextFetch)},
            {"pid", status.pid},
            {"readers", status.readers},
            {"started", dateOrNull(status.started)},
            {"version", status.version}};
}

LiveHostStatus liveHostStatusFromValue(const json::value& value) {
    const auto& object = objectIn(value, "a status");
    const auto started = optionalDate(object, "started");
    if (!started) reject("started", "a date");
    const auto readers = memberNumber(object, "readers", 0);
    const auto pid = memberNumber(object, "pid", 0);
    if (!(readers >= 0 && readers < 1e6)) reject("readers", "a number of readers");
    if (!(pid >= 0 && pid < 1e9)) reject("pid", "a process");
    return {.pid = static_cast<long>(pid),
            .version = std::string(memberText(object, "version", "")),
            .started = *started,
            .lastFetch = optionalDate(object, "lastFetch"),
            .nextFetch = optionalDate(object, "nextFetch"),
            .readers = static_cast<std::size_t>(readers)};
}

json::array pictureFileArray(const std::vector<PictureFile>& files) {
    json::array array;
    for (const auto& file : files)
        array.push_back({{"colorScheme", widget::name(file.colorScheme)},
                         {"contrast", drawing::name(file.contrast)},
                         {"family", platform::description(file.family)},
                         {"scale", file.scale},
                         {"textScaling", file.textScaling}});
    return array;
}

std::vector<PictureFile> pictureFilesFromValue(const json::value& value) {
    if (!value.is_array()) reject("pictures", "a list");
    const auto& array = value.get_array();
    if (array.size() > mostPictures) reject("pictures", "64 at most");
    std::vector<PictureFile> files;
    for (const auto& element : array) files.push_back(pictureFile(element));
    return files;
}

}  // namespace host
