// SPDX-License-Identifier: Apache-2.0

#include "widget/WidgetState.hpp"

#include <algorithm>

namespace widget {

namespace {

struct AnalyticsName {
    std::string_view operator()(const LoggedIn&) const { return "loggedIn"; }
    std::string_view operator()(const NotLoggedIn&) const { return "notLoggedIn"; }
    std::string_view operator()(const NoPackages&) const { return "noPackages"; }
};

}  // namespace

std::string_view analyticsName(const WidgetState& state) {
    return std::visit(AnalyticsName{}, state);
}

bool showsTheSame(const WidgetState& first, const WidgetState& second) {
    if (first.index() != second.index()) return false;
    const auto* loggedIn = std::get_if<LoggedIn>(&first);
    if (!loggedIn) return true;
    return std::ranges::equal(loggedIn->packages, std::get<LoggedIn>(second).packages,
                              [](const auto& one, const auto& other) { return showsTheSame(*one, *other); });
}

}  // namespace widget
