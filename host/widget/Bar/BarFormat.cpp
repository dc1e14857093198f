// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Bar/BarFormat.hpp"

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>

#include "host/widget/Bar/BarText.hpp"
#include "host/widget/JSONLine.hpp"
#include "platform/Files/ShellWord.hpp"
#include "platform/Text/Markup.hpp"

namespace host {

namespace json = boost::json;

namespace {

/// Legible on light and on dark.
constexpr const char* quietColor = "#909090";

bool isQuiet(const BarContent& content) {
    return content.isStale || content.hasTrouble || content.barClass == BarClass::placeholder;
}

std::string oneLine(const json::object& object) {
    auto line = jsonLine(object);
    while (line.ends_with('\n')) line.pop_back();
    return line;
}

std::string markupText(const BarContent& content, const BarStyle& style) {
    return platform::escapedForMarkup(barText(content, style.columns, BarDirections::isolated));
}

std::string plainText(const BarContent& content, const BarStyle& style) {
    return barText(content, style.columns, BarDirections::left);
}

std::string openCommand(const std::string& link, const BarStyle& style) {
    return platform::shellQuoted(style.companion) + " open " + platform::shellQuoted(link);
}

std::string waybarOutput(const BarContent& content, const BarStyle& style) {
    json::array classes = {name(content.barClass)};
    if (content.isStale) classes.emplace_back("stale");
    if (content.hasTrouble) classes.emplace_back("trouble");
    const auto* package = content.shownPackage();
    return oneLine({{"text", markupText(content, style)},
                    {"alt", name(content.barClass)},
                    {"tooltip", barTooltip(content)},
                    {"class", classes},
                    {"percentage", package ? package->percentage : 0}}) +
           "\n";
}

/// A block of the i3bar protocol, version 1.
json::object block(const BarContent& content, const BarStyle& style) {
    json::object object = {
        {"full_text", markupText(content, style)},
        {"short_text", platform::escapedForMarkup(isolated(shortBarText(content, style.columns)))},
        {"markup", "pango"}};
    if (isQuiet(content)) object["color"] = quietColor;
    if (content.barClass == BarClass::attention) object["urgent"] = true;
    return object;
}

std::string i3barOutput(const BarContent& content, const BarStyle& style) {
    auto object = block(content, style);
    object["name"] = "vela";
    return "[" + oneLine(object) + "]" + (style.isFollowing ? ",\n" : "\n");
}

std::string i3blocksOutput(const BarContent& content, const BarStyle& style) {
    if (style.isJSON) return oneLine(block(content, style)) + "\n";
    auto text = plainText(content, style) + "\n";
    // A persistent block is read line by line, each a text of its own.
    if (style.isFollowing) return text;
    text.append(shortBarText(content, style.columns)).append("\n");
    if (isQuiet(content)) text.append(quietColor).append("\n");
    return text;
}

std::string polybarAction(int button, const std::string& command) {
    return "%{A" + std::to_string(button) + ":" + polybarCommand(command) + ":}";
}

std::string polybarOutput(const BarContent& content, const BarStyle& style) {
    auto text = polybarEscaped(plainText(content, style));
    const auto wrap = [&](int button, const std::string& command) {
        text = polybarAction(button, command).append(text).append("%{A}");
    };
    if (content.packages.size() > 1) {
        wrap(5, platform::shellQuoted(style.widget) + " bar --next");
        wrap(4, platform::shellQuoted(style.widget) + " bar --previous");
    }
    if (!content.link.empty()) wrap(1, openCommand(content.link, style));
    return text + "\n";
}

std::string genmonOutput(const BarContent& content, const BarStyle& style) {
    auto text = "<txt>" + markupText(content, style) + "</txt><tool>" + barTooltip(content) + "</tool>";
    // The plug-in reads no entities there, and runs it without a shell, but with a shell's quotes.
    if (!content.link.empty())
        text.append("<txtclick>").append(openCommand(content.link, style)).append("</txtclick>");
    return text + "\n";
}

}  // namespace

std::string barOpening(BarFormat format) {
    return format == BarFormat::i3bar ? "{\"version\":1,\"click_events\":true}\n[\n" : "";
}

std::string barClosing(BarFormat format) {
    return format == BarFormat::i3bar ? "]\n" : "";
}

std::string barOutput(const BarContent& content, const BarStyle& style) {
    switch (style.format) {
        case BarFormat::waybar: return waybarOutput(content, style);
        case BarFormat::i3bar: return i3barOutput(content, style);
        case BarFormat::i3blocks: return i3blocksOutput(content, style);
        case BarFormat::polybar: return polybarOutput(content, style);
        case BarFormat::tmux: return tmuxEscaped(plainText(content, style)) + "\n";
        case BarFormat::genmon: return genmonOutput(content, style);
        case BarFormat::plain: return plainText(content, style) + "\n";
    }
    return "";
}

}  // namespace host
