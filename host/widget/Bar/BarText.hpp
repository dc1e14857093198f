// SPDX-License-Identifier: Apache-2.0

#pragma once

// Text in the forms that bars and shells read without mistaking any of it for an order. All take text that is
// safe to show. Pure functions, safe from any thread.

#include <cstddef>
#include <string>
#include <string_view>

#include "host/widget/Bar/BarContent.hpp"

namespace host {

/// What would begin a formatting tag gets a space in between, for there is no way to write it.
std::string polybarEscaped(std::string_view text);
/// For a tmux status line: neither a format nor a style.
std::string tmuxEscaped(std::string_view text);
/// For the command of a polybar action, which ends at the first colon that is not escaped.
std::string polybarCommand(std::string_view command);

/// Whether it has a letter that is written from right to left.
bool hasRightToLeft(std::string_view text);
/// Where it has one, `text` between isolates, so that nothing beside it changes its place.
std::string isolated(std::string_view text);

/// Whether the bar's own text layout knows bidirectional isolates.
enum class BarDirections { left, isolated };

/// "Name: status" in at most `columns` columns; the status comes first where there is not room for both.
std::string barText(const BarContent& content, std::size_t columns, BarDirections directions);
/// The status alone.
std::string shortBarText(const BarContent& content, std::size_t columns);
/// All packages and what is to be remarked, a line each, as Pango markup.
std::string barTooltip(const BarContent& content);

}  // namespace host
