// SPDX-License-Identifier: Apache-2.0

#pragma once

// How a person's installation stands, for who has to say what to do about it. Nothing in it is secret. Safe
// from any thread.

#include <boost/asio/awaitable.hpp>
#include <memory>
#include <optional>
#include <string>

#include "platform/URLSession/URLSession.hpp"
#include "server/FetchOutcome.hpp"
#include "server/SharedDefaults.hpp"

namespace server {

struct Diagnosis {
    CredentialReport credentials = {};
    /// As VELA_KEYCHAIN has it: "embedded" or "secret-service"; anything else names no keychain.
    std::string keychain = {};
    /// For a screen.
    std::string serverAddress = {};
    /// What the server said to a request without credentials, as HTTP counts; nothing where it said nothing.
    std::optional<int> serverStatus = std::nullopt;
    /// Why it said nothing, in words.
    std::string serverFault = {};
    /// It was found, and its certificate or its kind of encryption not taken.
    bool isConnectionInsecure = false;
    std::string bundle = {};
    /// Whether the bundle has an Info dictionary that can be read; of a whole widget, its assets as well.
    bool isBundleWhole = false;
    std::string suite = {};
};

/// Looks at everything once; the server has ten seconds.
boost::asio::awaitable<Diagnosis> diagnosis(const SharedDefaults& defaults,
                                            std::shared_ptr<platform::URLSession> session);

/// Whether the person wants to be told when something happens: the suite's "notifications", which is true, or
/// a number other than 0, or one of the texts "true", "yes", "on" and "1".
bool wantsNotifications(const SharedDefaults& defaults);

}  // namespace server
