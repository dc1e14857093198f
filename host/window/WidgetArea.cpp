// SPDX-License-Identifier: Apache-2.0

#include "host/window/WidgetArea.hpp"

#include <cairomm/context.h>
#include <cairomm/surface.h>
#include <gdkmm/general.h>
#include <gtkmm/drawingarea.h>
#include <gtkmm/linkbutton.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/Streams/Streams.hpp"

namespace host {

namespace {

using Context = Cairo::RefPtr<Cairo::Context>;

constexpr double groundRadius = 22;
constexpr double ringWidth = 2;
constexpr double ringRadius = 12;
/// In points: as far as a ring stands off what it is around, where there is room.
constexpr double ringDistance = 7;

void addRoundedRectangle(const Context& context, drawing::Rect frame, double radius) {
    constexpr double quarter = std::numbers::pi / 2;
    const double corner = std::min({radius, frame.size.width / 2, frame.size.height / 2});
    context->begin_new_sub_path();
    context->arc(frame.right() - corner, frame.top() + corner, corner, -quarter, 0);
    context->arc(frame.right() - corner, frame.bottom() - corner, corner, 0, quarter);
    context->arc(frame.left() + corner, frame.bottom() - corner, corner, quarter, 2 * quarter);
    context->arc(frame.left() + corner, frame.top() + corner, corner, 2 * quarter, 3 * quarter);
    context->close_path();
}

drawing::Rect withRoomForRing(drawing::Rect frame, drawing::Size window) {
    const auto wide = frame.insetBy(-ringDistance);
    const double left = std::max(wide.left(), 0.0);
    const double top = std::max(wide.top(), 0.0);
    return {{left, top},
            {std::min(wide.right(), window.width) - left, std::min(wide.bottom(), window.height) - top}};
}

drawing::Size sizeOf(const Gtk::Widget& widget) {
    return {double(widget.get_allocated_width()), double(widget.get_allocated_height())};
}

/// Two colours, so that it shows on whatever is drawn. Around the whole window it stands within the outline.
void drawRing(const Context& context, const Gtk::Widget& widget) {
    const auto size = sizeOf(widget);
    const bool isWhole = size == sizeOf(*widget.get_parent());
    const double distance = isWhole ? 4 : ringWidth / 2;
    const double radius = isWhole ? groundRadius - distance : ringRadius;
    const drawing::Rect whole = {{0, 0}, size};
    context->set_line_width(ringWidth);
    addRoundedRectangle(context, whole.insetBy(distance), radius);
    context->set_source_rgb(0.10, 0.37, 0.80);
    context->stroke();
    addRoundedRectangle(context, whole.insetBy(distance + ringWidth), radius - ringWidth);
    context->set_source_rgb(1, 1, 1);
    context->stroke();
}

/// Leaves the pointer to the window, which drags and clicks.
class SpotLink : public Gtk::LinkButton {
  public:
    SpotLink(const std::string& link, std::function<void(const std::string&)> onActivate)
        : Gtk::LinkButton(link, ""), onActivate_(std::move(onActivate)) {
        set_relief(Gtk::RELIEF_NONE);
        set_has_tooltip(false);
        drag_source_unset();
    }

  protected:
    bool on_activate_link() override {
        onActivate_(get_uri());
        return true;
    }
    void on_realize() override {
        Gtk::LinkButton::on_realize();
        ::gdk_window_set_pass_through(::gtk_button_get_event_window(Gtk::Button::gobj()), TRUE);
    }
    bool on_draw(const Context& context) override {
        if (has_visible_focus()) drawRing(context, *this);
        return true;
    }

    // The theme's button would be larger than the place.
    void get_preferred_width_vfunc(int& least, int& natural) const override { least = natural = 1; }
    void get_preferred_height_vfunc(int& least, int& natural) const override { least = natural = 1; }
    void get_preferred_width_for_height_vfunc(int, int& least, int& natural) const override {
        least = natural = 1;
    }
    void get_preferred_height_for_width_vfunc(int, int& least, int& natural) const override {
        least = natural = 1;
    }

  private:
    std::function<void(const std::string&)> onActivate_;
};

class SpotText : public Gtk::DrawingArea {
  public:
    SpotText() {
        set_has_window(false);
        set_can_focus(true);
    }

