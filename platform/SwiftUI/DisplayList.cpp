#include "platform/SwiftUI/DisplayList.hpp"

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <cmath>

#include "platform/JSON/JSONSerialization.hpp"
#include "platform/SwiftUI/Layout.hpp"

namespace platform {
namespace {

/// The last pass of layout: every edge goes to the nearest pixel, so that what touched still touches. Text
/// keeps its whole width, lest it break where it did not when it was measured: its far edge goes outward.
class PixelGrid {
  public:
    explicit PixelGrid(double scale) : scale_(scale) {}

    Rect snapped(Rect frame) const {
        const Point origin{nearest(frame.left()), nearest(frame.top())};
        return {origin, {nearest(frame.right()) - origin.x, nearest(frame.bottom()) - origin.y}};
    }
    Rect snappedText(Rect frame) const {
        const Point origin{nearest(frame.left()), nearest(frame.top())};
        return {origin, {outward(frame.size.width), outward(frame.size.height)}};
    }

  private:
    /// Sums of lengths that should meet a pixel's edge may miss it by this much of a pixel.
    static constexpr double tolerance = 1e-6;

    double nearest(double length) const { return std::floor(length * scale_ + 0.5 + tolerance) / scale_; }
    double outward(double length) const { return std::ceil(length * scale_ - tolerance) / scale_; }

    double scale_;
};

class Flattening {
  public:
    explicit Flattening(DisplayList& list, double scale) : list_(list), grid_(scale) {}

    void add(const Layout& layout, Point origin) {
        std::visit(
            [&](const auto& kind) {
                visit(layout, {origin, layout.size}, kind);
            },
            layout.view.element().kind);
    }

  private:
    void children(const Layout& layout, Point origin) {
        for (const PlacedLayout& child : layout.children) add(*child.layout, origin + child.origin);
    }

    template <class Item>
    void item(const Layout& layout, Rect frame, Item kind) {
        const ColorScheme scheme = layout.inherited.colorScheme.value_or(list_.colorScheme);
        list_.items.push_back({frame, std::move(kind), scheme, clips_});
    }

    void visit(const Layout& layout, Rect frame, const element::Text& text) {
        if (text.words.empty()) return;
        const InheritedValues& inherited = layout.inherited;
        const TextStyle style = inherited.font.value_or(TextStyle::body);
        const FontWeight weight = inherited.fontWeight.value_or(metrics(style).weight);
        item(layout, grid_.snappedText(frame),
             TextItem{{text.words, style, weight, layout.lineLimit, layout.textScale},
                      inherited.foregroundColor.value_or(Color::primary()),
                      inherited.textAlignment.value_or(HorizontalAlignment::leading)});
    }
    void visit(const Layout& layout, Rect frame, const element::AssetImage& image) {
        item(layout, grid_.snapped(frame), AssetItem{image.name});
    }
    void visit(const Layout& layout, Rect frame, const element::BitmapImage& image) {
        item(layout, grid_.snapped(frame), PictureItem{image.source, image.bitmap, image.contentMode});
    }
    void visit(const Layout& layout, Rect frame, const element::Rectangle& rectangle) {
        item(layout, grid_.snapped(frame), RectangleItem{rectangle.color});
    }
    void visit(const Layout& layout, Rect frame, const element::Divider& divider) {
        item(layout, grid_.snapped(frame), RectangleItem{divider.color});
    }
    void visit(const Layout& layout, Rect frame, const element::RoundedRectangle& rectangle) {
        item(layout, grid_.snapped(frame),
             RoundedRectangleItem{rectangle.cornerRadius, rectangle.color, rectangle.strokeWidth});
    }
    void visit(const Layout& layout, Rect frame, const element::LinearGradient& gradient) {
        item(layout, grid_.snapped(frame), LinearGradientItem{gradient.colors});
    }
    void visit(const Layout& layout, Rect frame, const element::Clipped& clipped) {
        clips_.push_back({grid_.snapped(frame), clipped.cornerRadius});
        children(layout, frame.origin);
        clips_.pop_back();
    }
    void visit(const Layout& layout, Rect frame, const element::Linked& linked) {
        children(layout, frame.origin);
        const bool isWhole = linked.reach == element::Reach::widget;
        list_.links.push_back({isWhole ? list_.container.frame : grid_.snapped(frame), linked.url});
    }
    template <class Other>
    void visit(const Layout& layout, Rect frame, const Other&) {
        children(layout, frame.origin);
    }

