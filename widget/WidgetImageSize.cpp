// SPDX-License-Identifier: Apache-2.0

#include "widget/WidgetImageSize.hpp"

#include <cmath>

#include "platform/Log/Logger.hpp"

namespace widget {

std::optional<WidgetImageSize> widgetImageSize(int rawValue) {
    const auto size = static_cast<WidgetImageSize>(rawValue);
    switch (size) {
        case WidgetImageSize::small:
        case WidgetImageSize::medium:
        case WidgetImageSize::large:
        case WidgetImageSize::extraLarge: return size;
    }
    return std::nullopt;
}

std::int64_t pixelSize(WidgetImageSize size, double scale) {
    constexpr double beyondRange = 0x1p63;
    const double pixels = std::trunc(points(size) * scale);
    if (!std::isfinite(pixels) || pixels < -beyondRange || pixels >= beyondRange) {
        platform::fatalError("A picture's size in pixels is out of range");
    }
    return static_cast<std::int64_t>(pixels);
}

}  // namespace widget
