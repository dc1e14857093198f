// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a widget without packages is made of: the app's mark, a few words, and what to do.

#include <string_view>
#include <vector>

#include "drawing/Views/View.hpp"
#include "platform/WidgetKit/WidgetFamily.hpp"

namespace widget {

/// The logo at the top, the rows at the bottom, at the leading edge.
drawing::View prompt(drawing::ColorScheme colorScheme, std::vector<drawing::View> rows);

/// The same in less height: the words at the top, the logo beside the button at the bottom.
drawing::View lowPrompt(drawing::ColorScheme colorScheme, const drawing::View& words,
                        const drawing::View& button);

drawing::View promptWords(std::string_view words, drawing::TextStyle font);

/// White words on the brand's colour, as wide as there is room.
drawing::View promptButton(std::string_view title, drawing::TextStyle font);

/// For a lock screen: the logo above one text, or beside it in one line.
drawing::View accessoryPrompt(drawing::ColorScheme colorScheme, std::string_view words);
drawing::View inlinePrompt(drawing::ColorScheme colorScheme, std::string_view words,
                           drawing::TextSize textSize);

}  // namespace widget
