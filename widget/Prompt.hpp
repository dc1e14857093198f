#pragma once

// What a widget without packages is made of: the app's mark, a few words, and what to do.

#include <string_view>
#include <vector>

#include "platform/SwiftUI/View.hpp"
#include "platform/WidgetKit/WidgetFamily.hpp"

namespace widget {

/// The logo at the top with something at the other end of its line, the rows at the bottom, at the leading
/// edge.
platform::View prompt(platform::ColorScheme colorScheme, const platform::View& besideLogo,
                      std::vector<platform::View> rows);

/// White words on the brand's colour, as wide as there is room.
platform::View promptButton(std::string_view title, platform::TextStyle font);

/// For a lock screen: the icon beside one text, at the leading edge or in one line in the middle.
platform::View accessoryPrompt(platform::ColorScheme colorScheme, std::string_view words);
platform::View inlinePrompt(std::string_view words);

}  // namespace widget
