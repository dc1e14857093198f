// SPDX-License-Identifier: Apache-2.0

#pragma once

// Everything around the account server's client, as a test wants it: a scripted transport, a keychain in
// memory and shared defaults with an address.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "server/TokenKeychain.hpp"
#include "server/VelaServerConnectivity.hpp"
#include "tests/support/Awaited.hpp"
#include "tests/support/InMemoryItemStore.hpp"
#include "tests/support/InMemoryUserDefaults.hpp"
#include "tests/support/ScriptedURLSession.hpp"

namespace server {

using platform::testing::awaited;

class AccountServerTwin : public testing::Test {
  public:
    ~AccountServerTwin() override { testing::internal::GetCapturedStdout(); }

  protected:
    AccountServerTwin() { testing::internal::CaptureStdout(); }

    void signIn(const std::string& accessToken, const std::string& refreshToken) {
        tokens.store(accessToken, refreshToken);
    }

    /// What was printed so far.
    std::string printed() {
        const auto text = testing::internal::GetCapturedStdout();
        testing::internal::CaptureStdout();
        return text;
    }

    platform::testing::InMemoryItemStore store;
    platform::SecItemStore::Override inForce{store};
    TokenKeychain tokens;
    CredentialKeychains keychains{.tokens = tokens, .session = sessionKeychain()};
    SharedDefaults defaults{std::make_unique<platform::testing::InMemoryUserDefaults>(),
                            "http://127.0.0.1:9"};
    std::shared_ptr<platform::testing::ScriptedURLSession> session =
        std::make_shared<platform::testing::ScriptedURLSession>();
    int sessionsMade = 0;
    std::shared_ptr<VelaServerConnectivity> connectivity =
        std::make_shared<VelaServerConnectivity>(defaults, keychains, [this] {
            ++sessionsMade;
            return session;
        });
};

}  // namespace server
