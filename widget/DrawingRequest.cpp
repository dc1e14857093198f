// SPDX-License-Identifier: Apache-2.0

#include "widget/DrawingRequest.hpp"

namespace widget {

std::string_view name(DrawingFormat format) {
    switch (format) {
        case DrawingFormat::png: return "png";
        case DrawingFormat::svg: return "svg";
        case DrawingFormat::tree: return "tree";
        case DrawingFormat::text: return "text";
    }
    return "";
}

std::string_view name(drawing::ColorScheme colorScheme) {
    switch (colorScheme) {
        case drawing::ColorScheme::light: return "light";
        case drawing::ColorScheme::dark: return "dark";
    }
    return "";
}

std::string_view name(PictureReading reading) {
    switch (reading) {
        case PictureReading::allowed: return "allowed";
        case PictureReading::placeholdersOnly: return "placeholdersOnly";
    }
    return "";
}

drawing::Size DrawingRequest::smallestSize(platform::WidgetFamily family) {
    switch (family) {
        case platform::WidgetFamily::systemMedium: return {290, 120};
        case platform::WidgetFamily::systemLarge: return {290, 140};
        case platform::WidgetFamily::accessoryRectangular: return {146, 52};
        case platform::WidgetFamily::accessoryInline: return {152, 20};
        case platform::WidgetFamily::systemSmall:
        case platform::WidgetFamily::systemExtraLarge:
        case platform::WidgetFamily::accessoryCircular:
        case platform::WidgetFamily::other: return {158, 146};
    }
    return {};
}

bool DrawingRequest::isTint(std::string_view text) {
    return text.size() == 7 && text.front() == '#' &&
           text.find_first_not_of("0123456789abcdefABCDEF", 1) == std::string_view::npos;
}

bool DrawingRequest::isWithinBounds(drawing::Size size, double scale) {
    const auto isUsable = [](double side) { return side >= 1 && side <= longestSide; };
    return isUsable(size.width) && isUsable(size.height) &&
           size.width * size.height * scale * scale <= mostPixels;
}

}  // namespace widget
