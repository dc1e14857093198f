// SPDX-License-Identifier: Apache-2.0

#include "host/sign-in-window/FittingScroller.hpp"

#include <algorithm>
#include <utility>

namespace host {

namespace {

/// For the frame that a desktop puts around a window; none has more at the sides.
constexpr int frameWidth = 12;
constexpr int frameHeight = 56;
/// Of which something can be read and clicked.
constexpr int leastHeight = 120;

}  // namespace

FittingScroller::FittingScroller(int width) : width_(width) {
    set_policy(Gtk::POLICY_AUTOMATIC, Gtk::POLICY_AUTOMATIC);
}

void FittingScroller::leaveRoomFor(Gtk::Widget& other) {
    other.signal_size_allocate().connect(
        [this](const Gtk::Allocation& allocation) { setHeightOfOther(allocation.get_height()); });
    other.signal_hide().connect([this] { setHeightOfOther(0); });
}

void FittingScroller::setHeightOfOther(int height) {
    if (std::exchange(heightOfOther_, height) != height) queue_resize();
}

Gdk::Rectangle FittingScroller::room() const {
    const auto display = Gdk::Display::get_default();
    const auto* top = get_toplevel();
    const auto window = top ? top->get_window() : Glib::RefPtr<const Gdk::Window>();
    auto monitor = display->get_primary_monitor();
    if (window)
        monitor = Glib::wrap(
            ::gdk_display_get_monitor_at_window(display->gobj(), const_cast<GdkWindow*>(window->gobj())),
            true);
    if (!monitor) monitor = display->get_monitor(0);
    Gdk::Rectangle area(0, 0, width_, width_);
    if (monitor) monitor->get_workarea(area);
    return {0, 0, std::max(1, area.get_width() - frameWidth), std::max(1, area.get_height() - frameHeight)};
}

int FittingScroller::widthOfPage() const {
    int least = 0;
    int natural = 0;
    if (const auto* page = get_child()) page->get_preferred_width(least, natural);
    return std::min(std::max({least, natural, width_}), room().get_width());
}

Gtk::SizeRequestMode FittingScroller::get_request_mode_vfunc() const {
    return Gtk::SIZE_REQUEST_HEIGHT_FOR_WIDTH;
}

void FittingScroller::get_preferred_width_vfunc(int& least, int& natural) const {
    least = natural = widthOfPage();
}

void FittingScroller::get_preferred_height_vfunc(int& least, int& natural) const {
    get_preferred_height_for_width_vfunc(widthOfPage(), least, natural);
}

void FittingScroller::get_preferred_height_for_width_vfunc(int width, int& least, int& natural) const {
    least = natural = 1;
    const auto* page = get_child();
    if (!page) return;
    int narrowest = 0;
    page->get_preferred_width(narrowest, natural);
    page->get_preferred_height_for_width(std::max(width, narrowest), least, natural);
    natural = std::min(natural, std::max(leastHeight, room().get_height() - heightOfOther_));
    least = std::min(natural, leastHeight);
}

void FittingScroller::get_preferred_width_for_height_vfunc(int, int& least, int& natural) const {
    get_preferred_width_vfunc(least, natural);
}

}  // namespace host