    DisplayList& list_;
    PixelGrid grid_;
    std::vector<Shape> clips_;
};

/// The background that a view or one around which it is wrapped has declared; nothing when none has.
const View* containerBackground(const Layout& layout) {
    if (const auto* container = std::get_if<element::OnContainer>(&layout.view.element().kind)) {
        return &container->background;
    }
    for (const PlacedLayout& child : layout.children) {
        if (const View* background = containerBackground(*child.layout)) return background;
    }
    return nullptr;
}

// --- As JSON

/// Four digits of a point are finer than any pixel, and whole numbers are written as such.
boost::json::value number(double length) {
    const double rounded = std::round(length * 10'000) / 10'000;
    if (rounded == std::floor(rounded) && std::abs(rounded) < 1e9) return static_cast<std::int64_t>(rounded);
    return rounded;
}

boost::json::value json(Rect frame) {
    return boost::json::object{{"x", number(frame.left())},
                               {"y", number(frame.top())},
                               {"width", number(frame.size.width)},
                               {"height", number(frame.size.height)}};
}

std::string_view name(ColorScheme scheme) {
    switch (scheme) {
        case ColorScheme::light: return "light";
        case ColorScheme::dark: return "dark";
    }
    return {};
}

std::string_view name(ContentMode mode) {
    switch (mode) {
        case ContentMode::fit: return "fit";
        case ContentMode::fill: return "fill";
    }
    return {};
}

void write(boost::json::object& object, const Color& color) {
    object["color"] = color.name();
    if (color.opacity() != 1) object["opacity"] = number(color.opacity());
}

void write(boost::json::object& object, const LinearGradientItem& gradient) {
    boost::json::array stops;
    for (const Color& color : gradient.stops) stops.push_back(boost::json::string(color.name()));
    object["kind"] = "linearGradient";
    object["stops"] = std::move(stops);
}
void write(boost::json::object& object, const RoundedRectangleItem& rectangle) {
    object["kind"] = "roundedRectangle";
    object["cornerRadius"] = number(rectangle.cornerRadius);
    write(object, rectangle.color);
    if (rectangle.strokeWidth) object["stroke"] = number(*rectangle.strokeWidth);
}
void write(boost::json::object& object, const RectangleItem& rectangle) {
    object["kind"] = "rectangle";
    write(object, rectangle.color);
}
void write(boost::json::object& object, const TextItem& text) {
    object["kind"] = "text";
    object["text"] = text.run.text;
    object["textStyle"] = metrics(text.run.style).name;
    object["weight"] = name(text.run.weight);
    if (text.run.lineLimit > 0) object["lineLimit"] = text.run.lineLimit;
    if (text.run.scale != 1) object["scale"] = number(text.run.scale);
    write(object, text.color);
}
void write(boost::json::object& object, const AssetItem& asset) {
    object["kind"] = "image";
    object["asset"] = asset.name;
    object["contentMode"] = name(ContentMode::fit);
}
void write(boost::json::object& object, const PictureItem& picture) {
    object["kind"] = "image";
    object["url"] = picture.url.absoluteString();
    object["contentMode"] = name(picture.contentMode);
}

}  // namespace

DisplayList displayList(const View& view, const WidgetContainer& container, const TextMeasurer& measurer) {
    DisplayList list{container.family, container.colorScheme, {{{}, container.size}, container.cornerRadius}};
    Flattening flattening(list, container.scale);

    const Rect room = list.container.frame.insetBy(container.contentMargin);
    const auto content =
        layout(view, {std::max(0.0, room.size.width), std::max(0.0, room.size.height)}, measurer);

    const View* background = containerBackground(*content);
    if (background && container.background == WidgetContainer::Background::shown) {
        const Proposal whole{container.size.width, container.size.height};
        flattening.add(*layout(*background, whole, measurer, content->inherited), {});
    }
    flattening.add(*content, {room.origin.x + (room.size.width - content->size.width) / 2,
                              room.origin.y + (room.size.height - content->size.height) / 2});
    return list;
}

std::string displayListJSON(const DisplayList& list) {
    boost::json::array items;
    for (const DisplayItem& item : list.items) {
        boost::json::object object{{"frame", json(item.frame)}};
        std::visit([&](const auto& kind) { write(object, kind); }, item.kind);
        if (item.colorScheme != list.colorScheme) object["colorScheme"] = name(item.colorScheme);
        items.push_back(std::move(object));
    }
    boost::json::array links;
    for (const DisplayLink& link : list.links) {
        links.push_back(boost::json::object{{"frame", json(link.frame)}, {"url", link.url.absoluteString()}});
    }
    const Size size = list.container.frame.size;
    return JSONSerialization::dataWithJSONObject(
        boost::json::object{
            {"colorScheme", name(list.colorScheme)},
            {"family", description(list.family)},
            {"items", std::move(items)},
            {"links", std::move(links)},
            {"size", boost::json::object{{"width", number(size.width)}, {"height", number(size.height)}}},
        },
        JSONKeyOrder::ascendingBytes);
}

}  // namespace platform
