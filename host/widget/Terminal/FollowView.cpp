// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Terminal/FollowView.hpp"

#include <algorithm>
#include <optional>

#include "host/reader/LiveRemark.hpp"
#include "host/reader/PackageLine.hpp"
#include "host/reader/TerminalText.hpp"
#include "host/widget/Terminal/FollowHelp.hpp"
#include "host/widget/TerminalView.hpp"
#include "platform/Text/Text.hpp"
#include "presentation/DeepLink.hpp"

namespace host {

namespace {

/// With fewer rows each package has one line.
constexpr std::size_t fewestRowsForBlocks = 8;

constexpr std::string_view hint = "Enter opens, r reloads, ? shows all keys";
constexpr std::string_view signInHint = "To sign in: vela-companion sign-in, or Enter";
constexpr std::string_view scrollHint = "Down for more";

using Lines = std::vector<std::string>;

Lines linesOf(std::string_view text) {
    Lines lines;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

std::string styledAs(std::string_view parameters, const std::string& text, const TerminalStyle& style) {
    if (style.color == TerminalColor::none || text.empty()) return text;
    return "\x1b[" + std::string(parameters) + "m" + text + "\x1b[0m";
}

/// What marks the chosen package also where there is no colour.
std::string_view marker(bool isChosen) {
    return isChosen ? "> " : "  ";
}

struct PackageLines {
    const TerminalStyle& style;
    std::size_t rows;

    bool hasBlocks() const { return rows >= fewestRowsForBlocks; }

    Lines of(const presentation::Package& package, bool isChosen) const {
        return hasBlocks() ? block(package, isChosen) : Lines{line(package, isChosen)};
    }

    Lines block(const presentation::Package& package, bool isChosen) const {
        auto lines = linesOf(terminalView(package, style));
        for (auto& each : lines)
            if (each.starts_with("  ")) each.replace(0, 2, &each == &lines.front() ? marker(isChosen) : "  ");
        lines.emplace_back();
        return lines;
    }

    std::string line(const presentation::Package& package, bool isChosen) const {
        const auto room = style.columns - std::min(style.columns, marker(isChosen).size());
        const auto line =
            packageLine(terminalSafe(package.shopName()), terminalSafe(package.statusText().primary), room);
        const auto name = line.name.empty() ? line.name : line.name + std::string(PackageLine::between);
        const auto text = std::string(marker(isChosen)) + name + line.status;
        return isChosen ? styledAs("1", text, style) : text;
    }
};

/// From which package on the chosen one is on the screen, whole where it fits; as few lines as possible move.
std::size_t topThatShows(const std::vector<Lines>& packages, const FollowView& view, std::size_t rows) {
    const auto chosen = std::min(view.chosen, packages.size() - 1);
    auto top = std::min(view.top, chosen);
    const auto height = [&] {
        std::size_t lines = 0;
        for (auto index = top; index <= chosen; ++index) lines += packages[index].size();
        // The last line is an empty one.
        return lines - (packages[chosen].size() > 1 ? 1 : 0);
    };
    while (top < chosen && height() > rows) ++top;
    return top;
}

void addPackages(FollowScreen& screen, const presentation::PackageList& packages, const FollowView& view,
                 const TerminalStyle& style, std::size_t rows) {
    const PackageLines lines = {style, rows};
    std::vector<Lines> all;
    for (const auto& package : packages)
        all.push_back(lines.of(*package, all.size() == std::min(view.chosen, packages.size() - 1)));
    screen.top = topThatShows(all, view, rows);
    for (auto index = screen.top; index < all.size() && screen.lines.size() < rows; ++index) {
        ++screen.count;
        for (auto& line : all[index])
            if (screen.lines.size() < rows) screen.lines.push_back(std::move(line));
    }
}

Lines wordsOf(const LiveState& state, const TerminalStyle& style) {
    if (state.isPlaceholder) return {fittedToColumns("  Looking for your packages", style.columns)};
    return linesOf(terminalView(state.entry, style));
}

void addHelp(FollowScreen& screen, const FollowView& view, const TerminalStyle& style, std::size_t rows) {
    const auto lines = followHelp(style.columns, rows);
    screen.helpEnd = lines.size() - std::min(rows, lines.size());
    screen.helpTop = std::min(view.helpTop, screen.helpEnd);
    const auto first = lines.begin() + static_cast<Lines::difference_type>(screen.helpTop);
    screen.lines.assign(first, first + static_cast<Lines::difference_type>(std::min(rows, lines.size())));
}

std::string placeOf(const LiveState& state, const FollowView& view) {
    const auto packages = packagesShown(state);
    if (packages.empty()) return {};
    return std::to_string(std::min(view.chosen, packages.size() - 1) + 1) + "/" +
           std::to_string(packages.size());
}

/// What is said there, unless there is something to say.
std::string_view usualWords(const LiveState& state) {
    return isSignedOut(state) ? signInHint : hint;
}

std::string bottomLine(const LiveState& state, const FollowView& view, const TerminalStyle& style,
                       const FollowScreen& screen, platform::Date now) {
    const auto place = placeOf(state, view);
    const bool isHelpCut = screen.helpTop < screen.helpEnd;
    const auto said =
        isHelpCut ? std::string(scrollHint) : liveRemark(state, now).value_or(std::string(usualWords(state)));
    const auto& text = !view.note.empty() ? view.note : said;
    const auto room = style.columns > place.size() + 3 ? style.columns - place.size() - 3 : 0;
    auto line = "  " + fittedToColumns(text, room > 1 ? room - 2 : style.columns);
    const auto used = platform::terminalColumns(line);
    if (room > 0 && used <= room) line.append(style.columns - place.size() - 1 - used, ' ').append(place);
    return styledAs("2", fittedToColumns(line, style.columns), style);
}

}  // namespace

presentation::PackageList packagesShown(const LiveState& state) {
    const auto* signedIn = std::get_if<widget::LoggedIn>(&state.entry.widgetState);
    return signedIn && !state.isPlaceholder ? signedIn->packages : presentation::PackageList();
}

std::optional<std::string> linkShown(const LiveState& state, std::size_t chosen) {
    const auto packages = packagesShown(state);
    if (chosen < packages.size()) return packages[chosen]->deepLinkingUrl().absoluteString();
    if (state.isPlaceholder || !packages.empty()) return std::nullopt;
    const auto prompt =
        isSignedOut(state) ? presentation::DeepLink::homeOrders() : presentation::DeepLink::addDelivery();
    return prompt.absoluteString();
}

FollowScreen followScreen(const LiveState& state, const FollowView& view, const TerminalStyle& style,
                          std::size_t rows, platform::Date now) {
    FollowScreen screen;
    if (rows == 0) return screen;
    const auto body = rows - 1;
    const auto packages = packagesShown(state);
    if (view.showsHelp)
        addHelp(screen, view, style, body);
    else if (!packages.empty())
        addPackages(screen, packages, view, style, body);
    else
        screen.lines = wordsOf(state, style);
    screen.lines.resize(body);
    screen.lines.push_back(bottomLine(state, view, style, screen, now));
    return screen;
}

std::string clipboardSequence(std::string_view text) {
    // RFC 4648, section 4.
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string encoded;
    for (std::size_t index = 0; index < text.size(); index += 3) {
        const auto group = text.substr(index, 3);
        unsigned bits = 0;
        for (std::size_t place = 0; place < 3; ++place)
            bits = bits << 8 | (place < group.size() ? static_cast<unsigned char>(group[place]) : 0u);
        for (std::size_t place = 0; place < 4; ++place)
            encoded += place <= group.size() ? alphabet[bits >> (18 - 6 * place) & 0x3Fu] : '=';
    }
    return "\x1b]52;c;" + encoded + "\x1b\\";
}

}  // namespace host
