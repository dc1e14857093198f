// SPDX-License-Identifier: Apache-2.0

#include "host/widget/SignedOutReason.hpp"

#include <variant>

#include "host/protocol/LiveState.hpp"

namespace host {

std::string_view whySignedOut(const widget::SimpleEntry& entry, const widget::FetchOutcome& outcome) {
    if (!std::holds_alternative<widget::NotLoggedIn>(entry.widgetState)) return {};
    if (outcome.credentials.state == widget::CredentialState::none) return {};
    if (outcome.hasRenewed) return "the sign-in had expired and was renewed; ask again";
    return sentence(troubleIn(outcome));
}

std::string_view howToSignIn(const widget::SimpleEntry& entry, const widget::FetchOutcome& outcome) {
    if (!std::holds_alternative<widget::NotLoggedIn>(entry.widgetState)) return {};
    if (outcome.credentials.state != widget::CredentialState::none) return {};
    return "nobody is signed in; to sign in: vela-companion sign-in";
}

}  // namespace host
