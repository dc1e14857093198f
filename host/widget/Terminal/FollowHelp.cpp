// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Terminal/FollowHelp.hpp"

#include <array>
#include <sstream>
#include <string_view>

#include "platform/Text/Text.hpp"

namespace host {

namespace {

struct HelpRow {
    std::string_view keys;
    std::string_view words;
};

constexpr std::array helpTable = {
    HelpRow{"Up, Down, j, k", "choose a package"},
    HelpRow{"PageUp, PageDown", "a screen on"},
    HelpRow{"Home, End", "first and last"},
    HelpRow{"Enter, o", "open it"},
    HelpRow{"y, c", "copy its link"},
    HelpRow{"r", "reload"},
    HelpRow{"?", "this help"},
    HelpRow{"q, Esc, Ctrl-C", "quit"},
};
constexpr std::size_t helpMargin = 2;
constexpr std::size_t keyColumns = 18;
constexpr std::size_t wordColumns = 16;
constexpr std::size_t rowColumns = helpMargin + keyColumns + wordColumns;
constexpr std::size_t halfOfThem = (helpTable.size() + 1) / 2;

static_assert([] {
    for (const auto& row : helpTable)
        if (row.keys.size() + 2 > keyColumns || row.words.size() > wordColumns) return false;
    return true;
}());

std::string helpLine(const HelpRow& row) {
    std::string line(helpMargin, ' ');
    line.append(row.keys).append(keyColumns - row.keys.size(), ' ').append(row.words);
    return line;
}

std::vector<std::string> helpSideBySide() {
    std::vector<std::string> lines;
    for (std::size_t index = 0; index < halfOfThem; ++index) {
        auto line = helpLine(helpTable[index]);
        line.append(rowColumns - line.size(), ' ');
        if (index + halfOfThem < helpTable.size()) line.append(helpLine(helpTable[index + halfOfThem]));
        lines.push_back(std::move(line));
    }
    return lines;
}

void addNarrowHelp(std::vector<std::string>& lines, const HelpRow& row, std::size_t columns) {
    const auto sentence = std::string(helpMargin, ' ').append(row.keys).append(": ").append(row.words);
    std::istringstream wrapped(platform::wrappedToColumns(sentence, columns));
    for (std::string line; std::getline(wrapped, line);)
        lines.push_back(platform::fittedToColumns(line, columns));
}

}  // namespace

std::vector<std::string> followHelp(std::size_t columns, std::size_t rows) {
    if (rows < helpTable.size() && columns >= 2 * rowColumns) return helpSideBySide();
    std::vector<std::string> lines;
    for (const auto& row : helpTable)
        if (columns >= rowColumns)
            lines.push_back(helpLine(row));
        else
            addNarrowHelp(lines, row, columns);
    return lines;
}

}  // namespace host
