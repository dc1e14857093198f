// SPDX-License-Identifier: Apache-2.0

#pragma once

// How the desktop wants things drawn, now and at every change: from the settings portal where there is one,
// else from the toolkit's settings. For the main loop's thread.

#include <giomm/dbusproxy.h>
#include <gtkmm/settings.h>
#include <sigc++/trackable.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "host/window/WindowAppearance.hpp"

namespace host {

class DesktopWatch : public sigc::trackable {
  public:
    /// `onChange` is told when the appearance has become another one.
    explicit DesktopWatch(std::function<void()> onChange);
    ~DesktopWatch();
    DesktopWatch(const DesktopWatch&) = delete;
    DesktopWatch& operator=(const DesktopWatch&) = delete;

    WindowAppearance appearance() const { return appearance_; }

  private:
    WindowAppearance lookedUp() const;
    void look();
    void usePortal(const Glib::RefPtr<Gio::AsyncResult>& result);
    void ask(const char* key);
    void hear(const Glib::ustring& signal, Glib::VariantContainerBase arguments);
    void take(const std::string& key, const Glib::VariantBase& value);

    std::function<void()> onChange_;
    Glib::RefPtr<Gtk::Settings> settings_;
    Glib::RefPtr<Gio::DBus::Proxy> portal_;
    Glib::RefPtr<Gio::Cancellable> end_ = Gio::Cancellable::create();
    std::optional<std::uint32_t> portalColorScheme_;
    std::optional<std::uint32_t> portalContrast_;
    WindowAppearance appearance_;
};

}  // namespace host
