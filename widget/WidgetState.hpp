// SPDX-License-Identifier: Apache-2.0

#pragma once

// What the widget shows. A plain value.

#include <string_view>
#include <variant>

#include "presentation/Package.hpp"

namespace widget {

/// Signed in; these packages are shown. Never empty when the provider made it.
struct LoggedIn {
    presentation::PackageList packages;
};
/// No usable sign-in.
struct NotLoggedIn {};
/// Signed in, with nothing to track.
struct NoPackages {};

using WidgetState = std::variant<LoggedIn, NotLoggedIn, NoPackages>;

/// "loggedIn", "notLoggedIn" or "noPackages".
std::string_view analyticsName(const WidgetState& state);

/// Equal when both are the same case and show the same packages in the same order.
bool showsTheSame(const WidgetState& first, const WidgetState& second);

}  // namespace widget
