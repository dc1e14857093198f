// SPDX-License-Identifier: Apache-2.0

#include "host/window/WindowPlaces.hpp"

#include <sys/file.h>

#include <algorithm>
#include <boost/json/object.hpp>
#include <cerrno>
#include <cmath>

#include "host/window/WindowFamilies.hpp"
#include "platform/Files/FileReplacement.hpp"
#include "platform/Files/Patience.hpp"
#include "platform/Files/Reading.hpp"
#include "platform/Files/TrustedFolder.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace host {

namespace {

namespace json = boost::json;
using platform::TrustedFolder;

constexpr std::size_t mostBytes = 64 << 10;
/// More than anybody's desk has.
constexpr std::size_t mostMonitors = 64;
/// In points: beyond what any desktop spans.
constexpr double farthest = 1e6;

std::optional<double> coordinate(const json::value& place, std::string_view axis) {
    const auto* object = place.if_object();
    const auto* value = object ? object->if_contains(axis) : nullptr;
    if (!value || !value->is_number()) return std::nullopt;
    const auto number = value->to_number<double>();
    if (!(std::abs(number) <= farthest)) return std::nullopt;
    return std::round(number);
}

WindowHistory historyIn(const json::value& value) {
    WindowHistory history;
    const auto* object = value.if_object();
    if (!object) return history;
    if (const auto* monitor = object->if_contains("monitor"); monitor && monitor->is_string())
        history.monitor = std::string(monitor->get_string());
    const auto* places = object->if_contains("places");
    if (!places || !places->is_object()) return history;
    for (const auto& [monitor, place] : places->get_object()) {
        const auto x = coordinate(place, "x");
        const auto y = coordinate(place, "y");
        if (x && y && history.places.size() < mostMonitors) history.places[monitor] = {*x, *y};
    }
    return history;
}

WindowMemory memoryIn(std::string_view text) {
    WindowMemory memory;
    const auto value = platform::JSONSerialization::JSONObjectWithData(text);
    const auto* object = value.if_object();
    if (!object) return memory;
    if (const auto* family = object->if_contains("family"); family && family->is_string())
        memory.family = platform::widgetFamily(family->get_string());
    const auto* windows = object->if_contains("windows");
    if (!windows || !windows->is_object()) return memory;
    for (const auto& [name, history] : windows->get_object())
        if (const auto family = platform::widgetFamily(name)) memory.windows[*family] = historyIn(history);
    return memory;
}

json::object objectOf(const WindowHistory& history) {
    json::object places;
    for (const auto& [monitor, place] : history.places)
        places[monitor] = {{"x", std::llround(place.x)}, {"y", std::llround(place.y)}};
    return {{"monitor", history.monitor}, {"places", std::move(places)}};
}

std::string textOf(const WindowMemory& memory) {
    json::object windows;
    for (const auto& [family, history] : memory.windows)
        windows[platform::description(family)] = objectOf(history);
    json::object object = {{"windows", std::move(windows)}};
    if (memory.family) object["family"] = platform::description(*memory.family);
    return platform::JSONSerialization::dataWithJSONObject(object, platform::JSONKeyOrder::ascendingBytes) +
           "\n";
}

}  // namespace

std::optional<WindowPlaces> WindowPlaces::ofPerson() {
    const auto home = platform::stateHome();
    if (!home) return std::nullopt;
    return WindowPlaces(*home / "vela");
}

WindowMemory WindowPlaces::read() const try {
    const auto folder = TrustedFolder::open(folder_);
    const auto opened = folder ? folder->openFile(fileName, TrustedFolder::Others::mayRead) : std::nullopt;
    const auto text = opened ? platform::readUpTo(*opened, mostBytes) : std::nullopt;
    return text && text->size() <= mostBytes ? memoryIn(*text) : WindowMemory();
} catch (const platform::FileError&) {
    return {};
} catch (const platform::JSONError&) {
    return {};
}

void WindowPlaces::remember(platform::WidgetFamily family, const std::string& monitor,
                            drawing::Point place) const {
    const auto folder = TrustedFolder::make(folder_);
    // Until the folder is closed: another window reads what this one has written. One that is stopped while
    // it writes is not to stop this one.
    const platform::Patience patience = {.inAll = patience_, .pause = std::chrono::milliseconds(5)};
    const bool isHad = patience.suffices([&] {
        if (::flock(folder.descriptor(), LOCK_EX | LOCK_NB) == 0) return true;
        if (errno != EWOULDBLOCK && errno != EINTR) throw platform::FileError(folder_, errno);
        return false;
    });
    if (!isHad) throw platform::FileError(folder_, EWOULDBLOCK);
    auto memory = read();
    const auto before = memory;
    memory.family = family;
    auto& history = memory.windows[family];
    history.monitor = monitor;
    if (history.places.size() >= mostMonitors && !history.places.contains(monitor)) history.places.clear();
    history.places[monitor] = {std::round(place.x), std::round(place.y)};
    if (memory == before) return;
    platform::FileReplacement(folder.descriptor(), file(), std::string(".") + fileName + ".tmp",
                              textOf(memory))
        .commit();
}

drawing::Point placeWithin(drawing::Rect area, drawing::Size window, drawing::Point place) {
    const auto within = [](double begin, double length, double size, double wished) {
        return std::max(begin, std::min(wished, begin + length - size));
    };
    return {within(area.left(), area.size.width, window.width, place.x),
            within(area.top(), area.size.height, window.height, place.y)};
}

drawing::Point firstPlace(drawing::Rect area, platform::WidgetFamily family) {
    constexpr double margin = 24;
    constexpr double between = 16;
    drawing::Point place = {area.right() - margin, area.top() + margin};
    double column = 0;
    for (const auto& row : windowFamilies) {
        const auto size = row.windowSize();
        if (place.y > area.top() + margin && place.y + size.height > area.bottom() - margin) {
            place = {place.x - column - between, area.top() + margin};
            column = 0;
        }
        if (row.family == family) return placeWithin(area, size, {place.x - size.width, place.y});
        place.y += size.height + between;
        column = std::max(column, size.width);
    }
    return place;
}

}  // namespace host
