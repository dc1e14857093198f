// SPDX-License-Identifier: Apache-2.0

#include "host/window/WindowPlacement.hpp"

#include <cairomm/region.h>
#include <gdkmm/display.h>
#include <gdkmm/screen.h>
#include <gtk-layer-shell/gtk-layer-shell.h>

#include <cmath>
#include <string_view>
#include <utility>

namespace host {

namespace {

int whole(double length) {
    return static_cast<int>(std::lround(length));
}

std::string makeAndModel(const Glib::RefPtr<Gdk::Monitor>& monitor) {
    const std::string manufacturer = monitor->get_manufacturer();
    const std::string model = monitor->get_model();
    if (manufacturer.empty() || model.empty()) return manufacturer + model;
    return manufacturer + " " + model;
}

void placeLayer(GtkWindow* window, const Glib::RefPtr<Gdk::Monitor>& monitor, drawing::Point place) {
    if (monitor && ::gtk_layer_get_monitor(window) != monitor->gobj())
        ::gtk_layer_set_monitor(window, monitor->gobj());
    ::gtk_layer_set_margin(window, GTK_LAYER_SHELL_EDGE_LEFT, whole(place.x));
    ::gtk_layer_set_margin(window, GTK_LAYER_SHELL_EDGE_TOP, whole(place.y));
}

void makeLayer(GtkWindow* window, GtkLayerShellLayer layer, GtkLayerShellKeyboardMode keyboard) {
    ::gtk_layer_init_for_window(window);
    ::gtk_layer_set_namespace(window, "vela-widget");
    ::gtk_layer_set_layer(window, layer);
    ::gtk_layer_set_anchor(window, GTK_LAYER_SHELL_EDGE_LEFT, TRUE);
    ::gtk_layer_set_anchor(window, GTK_LAYER_SHELL_EDGE_TOP, TRUE);
    ::gtk_layer_set_keyboard_mode(window, keyboard);
}

/// Follows the pointer, which does not meet it.
class Likeness : public Gtk::Window {
  public:
    Likeness(drawing::Size size, WindowPlacement::Paint paint) : paint_(std::move(paint)) {
        makeLayer(gobj(), GTK_LAYER_SHELL_LAYER_TOP, GTK_LAYER_SHELL_KEYBOARD_MODE_NONE);
        set_app_paintable(true);
        if (const auto visual = get_screen()->get_rgba_visual())
            ::gtk_widget_set_visual(GTK_WIDGET(gobj()), visual->gobj());
        set_size_request(whole(size.width), whole(size.height));
        signal_realize().connect(
            [this] { get_window()->input_shape_combine_region(Cairo::Region::create(), 0, 0); });
    }

  protected:
    bool on_draw(const Cairo::RefPtr<Cairo::Context>& context) override {
        constexpr double opacity = 0.8;
        context->set_operator(Cairo::OPERATOR_SOURCE);
        context->set_source_rgba(0, 0, 0, 0);
        context->paint();
        context->set_operator(Cairo::OPERATOR_OVER);
        context->push_group();
        paint_(context);
        context->pop_group_to_source();
        context->paint_with_alpha(opacity);
        return true;
    }

  private:
    WindowPlacement::Paint paint_;
};

/// Above the wallpaper, below every window.
class LayerPlacement : public WindowPlacement {
  public:
    explicit LayerPlacement(Gtk::Window& window) : window_(window.gobj()) {
        const bool isChosenByThePerson = ::gtk_layer_get_protocol_version() >= 4;
        makeLayer(window_, GTK_LAYER_SHELL_LAYER_BOTTOM,
                  isChosenByThePerson ? GTK_LAYER_SHELL_KEYBOARD_MODE_ON_DEMAND
                                      : GTK_LAYER_SHELL_KEYBOARD_MODE_NONE);
        if (isChosenByThePerson) return;
        // Older protocols have no such word. What takes keys is a window among windows there once it stands
        // below them, but would have the keyboard as soon as it is seen.
        window.add_events(Gdk::ENTER_NOTIFY_MASK);
        window.signal_enter_notify_event().connect([window = window_](const GdkEventCrossing*) {
            ::gtk_layer_set_keyboard_mode(window, GTK_LAYER_SHELL_KEYBOARD_MODE_EXCLUSIVE);
            return false;
        });
    }

    bool movesAtOnce() const override { return false; }
    bool endsWithItsMonitor() const override { return true; }

    void carry(const Glib::RefPtr<Gdk::Monitor>& monitor, drawing::Point place, drawing::Size size,
               const Paint& paint) override {
        if (!likeness_) likeness_ = std::make_unique<Likeness>(size, paint);
        placeLayer(likeness_->gobj(), monitor, place);
        likeness_->show();
    }

    void move(const Glib::RefPtr<Gdk::Monitor>& monitor, drawing::Point place) override {
        const bool isUnseen = monitor && ::gtk_widget_get_mapped(GTK_WIDGET(window_)) && !isOn(monitor);
        placeLayer(window_, monitor, place);
        likeness_.reset();
        if (!isUnseen) return;
        // For what nobody sees no frame is due, and only with a frame is a compositor told of another place.
        ::gtk_widget_hide(GTK_WIDGET(window_));
        ::gtk_widget_show(GTK_WIDGET(window_));
    }

