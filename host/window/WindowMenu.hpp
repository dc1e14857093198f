// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a person may do with the window beside clicking it. For the main loop's thread.

#include <gtkmm/menu.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/WidgetKit/WidgetFamily.hpp"

namespace host {

struct WindowMenu {
    struct Monitor {
        std::string name;
        bool isCurrent = false;
    };

    platform::WidgetFamily family;
    /// What is said at the top; nothing where it is empty.
    std::string remark = {};
    /// To choose from where there are several.
    std::vector<Monitor> monitors = {};

    std::function<void()> onReload;
    std::function<void(platform::WidgetFamily)> onFamily;
    std::function<void(const std::string&)> onMonitor;
    std::function<void()> onAccount;
    std::function<void()> onQuit;

    std::unique_ptr<Gtk::Menu> made() const;
};

}  // namespace host
