// SPDX-License-Identifier: Apache-2.0

#pragma once

// The widget's only road to the account server: one GraphQL operation out as an authorised HTTP POST, its
// reply classified and decoded. Nothing of one call is remembered for the next but the session with its
// connections. One object may serve several coroutines of one executor at a time.

#include <boost/asio/awaitable.hpp>
#include <chrono>
#include <exception>
#include <functional>
#include <memory>

#include "VelaApi/Sources/VelaApi/RefreshAccessTokenMutation.hpp"
#include "VelaApi/Sources/VelaApi/RefreshAccessTokenResponse.hpp"
#include "VelaApi/Sources/VelaApi/TrackingWidgetQuery.hpp"
#include "VelaApi/Sources/VelaApi/TrackingWidgetResponse.hpp"
#include "platform/URLSession/URLSession.hpp"
#include "server/SharedDefaults.hpp"
#include "server/TokenKeychain.hpp"

namespace server {

/// The server refused the credentials: status 401, or a GraphQL error whose message begins with
/// "Unauthorized".
class UnauthorizedError : public std::exception {
  public:
    const char* what() const noexcept override { return "UnauthorizedError"; }
};

/// The reply is no usable GraphQL result. Always raised inside an AnyError.
class GraphQLError : public std::exception {
  public:
    const char* what() const noexcept override { return "GraphQLError"; }
};

/// Wraps any error.
class AnyError : public std::exception {
  public:
    explicit AnyError(std::exception_ptr error) : error_(std::move(error)) {}
    const std::exception_ptr& error() const { return error_; }
    const char* what() const noexcept override { return "AnyError"; }

  private:
    std::exception_ptr error_;
};

/// Where the signed-in person's credentials lie.
struct CredentialKeychains {
    TokenKeychain& tokens;
    /// Holds the legacy session id. Read only.
    Keychain session;

    /// The process's own.
    static CredentialKeychains shared() { return {.tokens = tokenKeychain(), .session = sessionKeychain()}; }
};

enum class Authentication { authenticated, notAuthenticated };

class VelaServerConnectivity {
  public:
    using SessionFactory = std::function<std::shared_ptr<platform::URLSession>()>;

    /// On the process's defaults and keychains. Makes its session on the first perform, from the default
    /// configuration.
    VelaServerConnectivity();
    VelaServerConnectivity(const SharedDefaults& defaults, CredentialKeychains keychains,
                           SessionFactory makeSession);

    /// The request without its body. Reads the keychains where it is to be authenticated. A base URL that
    /// gives no valid endpoint stops the process.
    platform::URLRequest makeRequest(Authentication authentication) const;

    /// Both throw UnauthorizedError, AnyError, platform::URLError, platform::JSONError, and what decoding
    /// throws.
    boost::asio::awaitable<VelaApi::TrackingWidgetResponse> perform(VelaApi::TrackingWidgetQuery query);
    boost::asio::awaitable<VelaApi::RefreshAccessTokenResponse> perform(
        VelaApi::RefreshAccessTokenMutation mutation);

    const SharedDefaults& defaults() const { return defaults_; }

    /// All that a renewal's request may take. Whoever signs in or out waits for it, a little longer.
    static constexpr std::chrono::seconds longestRenewal{60};

  private:
    platform::URLSession& session();

    const SharedDefaults& defaults_;
    CredentialKeychains keychains_;
    SessionFactory makeSession_;
    std::shared_ptr<platform::URLSession> session_;
};

}  // namespace server
