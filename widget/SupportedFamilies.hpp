// SPDX-License-Identifier: Apache-2.0

#pragma once

// The families that the widget declares. Plain values.

#include <array>

#include "platform/WidgetKit/WidgetFamily.hpp"

namespace widget {

/// In the order of the gallery, which offers the first.
inline constexpr std::array supportedFamilies = {
    platform::WidgetFamily::systemMedium,    platform::WidgetFamily::systemSmall,
    platform::WidgetFamily::systemLarge,     platform::WidgetFamily::accessoryRectangular,
    platform::WidgetFamily::accessoryInline,
};

}  // namespace widget
