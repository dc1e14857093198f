// SPDX-License-Identifier: Apache-2.0

#pragma once

// The shapes in which a host shows widgets. `other` stands for any family that a later host may add.

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace platform {

enum class WidgetFamily {
    systemSmall,
    systemMedium,
    systemLarge,
    systemExtraLarge,
    accessoryCircular,
    accessoryRectangular,
    accessoryInline,
    other,
};

inline constexpr std::array allWidgetFamilies = {
    WidgetFamily::systemSmall,       WidgetFamily::systemMedium,
    WidgetFamily::systemLarge,       WidgetFamily::systemExtraLarge,
    WidgetFamily::accessoryCircular, WidgetFamily::accessoryRectangular,
    WidgetFamily::accessoryInline,   WidgetFamily::other,
};
static_assert(allWidgetFamilies.size() == std::size_t(WidgetFamily::other) + 1);

/// The platform's textual description of a family: the name of its case.
std::string_view description(WidgetFamily family);
/// The family of that description; nothing for any other text. `other` has none.
std::optional<WidgetFamily> widgetFamily(std::string_view description);

}  // namespace platform
