// SPDX-License-Identifier: Apache-2.0

#include "host/window/WidgetWindow.hpp"

#include <gdkmm/applaunchcontext.h>
#include <gdkmm/cursor.h>
#include <gdkmm/display.h>
#include <gdkmm/screen.h>
#include <giomm/appinfo.h>
#include <giomm/file.h>
#include <glibmm/main.h>

#include <string_view>
#include <utility>

#include "host/window/WindowMenu.hpp"
#include "platform/Files/TrustedFolder.hpp"
#include "platform/Streams/Streams.hpp"
#include "platform/Text/ASCII.hpp"
#include "presentation/DeepLink.hpp"
#include "presentation/Wording.hpp"

namespace host {

namespace {

/// In points: what an arrow key moves a window by, and with Shift.
constexpr double keyStep = 16;
constexpr double smallKeyStep = 1;
/// So long a window stands still before its place is written down.
constexpr unsigned writingDelay = 400;

void postToMainLoop(std::function<void()> act) {
    auto* call = new std::function<void()>(std::move(act));
    ::g_idle_add_full(
        G_PRIORITY_DEFAULT,
        [](gpointer data) -> gboolean {
            (*static_cast<std::function<void()>*>(data))();
            return G_SOURCE_REMOVE;
        },
        call, [](gpointer data) { delete static_cast<std::function<void()>*>(data); });
}

const char* pointerFor(WindowEdges edges) {
    if ((edges.left && edges.top) || (edges.right && edges.bottom)) return "nwse-resize";
    if ((edges.left && edges.bottom) || (edges.right && edges.top)) return "nesw-resize";
    return edges.left || edges.right ? "ew-resize" : "ns-resize";
}

/// The compositor's leave for what a click opens to come to the front.
std::string activationToken(const Glib::RefPtr<Gdk::Display>& display) {
    const std::string_view kind = G_OBJECT_TYPE_NAME(display->gobj());
    // Of X the token would be a note that something starts, which the companion does not end.
    if (kind != "GdkWaylandDisplay") return {};
    try {
        const auto program =
            Gio::AppInfo::create_from_commandline("vela-companion", "Vela", Gio::APP_INFO_CREATE_NONE);
        return display->get_app_launch_context()->get_startup_notify_id(
            program, std::vector<Glib::RefPtr<Gio::File>>());
    } catch (const Glib::Error&) {
        return {};
    }
}

drawing::Point placeOf(const GdkEventButton& event) {
    return {event.x, event.y};
}

}  // namespace

WidgetWindow::WidgetWindow(Options options)
    : options_(std::move(options)),
      area_([this](const std::string& link) { open(link); }),
      placement_(WindowPlacement::of(*this)),
      desktop_([this] { want(); }) {
    set_title(std::string(presentation::Wording::widgetName));
    set_decorated(false);
    set_resizable(false);
    set_app_paintable(true);
    set_focus_on_map(false);
    if (const auto visual = get_screen()->get_rgba_visual())
        ::gtk_widget_set_visual(GTK_WIDGET(gobj()), visual->gobj());
    add_events(Gdk::BUTTON_PRESS_MASK | Gdk::BUTTON_RELEASE_MASK | Gdk::POINTER_MOTION_MASK);
    add(area_);
    area_.show();
    wanted_.family = options_.family;
    property_scale_factor().signal_changed().connect([this] { want(); });
    get_screen()->signal_monitors_changed().connect([this] { stand(); });
    get_screen()->signal_composited_changed().connect([this] { cutOut(); });
    signal_map().connect([this] { cutOut(); });
    feed_ = std::make_unique<WidgetFeed>(
        options_.program, postToMainLoop,
        WidgetFeed::Listener{.onShown = [this](const auto& shown) { take(shown); },
                             .onEmptied =
                                 [this] {
                                     area_.empty();
                                     menu_.reset();
                                 },
                             .onRemark = [this](const std::string& remark) { say(remark); },
                             .onLost = [this](const std::string& why) { lose(why); }});
    want();
}

WidgetWindow::~WidgetWindow() {
    if (writing_.connected()) write();
}

void WidgetWindow::want() {
    wanted_.appearance = desktop_.appearance();
    wanted_.scale = get_scale_factor();
    if (!area_.isShowing() && !hasAppeared_) area_.await(wanted_);
    feed_->want(wanted_);
}

void WidgetWindow::take(const std::shared_ptr<const ShownWidget>& shown) {
    const drawing::Rect before = {place_, area_.size()};
    area_.present(shown);
    const bool isOther = hasAppeared_ && before.size != area_.size();
    cutOut();
    if (isOther) {
        moveTo(heldOrigin(before, held_, area_.size()));
        if (!press_) settle();
    }
    appear();
}

void WidgetWindow::say(const std::string& remark) {
    remark_ = remark;
    if (!remark_.empty()) remark_.front() = platform::uppercasedASCII(remark_.front());
    area_.set_tooltip_text(remark_);
    area_.get_accessible()->set_description(remark_);
    appear();
}

/// What is shown stays true as of its time.
void WidgetWindow::lose(const std::string& why) {
    if (!hasAppeared_ || !area_.isShowing()) return options_.onFailure(why);
    platform::printError("vela-widget-window", why);
    say(why);
}

void WidgetWindow::appear() {
    if (std::exchange(hasAppeared_, true)) return;
    stand();
    show();
    // The first Tab leads to the first link.
    unset_focus();
    // Some window managers look at a place only once there is a window.
    stand();
}

/// The window ends where its picture does, also for the pointer.
void WidgetWindow::cutOut() {
    const auto window = get_window();
    if (!window) return;
    const auto outline = area_.outline();
    window->input_shape_combine_region(outline, 0, 0);
    if (get_screen()->is_composited())
        ::gdk_window_shape_combine_region(window->gobj(), nullptr, 0, 0);
    else
        window->shape_combine_region(outline, 0, 0);
}

/// Where it stood last, as far as that monitor is there.
void WidgetWindow::stand() {
    const auto memory = options_.places ? options_.places->read() : WindowMemory();
    const auto history = memory.windows.find(area_.family().family);
    auto monitor = history == memory.windows.end() ? Glib::RefPtr<Gdk::Monitor>()
                                                   : monitorNamed(history->second.monitor);
    if (!monitor) monitor = mainMonitor();
    if (monitor) standOn(monitor);
}

void WidgetWindow::standOn(const Glib::RefPtr<Gdk::Monitor>& monitor) {
    monitor_ = monitor;
    const auto memory = options_.places ? options_.places->read() : WindowMemory();
    const auto family = area_.family().family;
    const auto area = freeArea(monitor);
    auto place = firstPlace(area, family);
    if (const auto history = memory.windows.find(family); history != memory.windows.end())
        if (const auto found = history->second.places.find(monitorName(monitor));
            found != history->second.places.end())
            place = found->second;
    moveTo(placeWithin(area, area_.size(), place));
}

void WidgetWindow::moveTo(drawing::Point place) {
    place_ = place;
    placement_->move(monitor_, place);
}

/// Whole on the monitor that its middle is on, and for good.
void WidgetWindow::settle() {
    if (!monitor_ || !placement_->isChosen()) return remember();
    const auto size = area_.size();
    if (placement_->found()) {
        const auto corner = cornerOf(monitor_);
        const auto middle = corner + place_ + drawing::Point{size.width / 2, size.height / 2};
        const auto under = Gdk::Display::get_default()->get_monitor_at_point(static_cast<int>(middle.x),
                                                                             static_cast<int>(middle.y));
        if (under && under != monitor_) {
            const auto other = cornerOf(under);
            place_ = {corner.x + place_.x - other.x, corner.y + place_.y - other.y};
            monitor_ = under;
        }
    }
    moveTo(placeWithin(freeArea(monitor_), size, place_));
    remember();
}

/// Others move windows too.
void WidgetWindow::find() {
    const auto found = placement_->found();
    if (!found || !monitor_) return;
    const auto corner = cornerOf(monitor_);
    place_ = {found->x - corner.x, found->y - corner.y};
}

void WidgetWindow::remember() {
    writing_.disconnect();
    writing_ = Glib::signal_timeout().connect(
        [this] {
            write();
            return false;
        },
        writingDelay);
}

void WidgetWindow::write() {
    if (!options_.places || !monitor_) return;
    try {
        options_.places->remember(area_.family().family, monitorName(monitor_), place_);
    } catch (const platform::FileError& error) {
        if (std::exchange(hasComplainedOfPlaces_, true)) return;
        platform::printError("vela-widget-window",
                             std::string("where the window stands is not kept: ") + error.what());
    }
}

bool WidgetWindow::on_button_press_event(GdkEventButton* event) {
    if (event->type != GDK_BUTTON_PRESS) return true;
    if (::gdk_event_triggers_context_menu(reinterpret_cast<GdkEvent*>(event))) {
        popUp(reinterpret_cast<GdkEvent*>(event));
        return true;
    }
    if (event->button != GDK_BUTTON_PRIMARY) return true;
    find();
    const auto point = placeOf(*event);
    press_ = Press{.inWindow = point,
                   .pointer = placement_->pointer(point, {event->x_root, event->y_root}, place_),
                   .place = place_,
                   .size = area_.size(),
                   .family = wanted_.family,
                   .edges = edgesUnder(point)};
    return true;
}

bool WidgetWindow::on_motion_notify_event(GdkEventMotion* event) {
    const drawing::Point point = {event->x, event->y};
    if (!press_) {
        showPointer(point);
        return true;
    }
    if (!press_->isDragging &&
        !drag_check_threshold(static_cast<int>(press_->inWindow.x), static_cast<int>(press_->inWindow.y),
                              static_cast<int>(point.x), static_cast<int>(point.y)))
        return true;
    if (!placement_->isChosen() && !press_->edges.any()) {
        press_.reset();
        begin_move_drag(GDK_BUTTON_PRIMARY, static_cast<int>(event->x_root), static_cast<int>(event->y_root),
                        event->time);
        return true;
    }
    press_->isDragging = true;
    drag(*press_, placement_->pointer(point, {event->x_root, event->y_root}, press_->place));
    return true;
}

void WidgetWindow::drag(const Press& press, drawing::Point pointer) {
    const drawing::Point by = {pointer.x - press.pointer.x, pointer.y - press.pointer.y};
    if (press.edges.any()) {
        const bool wouldMove = press.edges.left || press.edges.top;
        if (wouldMove && press_ && !placement_->movesAtOnce()) return;
        return chooseFamily(familyNearest(draggedSize(press.size, press.edges, by)).family, press.edges);
    }
    place_ = press.place + by;
    placement_->carry(monitor_, place_, area_.size(), [this](const auto& context) { area_.paint(context); });
}

bool WidgetWindow::on_button_release_event(GdkEventButton* event) {
    if (event->button != GDK_BUTTON_PRIMARY || !press_) return true;
    const auto press = *std::exchange(press_, std::nullopt);
    const auto point = placeOf(*event);
    if (press.isDragging) {
        drag(press, placement_->pointer(point, {event->x_root, event->y_root}, press.place));
        settle();
    } else if (const auto link = area_.linkAt(point)) {
        if (link == area_.linkAt(press.inWindow)) open(*link);
    }
    return true;
}

/// As if it had not been touched.
void WidgetWindow::letGo() {
    const auto press = *std::exchange(press_, std::nullopt);
    if (!press.isDragging) return;
    if (press.edges.any()) return chooseFamily(press.family, press.edges);
    moveTo(press.place);
}

bool WidgetWindow::on_key_press_event(GdkEventKey* event) {
    return pressKey(*event) || Gtk::Window::on_key_press_event(event);
}

bool WidgetWindow::pressKey(const GdkEventKey& event) {
    const auto modifiers = event.state & ::gtk_accelerator_get_default_mod_mask();
    const bool isControlled = modifiers == GDK_CONTROL_MASK;
    switch (event.keyval) {
        case GDK_KEY_q: return isControlled && (options_.onQuit(), true);
        case GDK_KEY_r: return isControlled && (feed_->reload(), true);
        case GDK_KEY_F5: return feed_->reload(), true;
        case GDK_KEY_Menu: return popUp(nullptr), true;
        case GDK_KEY_F10: return modifiers == GDK_SHIFT_MASK && (popUp(nullptr), true);
        case GDK_KEY_Escape:
            if (press_)
                letGo();
            else
                unset_focus();
            return true;
        default: return moveByKey(event);
    }
}

bool WidgetWindow::moveByKey(const GdkEventKey& event) {
    if (!placement_->isChosen()) return false;
    const double step = (event.state & GDK_SHIFT_MASK) != 0 ? smallKeyStep : keyStep;
    drawing::Point by;
    switch (event.keyval) {
        case GDK_KEY_Left: by.x = -step; break;
        case GDK_KEY_Right: by.x = step; break;
        case GDK_KEY_Up: by.y = -step; break;
        case GDK_KEY_Down: by.y = step; break;
        default: return false;
    }
    find();
    place_ = place_ + by;
    settle();
    return true;
}

bool WidgetWindow::on_delete_event(GdkEventAny*) {
    options_.onQuit();
    return true;
}

void WidgetWindow::chooseFamily(platform::WidgetFamily family, WindowEdges held) {
    if (wanted_.family == family) return;
    wanted_.family = family;
    held_ = held;
    want();
}

/// Where the window's place is not ours, the edges that would have it move are none.
WindowEdges WidgetWindow::edgesUnder(drawing::Point point) const {
    auto edges = edgesAt(point, area_.size());
    if (!placement_->isChosen()) edges.left = edges.top = false;
    return edges;
}

void WidgetWindow::showPointer(drawing::Point point) {
    const auto edges = edgesUnder(point);
    const char* name = edges.any() ? pointerFor(edges) : area_.linkAt(point) ? "pointer" : "default";
    if (std::exchange(pointerName_, name) == name) return;
    if (const auto window = get_window()) window->set_cursor(Gdk::Cursor::create(get_display(), name));
}

void WidgetWindow::open(const std::string& link) {
    feed_->open(link, activationToken(get_display()));
}

void WidgetWindow::popUp(const GdkEvent* event) {
    WindowMenu menu = {.family = wanted_.family,
                       .remark = remark_,
                       .onReload = [this] { feed_->reload(); },
                       .onFamily = [this](platform::WidgetFamily family) { chooseFamily(family); },
                       .onMonitor =
                           [this](const std::string& name) {
                               if (const auto monitor = monitorNamed(name)) standOn(monitor);
                               remember();
                           },
                       .onAccount = [this] { open(presentation::DeepLink::homeOrders().absoluteString()); },
                       .onQuit = options_.onQuit};
    if (placement_->isChosen())
        for (const auto& monitor : allMonitors())
            menu.monitors.push_back({.name = monitorName(monitor), .isCurrent = monitor == monitor_});
    menu_ = menu.made();
    menu_->attach_to_widget(*this);
    if (event)
        menu_->popup_at_pointer(event);
    else
        menu_->popup_at_widget(&area_, Gdk::GRAVITY_CENTER, Gdk::GRAVITY_CENTER, nullptr);
}

}  // namespace host
