// SPDX-License-Identifier: Apache-2.0

#pragma once

// Questions about UTF-8 text that need Unicode's tables. A "character" is what a reader perceives as one: an
// extended grapheme cluster (UAX #29). Pure functions, safe from any thread; ill-formed bytes are read as
// U+FFFD.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

std::size_t characterCount(std::string_view text);

/// The characters of `text` in order; the views point into `text`.
std::vector<std::string_view> characters(std::string_view text);

/// Lower case by the locale-independent mapping.
std::string lowercased(std::string_view text);

/// `text` with its first character in lower case and the rest unchanged.
std::string lowercasingFirstCharacter(std::string_view text);

bool isValidUTF8(std::string_view text);

/// Columns of a terminal that `text` takes: wide and emoji characters two, combining marks none, control
/// characters none (UAX #11).
std::size_t terminalColumns(std::string_view text);

/// The longest that one character may be: room for a letter under the thirty marks of UAX #15's stream-safe
/// text, each of four bytes, and for any emoji.
inline constexpr std::size_t longestCharacter = 128;

/// `text` in at most `columns` columns, whole characters only, cut with an ellipsis where it is longer. What
/// a character, with all that stands in its place without a width of its own, has beyond `longestCharacter`
/// bytes is dropped.
std::string fittedToColumns(std::string_view text, std::size_t columns);

/// Each line of `text` in lines of at most `columns` columns, broken where blanks stand: these are left out,
/// and what follows stands two columns further in than its line. A word that is longer than that stays whole.
std::string wrappedToColumns(std::string_view text, std::size_t columns);

}  // namespace platform
