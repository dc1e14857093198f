// SPDX-License-Identifier: Apache-2.0

#pragma once

// Text from a server, made fit for a terminal. Pure functions, safe from any thread.

#include <cstddef>
#include <string>
#include <string_view>

namespace host {

/// `text` on one line and without anything a terminal would obey: control characters become spaces,
/// bidirectional overrides and isolates vanish, ill-formed UTF-8 becomes U+FFFD.
std::string terminalSafe(std::string_view text);

/// The same, of each line of a text.
std::string terminalSafeLines(std::string_view text);

/// JSON and XML that say the same with everything of that kind escaped: both let DEL, the C1 controls and
/// bidirectional controls stand.
std::string terminalSafeJSON(std::string_view json);
std::string terminalSafeXML(std::string_view xml);

/// The longest that one character may be: room for a letter under the thirty marks of UAX #15's stream-safe
/// text, each of four bytes, and for any emoji.
inline constexpr std::size_t longestCharacter = 128;

/// `text` in at most `columns` columns, whole characters only, cut with an ellipsis where it is longer. What
/// a character, with all that stands in its place without a width of its own, has beyond `longestCharacter`
/// bytes is dropped.
std::string fittedToColumns(std::string_view text, std::size_t columns);

}  // namespace host
