// SPDX-License-Identifier: Apache-2.0

#include "drawing/Painters/DisplayListJSON.hpp"

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <cmath>
#include <string_view>

#include "platform/JSON/JSONSerialization.hpp"

namespace drawing {
namespace {

/// Four digits of a point are finer than any pixel, and whole numbers are written as such.
boost::json::value numberValue(double length) {
    const double rounded = std::round(length * 10'000) / 10'000;
    if (rounded == std::floor(rounded) && std::abs(rounded) < 1e9) return static_cast<std::int64_t>(rounded);
    return rounded;
}

boost::json::value json(Rect frame) {
    return boost::json::object{{"x", numberValue(frame.left())},
                               {"y", numberValue(frame.top())},
                               {"width", numberValue(frame.size.width)},
                               {"height", numberValue(frame.size.height)}};
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
}

void write(boost::json::object& object, const LinearGradientItem& gradient) {
    boost::json::array stops;
    for (const Color& color : gradient.stops) stops.push_back(boost::json::string(color.name()));
    object["kind"] = "linearGradient";
    object["stops"] = std::move(stops);
}
void write(boost::json::object& object, const RoundedRectangleItem& rectangle) {
    object["kind"] = "roundedRectangle";
    object["cornerRadius"] = numberValue(rectangle.cornerRadius);
    write(object, rectangle.color);
    if (rectangle.strokeWidth) object["stroke"] = numberValue(*rectangle.strokeWidth);
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
    if (text.run.textSize != TextSize::large) object["textSize"] = drawing::name(text.run.textSize);
    if (text.run.lineLimit > 0) object["lineLimit"] = text.run.lineLimit;
    if (text.run.scale != 1) object["scale"] = numberValue(text.run.scale);
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
    boost::json::object object{
        {"colorScheme", name(list.colorScheme)},
        {"family", description(list.family)},
        {"items", std::move(items)},
        {"links", std::move(links)},
        {"size",
         boost::json::object{{"width", numberValue(size.width)}, {"height", numberValue(size.height)}}},
    };
    if (list.layoutDirection == LayoutDirection::rightToLeft) object["layoutDirection"] = "rightToLeft";
    return platform::JSONSerialization::dataWithJSONObject(object, platform::JSONKeyOrder::ascendingBytes);
}

}  // namespace drawing
