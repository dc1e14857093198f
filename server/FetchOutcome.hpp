// SPDX-License-Identifier: Apache-2.0

#pragma once

// How a fetch went, beside what it gave: the widget shows every failure alike, a host that lives for weeks
// needs to tell them apart. Plain values; nothing in them is secret.

#include <array>
#include <cstdint>
#include <optional>

namespace server {

/// What the keychain has of a sign-in.
enum class CredentialState {
    none,
    stored,
    /// Nobody can tell before the person unlocks it.
    locked,
    unreadable,
    /// Stored, and refused together with what would renew them: only another sign-in helps.
    expired,
};
inline constexpr std::array allCredentialStates = {
    CredentialState::none,       CredentialState::stored,  CredentialState::locked,
    CredentialState::unreadable, CredentialState::expired,
};

struct CredentialReport {
    CredentialState state = CredentialState::none;
    /// Another number for other credentials; 0 for none. It says nothing about them.
    std::uint64_t tokens = 0;
    /// The same of the user id; nothing where none is stored, or where it changed while it was looked at.
    std::optional<std::uint64_t> account = std::nullopt;

    bool operator==(const CredentialReport&) const = default;
};

enum class ServerContact {
    answered,
    /// It refused the credentials, or the lack of them.
    refused,
    /// It was reached, and gave no answer that can be used.
    failed,
    unreachable,
};
inline constexpr std::array allServerContacts = {
    ServerContact::answered,
    ServerContact::refused,
    ServerContact::failed,
    ServerContact::unreachable,
};

struct FetchOutcome {
    /// Of a fetch that gave packages, those that it began with; of another, those that are stored after it.
    CredentialReport credentials = {};
    /// The latest, of query and renewal.
    ServerContact server = ServerContact::failed;
    /// The query failed and the pair is another now: the next fetch has better prospects.
    bool hasRenewed = false;

    bool operator==(const FetchOutcome&) const = default;
};

}  // namespace server
