// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Bar/BarContent.hpp"

#include <algorithm>
#include <cmath>

#include "host/reader/LiveRemark.hpp"
#include "host/reader/TerminalText.hpp"
#include "platform/Text/Text.hpp"
#include "presentation/DeepLink.hpp"
#include "presentation/Wording.hpp"

namespace host {

using presentation::Wording;

namespace {

/// More than any bar or tooltip has room for.
constexpr std::size_t longestText = 200;

struct WordClass {
    std::string_view word;
    BarClass barClass;
};
/// A package of other words is on its way, unless its bar is full.
constexpr std::array wordClasses = {
    WordClass{Wording::attemptedDelivery, BarClass::attention},
    WordClass{Wording::customsPaymentDue, BarClass::attention},
    WordClass{Wording::deliveryDelayed, BarClass::attention},
    WordClass{Wording::failure, BarClass::attention},
    WordClass{Wording::readyForPickup, BarClass::attention},
    WordClass{Wording::delivered, BarClass::delivered},
    WordClass{Wording::pickedUp, BarClass::delivered},
    WordClass{Wording::inStorePurchase, BarClass::delivered},
    WordClass{Wording::cancelled, BarClass::ended},
    WordClass{Wording::noRecentActivity, BarClass::ended},
    WordClass{Wording::refunded, BarClass::ended},
    WordClass{Wording::returned, BarClass::ended},
};

BarClass packageClass(std::string_view primary, int percentage) {
    for (const auto& row : wordClasses)
        if (row.word == primary) return row.barClass;
    return percentage >= 100 ? BarClass::delivered : BarClass::arriving;
}

/// Empty where nothing of it would be seen.
std::string shown(std::string_view text) {
    auto fitted = fittedToColumns(terminalSafe(text), longestText);
    return platform::terminalColumns(fitted) > 0 ? fitted : std::string();
}

BarPackage barPackage(const presentation::Package& package) {
    const auto status = package.statusText();
    const double fraction = package.progress();
    const double bounded = std::isfinite(fraction) ? std::clamp(fraction, 0.0, 1.0) : 0.0;
    const int percentage = static_cast<int>(std::lround(bounded * 100));
    return {.barClass = packageClass(status.primary, percentage),
            .name = shown(package.shopName()),
            .primary = shown(status.primary),
            .secondary = shown(status.secondary.value_or("")),
            .percentage = percentage,
            .link = package.deepLinkingUrl().absoluteString()};
}

struct ContentOfState {
    std::size_t position;

    BarContent operator()(const widget::LoggedIn& state) const {
        if (state.packages.empty()) return (*this)(widget::NoPackages());
        BarContent content = {.barClass = BarClass::arriving};
        for (const auto& package : state.packages) content.packages.push_back(barPackage(*package));
        content.shown = std::min(position, content.packages.size() - 1);
        content.barClass = content.shownPackage()->barClass;
        content.link = content.shownPackage()->link;
        return content;
    }
    BarContent operator()(const widget::NotLoggedIn&) const {
        return {.barClass = BarClass::signedOut,
                .words = std::string(Wording::signInToTheApp),
                .moreWords = std::string(Wording::whySignIn),
                // As a tap on the whole widget: the app's beginning, where who is signed out signs in.
                .link = presentation::DeepLink::homeOrders().absoluteString()};
    }
    BarContent operator()(const widget::NoPackages&) const {
        return {.barClass = BarClass::noPackages,
                .words = std::string(Wording::nothingToTrack),
                .moreWords = std::string(Wording::addOrder),
                .link = presentation::DeepLink::addDelivery().absoluteString()};
    }
};

BarContent placeholderContent(const LiveState& state) {
    constexpr const char* looking = "Looking for your packages";
    BarContent content = {.barClass = BarClass::placeholder, .words = looking, .moreWords = looking};
    if (state.trouble) content.words = "Vela: " + std::string(sentence(*state.trouble));
    return content;
}

}  // namespace

std::string_view name(BarClass barClass) {
    switch (barClass) {
        case BarClass::placeholder: return "placeholder";
        case BarClass::signedOut: return "signed-out";
        case BarClass::noPackages: return "no-packages";
        case BarClass::arriving: return "arriving";
        case BarClass::attention: return "attention";
        case BarClass::delivered: return "delivered";
        case BarClass::ended: return "ended";
    }
    return "";
}

BarContent barContent(const LiveState& state, std::size_t position, platform::Date now) {
    auto content = state.isPlaceholder ? placeholderContent(state)
                                       : std::visit(ContentOfState{position}, state.entry.widgetState);
    content.remark = liveRemark(state, now);
    content.isStale = state.asOf.has_value();
    content.hasTrouble = state.trouble.has_value();
    return content;
}

BarContent contentWithoutHost(std::string_view why) {
    return {.barClass = BarClass::placeholder,
            .words = "Vela: not running",
            .moreWords = shown(why),
            .hasTrouble = true};
}

}  // namespace host
