// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a status bar has to say of a live host's state, before any bar's own form of it: plain text that is
// safe to show, on one line each. Pure functions, but for the zone of the process, which hours are told in.

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/protocol/LiveState.hpp"

namespace host {

enum class BarClass {
    placeholder,
    signedOut,
    noPackages,
    /// On its way.
    arriving,
    /// Somebody has to do something about it.
    attention,
    delivered,
    /// Nothing more will come of it.
    ended,
};
inline constexpr std::array allBarClasses = {
    BarClass::placeholder, BarClass::signedOut, BarClass::noPackages, BarClass::arriving,
    BarClass::attention,   BarClass::delivered, BarClass::ended,
};
/// As a style sheet names it: "signed-out".
std::string_view name(BarClass barClass);

struct BarPackage {
    BarClass barClass;
    std::string name;
    std::string primary;
    std::string secondary;
    /// 0 to 100.
    int percentage;
    std::string link;
};

struct BarContent {
    BarClass barClass;
    /// In the server's order.
    std::vector<BarPackage> packages = {};
    /// Which of them stands in the bar.
    std::size_t shown = 0;
    /// What stands in the bar where there are no packages, and what is added where there is room.
    std::string words = {};
    std::string moreWords = {};
    /// How old it is, and what is wrong.
    std::optional<std::string> remark = std::nullopt;
    /// Where a click leads; empty for nowhere.
    std::string link = {};
    bool isStale = false;
    bool hasTrouble = false;

    const BarPackage* shownPackage() const { return packages.empty() ? nullptr : &packages[shown]; }
};

/// The package at `position` stands in the bar; the last one where there are fewer.
BarContent barContent(const LiveState& state, std::size_t position, platform::Date now);

/// Where no live host can be had; `why` is for the person.
BarContent contentWithoutHost(std::string_view why);

}  // namespace host
