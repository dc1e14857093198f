// SPDX-License-Identifier: Apache-2.0

#pragma once

// Text from a server, made fit for a terminal. Pure functions, safe from any thread.

#include <string>
#include <string_view>

#include "platform/Text/Text.hpp"

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

using platform::fittedToColumns;
using platform::longestCharacter;

}  // namespace host
