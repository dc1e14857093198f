#pragma once

// Text from a server, made fit for a terminal. Pure functions, safe from any thread.

#include <cstddef>
#include <string>
#include <string_view>

namespace host {

/// `text` on one line and without anything a terminal would obey: control characters become spaces,
/// bidirectional overrides and isolates vanish, ill-formed UTF-8 becomes U+FFFD.
std::string terminalSafe(std::string_view text);

/// JSON and XML that say the same with everything of that kind escaped: both let DEL, the C1 controls and
/// bidirectional controls stand.
std::string terminalSafeJSON(std::string_view json);
std::string terminalSafeXML(std::string_view xml);

/// `text` in at most `columns` columns, whole characters only, cut with an ellipsis where it is longer.
std::string fittedToColumns(std::string_view text, std::size_t columns);

}  // namespace host