    /// A layer's window does not know where it is on the screen.
    drawing::Point pointer(drawing::Point inWindow, drawing::Point, drawing::Point window) const override {
        return window + inWindow;
    }

  private:
    /// Whether the place that the compositor knows is on that monitor, as large as that is now.
    bool isOn(const Glib::RefPtr<Gdk::Monitor>& monitor) const {
        const auto area = freeArea(monitor).size;
        return ::gtk_layer_get_margin(window_, GTK_LAYER_SHELL_EDGE_LEFT) < area.width &&
               ::gtk_layer_get_margin(window_, GTK_LAYER_SHELL_EDGE_TOP) < area.height;
    }

    GtkWindow* window_;
    std::unique_ptr<Likeness> likeness_;
};

class DesktopPlacement : public WindowPlacement {
  public:
    explicit DesktopPlacement(Gtk::Window& window) : window_(window) {
        window.set_type_hint(Gdk::WINDOW_TYPE_HINT_DESKTOP);
        window.set_keep_below(true);
        window.stick();
    }

    void move(const Glib::RefPtr<Gdk::Monitor>& monitor, drawing::Point place) override {
        const auto corner = monitor ? cornerOf(monitor) : drawing::Point();
        window_.move(whole(corner.x + place.x), whole(corner.y + place.y));
    }

    std::optional<drawing::Point> found() const override {
        int x = 0;
        int y = 0;
        window_.get_position(x, y);
        return drawing::Point{double(x), double(y)};
    }

  private:
    Gtk::Window& window_;
};

/// Where there are none the library warns of it, and a desktop without layers is as good as any.
bool hasLayers() {
    const auto silent = [](const char*, GLogLevelFlags, const char*, gpointer) {};
    const auto handler = ::g_log_set_handler(nullptr, G_LOG_LEVEL_WARNING, silent, nullptr);
    const bool isSupported = ::gtk_layer_is_supported();
    ::g_log_remove_handler(nullptr, handler);
    return isSupported;
}

class CompositorsPlacement : public WindowPlacement {
  public:
    bool isChosen() const override { return false; }
    void move(const Glib::RefPtr<Gdk::Monitor>&, drawing::Point) override {}
};

}  // namespace

drawing::Point WindowPlacement::pointer(drawing::Point, drawing::Point onScreen, drawing::Point) const {
    return onScreen;
}

void WindowPlacement::carry(const Glib::RefPtr<Gdk::Monitor>& monitor, drawing::Point place, drawing::Size,
                            const Paint&) {
    move(monitor, place);
}

std::unique_ptr<WindowPlacement> WindowPlacement::of(Gtk::Window& window) {
    window.set_skip_taskbar_hint(true);
    window.set_skip_pager_hint(true);
    const std::string_view display = G_OBJECT_TYPE_NAME(Gdk::Display::get_default()->gobj());
    if (display == "GdkX11Display") return std::make_unique<DesktopPlacement>(window);
    if (hasLayers()) return std::make_unique<LayerPlacement>(window);
    return std::make_unique<CompositorsPlacement>();
}

std::vector<Glib::RefPtr<Gdk::Monitor>> allMonitors() {
    const auto display = Gdk::Display::get_default();
    std::vector<Glib::RefPtr<Gdk::Monitor>> monitors;
    for (int index = 0; index < display->get_n_monitors(); ++index)
        if (auto monitor = display->get_monitor(index)) monitors.push_back(std::move(monitor));
    return monitors;
}

std::string monitorName(const Glib::RefPtr<Gdk::Monitor>& monitor) {
    const auto name = makeAndModel(monitor);
    // Of twins, the second is another.
    int ordinal = 1;
    for (const auto& other : allMonitors()) {
        if (other == monitor) break;
        if (makeAndModel(other) == name) ++ordinal;
    }
    return ordinal == 1 ? name : name + " #" + std::to_string(ordinal);
}

Glib::RefPtr<Gdk::Monitor> monitorNamed(const std::string& name) {
    for (const auto& monitor : allMonitors())
        if (monitorName(monitor) == name) return monitor;
    return {};
}

Glib::RefPtr<Gdk::Monitor> mainMonitor() {
    if (const auto primary = Gdk::Display::get_default()->get_primary_monitor()) return primary;
    const auto monitors = allMonitors();
    return monitors.empty() ? Glib::RefPtr<Gdk::Monitor>() : monitors.front();
}

drawing::Rect freeArea(const Glib::RefPtr<Gdk::Monitor>& monitor) {
    Gdk::Rectangle whole;
    Gdk::Rectangle left;
    monitor->get_geometry(whole);
    monitor->get_workarea(left);
    return {{double(left.get_x() - whole.get_x()), double(left.get_y() - whole.get_y())},
            {double(left.get_width()), double(left.get_height())}};
}

drawing::Point cornerOf(const Glib::RefPtr<Gdk::Monitor>& monitor) {
    Gdk::Rectangle area;
    monitor->get_geometry(area);
    return {double(area.get_x()), double(area.get_y())};
}

}  // namespace host
