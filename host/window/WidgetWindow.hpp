// SPDX-License-Identifier: Apache-2.0

#pragma once

// The widget on the desktop: a window without a frame that shows the live host's picture in one family, and
// is dragged, resized from family to family, clicked, and walked through by the keyboard. For the main loop's
// thread.

#include <gtkmm/window.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "host/window/DesktopWatch.hpp"
#include "host/window/WidgetArea.hpp"
#include "host/window/WidgetFeed.hpp"
#include "host/window/WindowFamilies.hpp"
#include "host/window/WindowPlacement.hpp"
#include "host/window/WindowPlaces.hpp"

namespace host {

class WidgetWindow : public Gtk::Window {
  public:
    struct Options {
        platform::WidgetFamily family = platform::WidgetFamily::systemMedium;
        /// Whose `run` is the live host.
        std::filesystem::path program;
        /// Absent where nothing is remembered.
        std::optional<WindowPlaces> places = std::nullopt;
        /// The person wants no window any more.
        std::function<void()> onQuit;
        /// There will be nothing to show; `why` says so to a person.
        std::function<void(const std::string& why)> onFailure;
    };

    explicit WidgetWindow(Options options);
    ~WidgetWindow() override;

  protected:
    bool on_button_press_event(GdkEventButton* event) override;
    bool on_button_release_event(GdkEventButton* event) override;
    bool on_motion_notify_event(GdkEventMotion* event) override;
    bool on_key_press_event(GdkEventKey* event) override;
    bool on_delete_event(GdkEventAny* event) override;

  private:
    /// What a pressed button has hold of.
    struct Press {
        drawing::Point inWindow;
        drawing::Point pointer;
        drawing::Point place;
        drawing::Size size;
        platform::WidgetFamily family;
        WindowEdges edges;
        bool isDragging = false;
    };

    void take(const std::shared_ptr<const ShownWidget>& shown);
    void say(const std::string& remark);
    void lose(const std::string& why);
    void want();
    void appear();
    void cutOut();
    void stand();
    void standOn(const Glib::RefPtr<Gdk::Monitor>& monitor);
    void moveTo(drawing::Point place);
    void settle();
    void find();
    void remember();
    void write();
    void drag(const Press& press, drawing::Point pointer);
    void letGo();
    bool pressKey(const GdkEventKey& event);
    bool moveByKey(const GdkEventKey& event);
    void chooseFamily(platform::WidgetFamily family, WindowEdges held = {});
    WindowEdges edgesUnder(drawing::Point point) const;
    void showPointer(drawing::Point point);
    void open(const std::string& link);
    void popUp(const GdkEvent* event);

    Options options_;
    WidgetArea area_;
    std::unique_ptr<WindowPlacement> placement_;
    DesktopWatch desktop_;
    WantedDrawing wanted_;
    Glib::RefPtr<Gdk::Monitor> monitor_;
    /// In points, from the monitor's corner.
    drawing::Point place_;
    /// The edges by which the family was chosen that is to come.
    WindowEdges held_;
    std::optional<Press> press_;
    std::string pointerName_;
    std::string remark_;
    bool hasAppeared_ = false;
    bool hasComplainedOfPlaces_ = false;
    sigc::connection writing_;
    std::unique_ptr<Gtk::Menu> menu_;
    std::unique_ptr<WidgetFeed> feed_;
};

}  // namespace host
