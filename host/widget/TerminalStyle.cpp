// SPDX-License-Identifier: Apache-2.0

#include "host/widget/TerminalStyle.hpp"

#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>

#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/Text/Text.hpp"

namespace host {

namespace {

std::size_t terminalWidth(int descriptor) {
    winsize size = {};
    if (::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    if (const auto columns = platform::environmentVariable("COLUMNS")) {
        std::size_t value = 0;
        const auto parsed = std::from_chars(columns->data(), columns->data() + columns->size(), value);
        if (parsed.ec == std::errc() && value > 0 && value < 10'000) return value;
    }
    return TerminalStyle().columns;
}

TerminalColor colorFromEnvironment() {
    // https://no-color.org: set and not empty.
    if (const auto noColor = platform::environmentVariable("NO_COLOR"); noColor && !noColor->empty())
        return TerminalColor::none;
    const auto depth = platform::environmentVariable("COLORTERM").value_or("");
    return depth == "truecolor" || depth == "24bit" ? TerminalColor::trueColor : TerminalColor::sixteen;
}

}  // namespace

std::string wrappedForTerminal(std::string_view text, int descriptor) {
    if (::isatty(descriptor) == 0) return std::string(text);
    return platform::wrappedToColumns(text, terminalWidth(descriptor));
}

bool isCapableTerminal(int descriptor) {
    const auto kind = platform::environmentVariable("TERM").value_or("dumb");
    return ::isatty(descriptor) != 0 && kind != "dumb" && !kind.empty();
}

TerminalStyle TerminalStyle::ofDescriptor(int descriptor) {
    TerminalStyle style = {.columns = terminalWidth(descriptor)};
    if (!isCapableTerminal(descriptor)) return style;
    style.color = colorFromEnvironment();
    style.links = TerminalLinks::hyperlinks;
    return style;
}

}  // namespace host