  protected:
    bool on_draw(const Context& context) override {
        if (has_visible_focus()) drawRing(context, *this);
        return true;
    }
};

bool countsFrames() {
    static const bool isWanted = platform::environmentVariable("VELA_WINDOW_FRAMES").has_value();
    return isWanted;
}

}  // namespace

WidgetArea::WidgetArea(std::function<void(const std::string&)> onActivate)
    : onActivate_(std::move(onActivate)) {
    get_accessible()->set_role(Atk::ROLE_PANEL);
}

void WidgetArea::present(std::shared_ptr<const ShownWidget> shown) {
    shown_ = std::move(shown);
    drawing_ = shown_->drawing;
    setSpots(shown_->content);
    const auto wanted = size();
    set_size_request(static_cast<int>(wanted.width), static_cast<int>(wanted.height));
    queue_draw();
}

void WidgetArea::empty() {
    shown_ = nullptr;
    setSpots({});
    queue_draw();
}

std::optional<std::string> WidgetArea::linkAt(drawing::Point point) const {
    return host::linkAt(spots_, {point.x - family().inset.width, point.y - family().inset.height});
}

void WidgetArea::setSpots(const WidgetContent& content) {
    if (spots_ == content) return;
    const auto focused = focusedLink();
    widgets_.clear();
    spots_ = content;
    const drawing::Point inset = {family().inset.width, family().inset.height};
    for (const auto& spot : spots_) {
        auto widget = spotWidget(spot);
        const auto place = withRoomForRing({spot.frame.origin + inset, spot.frame.size}, size());
        widget->set_size_request(static_cast<int>(std::round(place.size.width)),
                                 static_cast<int>(std::round(place.size.height)));
        put(*widget, static_cast<int>(std::round(place.left())), static_cast<int>(std::round(place.top())));
        widget->show();
        if (focused && spot.link == focused) widget->grab_focus();
        widgets_.push_back(std::move(widget));
    }
}

std::unique_ptr<Gtk::Widget> WidgetArea::spotWidget(const WidgetSpot& spot) const {
    std::unique_ptr<Gtk::Widget> widget;
    if (spot.link)
        widget = std::make_unique<SpotLink>(*spot.link, onActivate_);
    else
        widget = std::make_unique<SpotText>();
    widget->get_accessible()->set_role(spot.link ? Atk::ROLE_LINK : Atk::ROLE_LABEL);
    widget->get_accessible()->set_name(spot.words);
    return widget;
}

std::optional<std::string> WidgetArea::focusedLink() const {
    for (std::size_t index = 0; index < widgets_.size(); ++index)
        if (widgets_[index]->has_focus()) return spots_[index].link;
    return std::nullopt;
}

bool WidgetArea::on_draw(const Context& context) {
    if (countsFrames()) platform::printError("vela-widget-window", "frame");
    context->save();
    context->set_operator(Cairo::OPERATOR_SOURCE);
    context->set_source_rgba(0, 0, 0, 0);
    context->paint();
    context->restore();
    context->save();
    paint(context);
    context->restore();
    return Gtk::Fixed::on_draw(context);
}

void WidgetArea::paint(const Context& context) const {
    if (!shown_ || !family().hasGroundOfItsOwn()) paintGround(context);
    if (!shown_) return;
    const auto& picture = shown_->picture;
    // Cairo reads them only.
    auto* pixels = reinterpret_cast<unsigned char*>(const_cast<std::uint32_t*>(picture.pixels.data()));
    const auto surface = Cairo::ImageSurface::create(pixels, Cairo::FORMAT_ARGB32, picture.width,
                                                     picture.height, 4 * picture.width);
    context->translate(family().inset.width, family().inset.height);
    context->scale(family().size.width / picture.width, family().size.height / picture.height);
    context->set_source(surface, 0, 0);
    context->paint();
}

void WidgetArea::paintGround(const Context& context) const {
    const bool isDark = drawing_.appearance.colorScheme == drawing::ColorScheme::dark;
    const double level = isDark ? 26.0 / 255 : 1;
    addRoundedRectangle(context, {{0, 0}, size()}, groundRadius);
    context->set_source_rgb(level, level, level);
    context->fill();
}

Cairo::RefPtr<Cairo::Region> WidgetArea::outline() const {
    const auto surface = Cairo::ImageSurface::create(Cairo::FORMAT_ARGB32, static_cast<int>(size().width),
                                                     static_cast<int>(size().height));
    paint(Cairo::Context::create(surface));
    return Gdk::Cairo::create_region_from_surface(surface);
}

}  // namespace host
