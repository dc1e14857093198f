// SPDX-License-Identifier: Apache-2.0

#pragma once

// How a window comes to stand on the desktop, and where: each kind of desktop has its own way. For the main
// loop's thread.

#include <cairomm/context.h>
#include <gdkmm/monitor.h>
#include <gtkmm/window.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "widget/DrawingRequest.hpp"

namespace host {

class WindowPlacement {
  public:
    using Paint = std::function<void(const Cairo::RefPtr<Cairo::Context>&)>;

    /// For the desktop at hand, of a window that was not shown yet and outlives this: the desktop's layer
    /// under a Wayland compositor that has layers, the desktop's own kind of window under X, else a window
    /// like others, whose place is the compositor's to choose.
    static std::unique_ptr<WindowPlacement> of(Gtk::Window& window);
    virtual ~WindowPlacement() = default;

    /// Whether the window's place is ours to choose.
    virtual bool isChosen() const { return true; }
    /// Whether a move is seen before the pointer's next step. Compositors do not agree on where a pointer is
    /// in a layer that moves beneath it: what is dragged there is a likeness, until it is put down.
    virtual bool movesAtOnce() const { return true; }
    /// Whether the desktop closes a window whose monitor goes.
    virtual bool endsWithItsMonitor() const { return false; }
    /// Shows where the window would stand; `paint` paints its likeness. Until the next `move`.
    virtual void carry(const Glib::RefPtr<Gdk::Monitor>& monitor, drawing::Point place, drawing::Size size,
                       const Paint& paint);
    /// In points, from the monitor's corner.
    virtual void move(const Glib::RefPtr<Gdk::Monitor>& monitor, drawing::Point place) = 0;
    /// Where the window is on the screen, in points, whoever moved it; nothing where nobody can tell.
    virtual std::optional<drawing::Point> found() const { return std::nullopt; }
    /// Where the pointer of an event in the window is, in points that do not move along with the window.
    /// `window` is where the window was when the button was pressed.
    virtual drawing::Point pointer(drawing::Point inWindow, drawing::Point onScreen,
                                   drawing::Point window) const;
};

std::vector<Glib::RefPtr<Gdk::Monitor>> allMonitors();
/// What a monitor is remembered by: its maker and model, or what the display has in their place.
std::string monitorName(const Glib::RefPtr<Gdk::Monitor>& monitor);
/// Of that name; nothing where it is not there.
Glib::RefPtr<Gdk::Monitor> monitorNamed(const std::string& name);
/// The main one; nothing where there is none at all.
Glib::RefPtr<Gdk::Monitor> mainMonitor();
/// In points, from the monitor's corner: what panels leave.
drawing::Rect freeArea(const Glib::RefPtr<Gdk::Monitor>& monitor);
/// In points, on the screen.
drawing::Point cornerOf(const Glib::RefPtr<Gdk::Monitor>& monitor);

}  // namespace host
