// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a live host shows: the one answer to all of its readers. A plain value; its functions are pure and
// safe from any thread.

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Date/Date.hpp"
#include "widget/FetchOutcome.hpp"
#include "widget/SimpleEntry.hpp"

namespace host {

/// Why what is shown is not what the server has.
enum class LiveTrouble {
    serverUnreachable,
    /// It was reached, and gave no answer that can be used.
    serverFailing,
    signInExpired,
    keychainLocked,
    keychainUnreadable,
    extensionFailed,
};
inline constexpr std::array allLiveTroubles = {
    LiveTrouble::serverUnreachable, LiveTrouble::serverFailing,      LiveTrouble::signInExpired,
    LiveTrouble::keychainLocked,    LiveTrouble::keychainUnreadable, LiveTrouble::extensionFailed,
};
/// The case's name, as in "serverUnreachable".
std::string_view name(LiveTrouble trouble);
std::optional<LiveTrouble> liveTrouble(std::string_view name);
/// For a person, without capital and full stop: "the server cannot be reached".
std::string_view sentence(LiveTrouble trouble);
/// What is wrong where a fetch gave no packages although something is stored to sign in with.
LiveTrouble troubleIn(const widget::FetchOutcome& outcome);

struct LiveState {
    /// Seconds for which the last good entry is kept, by whoever shows it.
    static constexpr double longestKept = 24 * 3600;

    /// A sign-in view only where nothing is stored that could be used: no tokens, or expired ones. The
    /// failures that leave hope keep the last good entry, for a day at most.
    widget::SimpleEntry entry;
    /// Nothing is known: the entry is the placeholder, to be drawn redacted. Beside a trouble it may stay.
    bool isPlaceholder = false;
    /// When the entry was true, where it is kept through a failure.
    std::optional<platform::Date> asOf = std::nullopt;
    std::optional<LiveTrouble> trouble = std::nullopt;
    /// The version of the keychain (platform/SystemEvents/KeychainVersion) by which the entry is this
    /// person's; empty where that is not known. With another nobody has said yet whose it would be.
    std::string keychain = {};
};

/// There is a sign-in view for the person.
bool isSignedOut(const LiveState& state);
/// It shows what somebody has, or that she has nothing.
bool isSomebodys(const LiveState& state);

}  // namespace host
