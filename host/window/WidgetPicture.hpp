// SPDX-License-Identifier: Apache-2.0

#pragma once

// A drawing as pixels that a window can show. Pure, safe from any thread.

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace host {

struct WidgetPicture {
    int width = 0;
    int height = 0;
    /// Blue, green, red and alpha in each word (0xAARRGGBB), multiplied by alpha; rows from the top.
    std::vector<std::uint32_t> pixels = {};

    bool operator==(const WidgetPicture&) const = default;
};

/// Nothing for what is no PNG, is cut off, or is larger than any drawing.
std::optional<WidgetPicture> widgetPicture(std::string_view png);

}  // namespace host
