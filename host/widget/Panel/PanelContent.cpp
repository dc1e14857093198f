// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Panel/PanelContent.hpp"

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <cstdint>
#include <string>

#include "host/protocol/LiveCoding.hpp"
#include "host/reader/TerminalText.hpp"
#include "host/widget/Bar/BarContent.hpp"
#include "host/widget/Bar/BarText.hpp"
#include "presentation/DeepLink.hpp"
#include "presentation/SpokenPackage.hpp"

namespace host {

namespace json = boost::json;

namespace {

/// A line of a menu, and of a tooltip.
constexpr std::size_t lineColumns = 44;

std::string spokenLine(const presentation::Package& package) {
    return terminalSafe(presentation::spoken(package));
}

/// The one package, as a bar would have it.
BarContent alone(const BarPackage& package) {
    return {.barClass = package.barClass, .packages = {package}, .link = package.link};
}

json::array packageArray(const BarContent& content, const LiveState& state) {
    json::array packages;
    const auto* loggedIn = std::get_if<widget::LoggedIn>(&state.entry.widgetState);
    for (std::size_t index = 0; index < content.packages.size(); ++index) {
        const auto& package = content.packages[index];
        packages.push_back({{"class", name(package.barClass)},
                            {"link", package.link},
                            {"percentage", package.percentage},
                            {"spoken", spokenLine(*loggedIn->packages[index])},
                            {"text", barText(alone(package), lineColumns, BarDirections::isolated)}});
    }
    return packages;
}

/// Where the widget as a whole leads. Without a link of its own it opens the app.
std::string linkOf(const BarContent& content) {
    if (content.barClass == BarClass::signedOut) return presentation::DeepLink::homeOrders().absoluteString();
    return content.link;
}

std::string tooltip(const BarContent& content) {
    std::string text;
    for (const auto& package : content.packages)
        text.append(text.empty() ? "" : "\n")
            .append(barText(alone(package), lineColumns, BarDirections::isolated));
    if (text.empty()) text = content.moreWords.empty() ? content.words : content.moreWords;
    if (content.remark) text.append("\n").append(*content.remark);
    return text;
}

}  // namespace

json::object panelObject(const LiveState& state, platform::Date now) {
    const auto content = barContent(state, 0, now);
    const auto* package = content.shownPackage();
    auto packages = packageArray(content, state);
    const json::value spoken = package ? packages.front().at("spoken") : json::value(content.words);
    return {{"asOf", textOrNull(state.asOf ? platform::internetDateTime(*state.asOf) : "")},
            {"class", name(content.barClass)},
            {"hasTrouble", content.hasTrouble},
            {"isStale", content.isStale},
            {"keychain", textOrNull(state.keychain)},
            {"keptFor", static_cast<std::int64_t>(LiveState::longestKept)},
            {"link", textOrNull(linkOf(content))},
            {"packages", std::move(packages)},
            {"percentage", package ? json::value(package->percentage) : json::value(nullptr)},
            {"remark", textOrNull(content.remark.value_or(""))},
            {"shortText", isolated(shortBarText(content, panelColumns))},
            {"spoken", spoken},
            {"text", barText(content, panelColumns, BarDirections::isolated)},
            {"tooltip", tooltip(content)}};
}

}  // namespace host
