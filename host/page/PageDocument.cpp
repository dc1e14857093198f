// SPDX-License-Identifier: Apache-2.0

#include "host/page/PageDocument.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <variant>

#include "host/reader/LiveRemark.hpp"
#include "host/reader/TerminalText.hpp"
#include "platform/Text/ASCII.hpp"
#include "platform/Text/Markup.hpp"
#include "presentation/SpokenPackage.hpp"
#include "widget/WidgetState.hpp"

namespace host {

namespace {

using drawing::ColorScheme;
using drawing::TextSize;
using platform::WidgetFamily;
using Places = std::map<std::string_view, std::string>;

/// For contents and attributes alike, on one line and without control characters.
std::string markup(std::string_view text) {
    return platform::escapedForMarkup(terminalSafe(text));
}

std::string filled(std::string_view frame, const Places& places) {
    std::string text;
    for (auto mark = frame.find("{{"); mark != std::string_view::npos; mark = frame.find("{{")) {
        const auto end = frame.find("}}", mark);
        text.append(frame.substr(0, mark)).append(places.at(frame.substr(mark + 2, end - mark - 2)));
        frame.remove_prefix(end + 2);
    }
    return text.append(frame);
}

std::string option(std::string_view value, std::string_view words, bool isChosen,
                   const std::string& attributes = {}) {
    return "<option value=\"" + std::string(value) + "\"" + attributes + (isChosen ? " selected" : "") + ">" +
           std::string(words) + "</option>";
}

std::string schemeOptions(const PageChoices& choices) {
    return option("system", "as the system", !choices.scheme) +
           option("light", "light", choices.scheme == ColorScheme::light) +
           option("dark", "dark", choices.scheme == ColorScheme::dark);
}

constexpr std::string_view inWords(TextSize size) {
    switch (size) {
        case TextSize::xSmall: return "smallest";
        case TextSize::small: return "small";
        case TextSize::medium: return "medium";
        case TextSize::large: return "usual";
        case TextSize::xLarge: return "large";
        case TextSize::xxLarge: return "larger";
        case TextSize::xxxLarge: return "very large";
        case TextSize::accessibility1: return "huge 1";
        case TextSize::accessibility2: return "huge 2";
        case TextSize::accessibility3: return "huge 3";
        case TextSize::accessibility4: return "huge 4";
        case TextSize::accessibility5: return "huge 5";
    }
    return {};
}

/// Each says its factor, by which the page finds the one of the browser's own text size.
std::string textSizeOptions(const PageChoices& choices) {
    std::string options = option("system", "as the system", !choices.textSize);
    for (const auto size : drawing::allTextSizes) {
        std::array<char, 32> factor{};
        std::snprintf(factor.data(), factor.size(), " data-factor=\"%.2f\"", drawing::factor(size));
        options += option(drawing::name(size), inWords(size), choices.textSize == size, factor.data());
    }
    return options;
}

std::string drawn(const std::string& svg) {
    return svg.empty() ? "<p class=\"undrawn\">It cannot be drawn now.</p>" : svg;
}

std::string drawnWidget(const PageWidget& widget) {
    const std::string family(platform::description(widget.family));
    const auto opening = [&](const std::string& scheme) {
        return "<div class=\"widget " + family + scheme + "\" data-part=\"" + family + scheme + "\">";
    };
    const bool isOfOneScheme = std::ranges::count(lockScreenFamilies, widget.family) > 0;
    if (isOfOneScheme) return opening("") + drawn(widget.light) + "</div>\n";
    return opening(" light") + drawn(widget.light) + "</div>\n" + opening(" dark") + drawn(widget.dark) +
           "</div>\n";
}

std::string drawnFamily(const PageContents& contents, WidgetFamily family) {
    const auto found = std::ranges::find(contents.widgets, family, &PageWidget::family);
    return found == contents.widgets.end() ? "" : drawnWidget(*found);
}

/// The same bar as the widget's, in the page's own colours: a gap parts what is done from what is not.
std::string progressBar(float progress) {
    const auto percent = std::lround(100 * std::clamp(progress, 0.0F, 1.0F));
    const auto done = std::to_string(percent) + "%\" height=\"4\"/>";
    const auto rest = std::to_string(100 - percent) + "%\" height=\"4\"/>";
    return "<svg class=\"progress\">" + (percent > 0 ? "<rect class=\"done\" width=\"" + done : "") +
           "<rect class=\"track\" x=\"" + std::to_string(percent) + "%\" width=\"" + rest + "</svg>";
}

/// What a browser would run, or open as a page of somebody's making, is no link.
std::string linkAttribute(const platform::URL& link) {
    const bool isOpened = link.scheme() == "velaapp" || link.scheme() == "https" || link.scheme() == "http";
    return isOpened ? " href=\"" + markup(link.absoluteString()) + "\" rel=\"noreferrer\"" : "";
}

std::string line(std::string_view kind, std::string_view text) {
    return "<span class=\"" + std::string(kind) + "\" dir=\"auto\">" +
           markup(platform::fittedToColumns(text, presentation::longestSpokenPart)) + "</span>";
}

/// A sentence for who hears it, and for who sees it the lines that say the same.
std::string listed(const presentation::Package& package) {
    const auto status = package.statusText();
    return "<li><a" + linkAttribute(package.deepLinkingUrl()) + "><span class=\"spoken\">" +
           markup(presentation::spoken(package)) + "</span><span class=\"seen\" aria-hidden=\"true\">" +
           line("name", package.shopName()) + line("primary", status.primary) +
           (status.secondary ? line("secondary", *status.secondary) : "") + progressBar(package.progress()) +
           "</span></a></li>\n";
}

std::string listOfPackages(const LiveState& state) {
    if (!holdsPackages(state)) return {};
    std::string text =
        "<section class=\"all\" data-part=\"all\" aria-labelledby=\"all-title\">\n"
        "<h2 id=\"all-title\">All packages</h2>\n<ol>\n";
    for (const auto& package : std::get<widget::LoggedIn>(state.entry.widgetState).packages)
        text += listed(*package);
    return text + "</ol>\n</section>\n";
}

std::string homeScreen(const PageContents& contents) {
    std::string text =
        "<section class=\"home\" aria-labelledby=\"home-title\">\n"
        "<h2 id=\"home-title\">Home screen</h2>\n<div class=\"shelf\">\n";
    for (const auto family : homeScreenFamilies) text += drawnFamily(contents, family);
    return text + "</div>\n</section>\n";
}

/// Around the hour, which the page's script tells, as on a telephone.
std::string lockScreen(const PageContents& contents) {
    return "<section class=\"lock\" aria-labelledby=\"lock-title\">\n"
           "<h2 id=\"lock-title\">Lock screen</h2>\n<div class=\"screen\">\n" +
           drawnFamily(contents, WidgetFamily::accessoryInline) +
           "<p class=\"clock\" aria-hidden=\"true\"></p>\n" +
           drawnFamily(contents, WidgetFamily::accessoryRectangular) + "</div>\n</section>\n";
}

std::string remarkOf(const LiveState& state, platform::Date now) {
    if (auto remark = liveRemark(state, now)) {
        remark->front() = platform::uppercasedASCII(remark->front());
        return markup(*remark) + ".";
    }
    return state.isPlaceholder ? "Looking for your packages." : "";
}

}  // namespace

bool holdsPackages(const LiveState& state) {
    return !state.isPlaceholder && std::holds_alternative<widget::LoggedIn>(state.entry.widgetState);
}

std::string pageDocument(std::string_view frame, const PageContents& contents, platform::Date now) {
    const auto& choices = contents.choices;
    const Places places = {
        {"scheme", choices.scheme ? std::string(widget::name(*choices.scheme)) : "system"},
        {"schemes", schemeOptions(choices)},
        {"textSize", choices.textSize ? std::string(drawing::name(*choices.textSize)) : "system"},
        {"textSizes", textSizeOptions(choices)},
        {"reload", "reload" + platform::escapedForMarkup(choices.query())},
        {"remark", remarkOf(contents.state, now)},
        {"revision", std::to_string(contents.revision)},
        {"contents", homeScreen(contents) + lockScreen(contents) + listOfPackages(contents.state)},
    };
    return filled(frame, places);
}

}  // namespace host
