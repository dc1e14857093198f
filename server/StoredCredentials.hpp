// SPDX-License-Identifier: Apache-2.0

#pragma once

// Looks at what the keychain has of a sign-in, without a word and without changing anything. Safe from any
// thread.

#include "server/FetchOutcome.hpp"
#include "server/SharedDefaults.hpp"

namespace server {

/// Never `expired`: whether they are, only a server knows.
CredentialReport storedCredentials(const SharedDefaults& defaults);

}  // namespace server
