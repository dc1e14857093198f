// SPDX-License-Identifier: Apache-2.0

#pragma once

// Where a person's desktop windows stand, through restarts and on each monitor. Kept in one file that all
// windows share, each with a place for its family. It says nothing of any package. Safe from any thread.

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "platform/WidgetKit/WidgetFamily.hpp"
#include "widget/DrawingRequest.hpp"

namespace host {

/// The places of one family's window.
struct WindowHistory {
    /// On which it stood last.
    std::string monitor;
    /// By the monitor's name: the window's corner, in points from the monitor's.
    std::map<std::string, drawing::Point> places = {};

    bool operator==(const WindowHistory&) const = default;
};

struct WindowMemory {
    /// The one that was shown last.
    std::optional<platform::WidgetFamily> family = std::nullopt;
    std::map<platform::WidgetFamily, WindowHistory> windows = {};

    bool operator==(const WindowMemory&) const = default;
};

class WindowPlaces {
  public:
    /// In $XDG_STATE_HOME/vela. Nothing where a person has no folder for it.
    static std::optional<WindowPlaces> ofPerson();
    /// `patience` is with other windows that write: each does so for some milliseconds.
    explicit WindowPlaces(std::filesystem::path folder,
                          std::chrono::milliseconds patience = std::chrono::seconds(10))
        : folder_(std::move(folder)), patience_(patience) {}

    /// What is not there, not to be trusted, or not understood, is as nothing.
    WindowMemory read() const;
    /// Keeps what other windows wrote meanwhile. Throws platform::FileError, also where one of them hangs.
    void remember(platform::WidgetFamily family, const std::string& monitor, drawing::Point place) const;

    std::filesystem::path file() const { return folder_ / fileName; }

  private:
    static constexpr const char* fileName = "window.json";

    std::filesystem::path folder_;
    std::chrono::milliseconds patience_;
};

/// Where the window wholly shows in an area, as near to `place` as can be; its beginning, where it does not
/// fit.
drawing::Point placeWithin(drawing::Rect area, drawing::Size window, drawing::Point place);

/// Where a family's window begins that never was on a monitor of that area: beneath those of the families
/// before it, at the right.
drawing::Point firstPlace(drawing::Rect area, platform::WidgetFamily family);

}  // namespace host
