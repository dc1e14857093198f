// SPDX-License-Identifier: Apache-2.0

#pragma once

// The sizes, in points, of the squares in which pictures stand. Pure. The way back from a number and the size
// in pixels are part of the interface, although nothing here calls them yet.

#include <cstdint>
#include <optional>

namespace widget {

enum class WidgetImageSize { small = 32, medium = 44, large = 56, extraLarge = 64 };

/// The size of that many points; nothing for any other number.
std::optional<WidgetImageSize> widgetImageSize(int rawValue);

constexpr double points(WidgetImageSize size) {
    return static_cast<double>(size);
}

/// Pixels of a side on a display of `scale` pixels to a point, truncated. A number that is not finite or has
/// no place in 64 bits stops the process.
std::int64_t pixelSize(WidgetImageSize size, double scale);

}  // namespace widget
