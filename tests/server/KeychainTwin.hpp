// SPDX-License-Identifier: Apache-2.0

#pragma once

// What tests of the keychain layer share: the app's keychain, the items' queries, and stores that are
// scripted or kept in memory.

#include <gtest/gtest.h>

#include <string>

#include "server/Keychain.hpp"
#include "tests/support/InMemoryItemStore.hpp"
#include "tests/support/ScriptedItemStore.hpp"

namespace server {

inline const Keychain sample = {.id = "com.brightfen.pontal",
                                .accessibility = Keychain::Accessibility::afterFirstUnlock};

inline platform::SecAttributes itemQuery(const char* service, const char* accessible, const char* key) {
    return {{"class", std::string("genp")},
            {"svce", std::string(service)},
            {"pdmn", std::string(accessible)},
            {"acct", std::string(key)}};
}

inline platform::SecAttributes with(platform::SecAttributes attributes, const platform::SecAttributes& more) {
    attributes.insert(more.begin(), more.end());
    return attributes;
}

/// What a call printed on standard output.
template <typename Call>
std::string printed(Call call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

class ScriptedKeychain : public testing::Test {
  protected:
    platform::testing::ScriptedItemStore store;
    platform::SecItemStore::Override inForce{store};
};

class KeychainOnAStore : public testing::Test {
  protected:
    platform::testing::InMemoryItemStore store;
    platform::SecItemStore::Override inForce{store};
};

}  // namespace server
