// SPDX-License-Identifier: Apache-2.0

#include "host/reader/PackageLine.hpp"

#include "host/reader/TerminalText.hpp"
#include "platform/Text/Text.hpp"

namespace host {

PackageLine packageLine(std::string_view name, std::string_view status, std::size_t columns) {
    // Of less nobody could tell whose it is.
    constexpr std::size_t shortestName = 4;
    PackageLine line = {.name = {}, .status = fittedToColumns(status.empty() ? name : status, columns)};
    const auto taken = platform::terminalColumns(line.status) + PackageLine::between.size();
    if (!status.empty() && taken + shortestName <= columns)
        line.name = fittedToColumns(name, columns - taken);
    return line;
}

}  // namespace host
