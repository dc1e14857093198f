// SPDX-License-Identifier: Apache-2.0

#pragma once

// The page's markup: a template of the bundle's, and what changes in it. Pure functions, but for the zone of
// the process, which the hour is told in.

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/page/PageChoices.hpp"
#include "host/protocol/LiveState.hpp"
#include "platform/WidgetKit/WidgetFamily.hpp"

namespace host {

/// A family on the page, as it is drawn for each colour scheme.
struct PageWidget {
    platform::WidgetFamily family;
    /// SVG; empty where it could not be drawn.
    std::string light = {};
    /// Empty as well where the family stands on a ground of the page's own, whatever the scheme.
    std::string dark = {};
};

inline constexpr std::array homeScreenFamilies = {platform::WidgetFamily::systemSmall,
                                                  platform::WidgetFamily::systemMedium,
                                                  platform::WidgetFamily::systemLarge};
inline constexpr std::array lockScreenFamilies = {platform::WidgetFamily::accessoryInline,
                                                  platform::WidgetFamily::accessoryRectangular};

struct PageContents {
    const LiveState& state;
    /// Counts the states that the page has shown.
    std::uint64_t revision;
    PageChoices choices = {};
    std::vector<PageWidget> widgets = {};
};

/// Whether there is anything of a person in it.
bool holdsPackages(const LiveState& state);

/// `frame` with "{{name}}" replaced by what changes: scheme, schemes, textSize, textSizes, reload, remark,
/// revision and contents. What takes their places is not looked at again.
std::string pageDocument(std::string_view frame, const PageContents& contents, platform::Date now);

}  // namespace host
