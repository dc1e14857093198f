// SPDX-License-Identifier: Apache-2.0

#include "host/widget/SignedOutReason.hpp"

#include <gtest/gtest.h>

#include "tests/host/readers/LiveStates.hpp"

namespace host {
namespace {

using widget::CredentialState;
using widget::FetchOutcome;
using widget::ServerContact;

std::string_view reason(CredentialState state, ServerContact server, bool hasRenewed = false) {
    return whySignedOut(signedOutState().entry,
                        {.credentials = {.state = state}, .server = server, .hasRenewed = hasRenewed});
}

TEST(SignedOutReason, TellsWhatKeepsASignedInPersonOut) {
    EXPECT_EQ(reason(CredentialState::stored, ServerContact::unreachable), "the server cannot be reached");
    EXPECT_EQ(reason(CredentialState::stored, ServerContact::failed), "the server gives no usable answer");
    EXPECT_EQ(reason(CredentialState::expired, ServerContact::refused),
              "the sign-in has expired; sign in again");
    EXPECT_EQ(reason(CredentialState::locked, ServerContact::refused), "the keyring is locked");
    EXPECT_EQ(reason(CredentialState::unreadable, ServerContact::refused), "the keychain cannot be read");
    EXPECT_EQ(reason(CredentialState::stored, ServerContact::refused, true),
              "the sign-in had expired and was renewed; ask again");
}

TEST(SignedOutReason, IsNoneForWhoHasNotSignedIn) {
    for (const auto server : server::allServerContacts) EXPECT_EQ(reason(CredentialState::none, server), "");
}

TEST(SignedOutReason, IsNoneWhereThereIsNoSignInView) {
    const FetchOutcome outcome = {.credentials = {.state = CredentialState::stored}};
    EXPECT_EQ(whySignedOut(stateWith({{.name = "Tea"}}).entry, outcome), "");
    EXPECT_EQ(whySignedOut(emptyState().entry, outcome), "");
}

TEST(HowToSignIn, IsToldToWhoHasNothingStoredAndSeesTheSignInView) {
    EXPECT_EQ(howToSignIn(signedOutState().entry, {}),
              "nobody is signed in; to sign in: vela-companion sign-in");
    EXPECT_EQ(howToSignIn(emptyState().entry, {}), "");
    for (const auto state : server::allCredentialStates) {
        if (state == CredentialState::none) continue;
        EXPECT_EQ(howToSignIn(signedOutState().entry, {.credentials = {.state = state}}), "");
    }
}

}  // namespace
}  // namespace host
