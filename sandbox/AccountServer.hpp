// SPDX-License-Identifier: Apache-2.0

#pragma once

// The account server: answers POST /graphql for one sample person. It knows the two operations by their exact
// texts, checks the credentials, and renews the token pair; the state lives in memory. Not for use from
// several threads.

#include <cstddef>
#include <string>
#include <string_view>

#include "sandbox/Message.hpp"
#include "sandbox/Scenario.hpp"

namespace sandbox {

struct TokenPair {
    std::string accessToken;
    std::string refreshToken;
};

/// What the sample person signs in with, the same for every sandbox.
TokenPair sampleCredentials();
/// What an installation from before the token pair holds instead.
std::string_view sampleSession();

/// How a request without a valid credential is turned away.
enum class Refusal { status401, graphQLError };

struct AccountReply {
    Response response;
    /// Empty when the request named none of the two operations.
    std::string_view operation = {};
    /// For the log: "answered", "refreshed", or why not.
    std::string outcome;
};

class AccountServer {
  public:
    AccountServer(Scenario scenario, std::string baseURL, Refusal refusal);

    AccountReply answer(const Request& request);

  private:
    AccountReply trackingWidget(const Request& request, int maximumImageSize);
    AccountReply refreshAccessToken(std::string_view refreshToken);
    AccountReply unauthorized() const;
    bool authorizes(const Request& request) const;

    Scenario scenario_;
    std::string baseURL_;
    Refusal refusal_;
    TokenPair tokens_ = sampleCredentials();
    TokenStanding accessToken_;
    std::size_t answered_ = 0;
};

}  // namespace sandbox
