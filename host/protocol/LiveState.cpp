// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/LiveState.hpp"

namespace host {

namespace {

struct TroubleRow {
    LiveTrouble trouble;
    std::string_view name;
    std::string_view sentence;
};

constexpr std::array troubleTable = {
    TroubleRow{LiveTrouble::serverUnreachable, "serverUnreachable", "the server cannot be reached"},
    TroubleRow{LiveTrouble::serverFailing, "serverFailing", "the server gives no usable answer"},
    TroubleRow{LiveTrouble::signInExpired, "signInExpired", "the sign-in has expired; sign in again"},
    TroubleRow{LiveTrouble::keychainLocked, "keychainLocked", "the keyring is locked"},
    TroubleRow{LiveTrouble::keychainUnreadable, "keychainUnreadable", "the keychain cannot be read"},
    TroubleRow{LiveTrouble::extensionFailed, "extensionFailed", "the widget's extension fails"},
};
static_assert(troubleTable.size() == allLiveTroubles.size());

}  // namespace

std::string_view name(LiveTrouble trouble) {
    return troubleTable[static_cast<std::size_t>(trouble)].name;
}

std::optional<LiveTrouble> liveTrouble(std::string_view name) {
    for (const auto& row : troubleTable)
        if (row.name == name) return row.trouble;
    return std::nullopt;
}

LiveTrouble troubleIn(const widget::FetchOutcome& outcome) {
    switch (outcome.credentials.state) {
        case widget::CredentialState::locked: return LiveTrouble::keychainLocked;
        case widget::CredentialState::unreadable: return LiveTrouble::keychainUnreadable;
        case widget::CredentialState::expired: return LiveTrouble::signInExpired;
        case widget::CredentialState::none:
        case widget::CredentialState::stored: break;
    }
    const bool isReached = outcome.server != widget::ServerContact::unreachable;
    return isReached ? LiveTrouble::serverFailing : LiveTrouble::serverUnreachable;
}

std::string_view sentence(LiveTrouble trouble) {
    return troubleTable[static_cast<std::size_t>(trouble)].sentence;
}

bool isSignedOut(const LiveState& state) {
    return !state.isPlaceholder && std::holds_alternative<widget::NotLoggedIn>(state.entry.widgetState);
}

bool isSomebodys(const LiveState& state) {
    return !state.isPlaceholder && !isSignedOut(state);
}

}  // namespace host
