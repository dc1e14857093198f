// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Bar/BarText.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "host/reader/PackageLine.hpp"
#include "host/reader/TerminalText.hpp"
#include "platform/Text/Markup.hpp"
#include "presentation/Wording.hpp"

namespace host {

namespace {

constexpr std::string_view leftToRightMark = "\u200E";
constexpr std::string_view firstStrongIsolate = "\u2068";
constexpr std::string_view popIsolate = "\u2069";
constexpr std::size_t tooltipColumns = 60;

struct Replacement {
    std::string_view text;
    std::string_view by;
};

template <std::size_t count>
std::string replaced(std::string_view text, const std::array<Replacement, count>& replacements) {
    std::string result;
    while (!text.empty()) {
        const auto found = std::find_if(replacements.begin(), replacements.end(),
                                        [&](const auto& each) { return text.starts_with(each.text); });
        const bool isFound = found != replacements.end();
        result.append(isFound ? found->by : text.substr(0, 1));
        text.remove_prefix(isFound ? found->text.size() : 1);
    }
    return result;
}

/// The code point that well-formed UTF-8 begins with, and its bytes.
std::pair<char32_t, std::size_t> firstCodePoint(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text[0]);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    char32_t point = length == 1 ? lead : lead & (0x7Fu >> length);
    for (const char each : text.substr(1, length - 1))
        point = point << 6 | (static_cast<unsigned char>(each) & 0x3Fu);
    return {point, length};
}

/// The blocks that Unicode sets apart for scripts of that direction.
bool isRightToLeft(char32_t point) {
    constexpr std::array<std::pair<char32_t, char32_t>, 5> blocks = {
        {{0x0590, 0x08FF}, {0xFB1D, 0xFDFF}, {0xFE70, 0xFEFE}, {0x10800, 0x10FFF}, {0x1E800, 0x1EFFF}}};
    return std::any_of(blocks.begin(), blocks.end(),
                       [&](const auto& block) { return point >= block.first && point <= block.second; });
}

std::string joined(const std::string& first, std::string_view between, const std::string& second) {
    if (first.empty() || second.empty()) return first + second;
    return std::string(first).append(between).append(second);
}

std::string tooltipLine(const BarPackage& package) {
    const auto status = joined(package.primary, ", ", package.secondary);
    return joined(
        "<b>" + platform::escapedForMarkup(isolated(fittedToColumns(package.name, tooltipColumns))) + "</b>",
        ": ", platform::escapedForMarkup(isolated(fittedToColumns(status, tooltipColumns))));
}

}  // namespace

std::string polybarEscaped(std::string_view text) {
    return replaced<1>(text, {{{"%{", "% {"}}});
}

std::string tmuxEscaped(std::string_view text) {
    return replaced<1>(text, {{{"#", "##"}}});
}

std::string polybarCommand(std::string_view command) {
    return replaced<1>(command, {{{":", "\\:"}}});
}

bool hasRightToLeft(std::string_view text) {
    while (!text.empty()) {
        const auto [point, length] = firstCodePoint(text);
        if (isRightToLeft(point)) return true;
        text.remove_prefix(std::min(length, text.size()));
    }
    return false;
}

std::string isolated(std::string_view text) {
    if (!hasRightToLeft(text)) return std::string(text);
    // Without the mark Pango takes the direction of the line from what is isolated.
    return std::string(leftToRightMark).append(firstStrongIsolate).append(text).append(popIsolate);
}

std::string shortBarText(const BarContent& content, std::size_t columns) {
    const auto* package = content.shownPackage();
    if (!package) return fittedToColumns(content.words, columns);
    const auto& text = !package->primary.empty() ? package->primary : package->name;
    // A bar hides what is empty.
    return fittedToColumns(text.empty() ? presentation::Wording::widgetName : text, columns);
}

std::string barText(const BarContent& content, std::size_t columns, BarDirections directions) {
    const auto fence = [&](const std::string& text) {
        return directions == BarDirections::isolated ? isolated(text) : text;
    };
    const auto* package = content.shownPackage();
    const auto line = package ? packageLine(package->name, package->primary, columns) : PackageLine();
    if (line.name.empty()) return fence(shortBarText(content, columns));
    return fence(line.name).append(PackageLine::between).append(fence(line.status));
}

std::string barTooltip(const BarContent& content) {
    std::string text;
    for (const auto& package : content.packages)
        text.append(text.empty() ? "" : "\n").append(tooltipLine(package));
    if (text.empty())
        text = platform::escapedForMarkup(content.moreWords.empty() ? content.words : content.moreWords);
    if (content.remark)
        text.append("\n\n<i>").append(platform::escapedForMarkup(*content.remark)).append("</i>");
    return text;
}

}  // namespace host
