// SPDX-License-Identifier: Apache-2.0

#pragma once

// Fetches the signed-in person's latest deliveries and orders and turns them into packages. A query that
// fails, for whatever reason, renews the token pair once; the renewed token then serves the next fetch, not
// this one.

#include <boost/asio/awaitable.hpp>
#include <exception>
#include <memory>
#include <optional>
#include <string_view>

#include "presentation/Package.hpp"
#include "server/FetchOutcome.hpp"
#include "server/TokenKeychain.hpp"
#include "server/VelaServerConnectivity.hpp"

namespace server {

class FetchPackagesError : public std::exception {
  public:
    enum Case {
        /// The request failed on a second pass.
        unauthorized,
        /// The query failed and the token pair has been renewed.
        noPackagesFound,
        /// The query failed and so did the renewal.
        refreshTokenError,
        unknown,
    };

    explicit FetchPackagesError(Case value) : value_(value) {}
    Case value() const { return value_; }
    const char* what() const noexcept override;

  private:
    Case value_;
};

class RefreshTokenError : public std::exception {
  public:
    enum Case {
        missingRefreshToken,
        /// Raised inside the renewal only; its caller sees `unknown`.
        invalidRefreshToken,
        unknown,
    };

    explicit RefreshTokenError(Case value) : value_(value) {}
    Case value() const { return value_; }
    const char* what() const noexcept override;

  private:
    Case value_;
};

/// What a fetch gave, and how it went.
struct FetchReport {
    /// The packages in the server's order, possibly none; where there is no usable answer, what was thrown.
    std::optional<presentation::PackageList> packages = std::nullopt;
    std::exception_ptr failure = nullptr;
    FetchOutcome outcome = {};
};

/// What the timeline provider needs of this room. A seam.
class PackageFetching {
  public:
    virtual ~PackageFetching() = default;

    /// The packages in the server's order, possibly none; throws when there is no usable answer.
    virtual boost::asio::awaitable<std::optional<presentation::PackageList>> fetchPackages() = 0;

    /// The same, once, with how it went as far as that is known. Throws nothing.
    virtual boost::asio::awaitable<FetchReport> fetch();
};

class PackageFetch final : public PackageFetching {
  public:
    /// Pixels: the bound on width and height of every picture the server names.
    static constexpr std::int32_t maxImageSize = 192;

    /// `tokens` holds the pair that is renewed and must outlive this object.
    PackageFetch(std::shared_ptr<VelaServerConnectivity> connectivity, TokenKeychain& tokens);
    /// On the process's one connection to the account server, and its keychain.
    static std::shared_ptr<PackageFetch> shared();

    /// Throws FetchPackagesError alone, also when it is cancelled.
    boost::asio::awaitable<std::optional<presentation::PackageList>> fetchPackages() override;
    boost::asio::awaitable<FetchReport> fetch() override;

    /// Renews the token pair with the stored refresh token. Throws RefreshTokenError alone:
    /// `missingRefreshToken` or `unknown`.
    boost::asio::awaitable<void> refreshAccessToken();

  private:
    struct Course;

    boost::asio::awaitable<std::optional<presentation::PackageList>> packagesBy(
        std::shared_ptr<Course> course);
    boost::asio::awaitable<std::optional<presentation::PackageList>> fetchedPackages(
        std::shared_ptr<Course> course);
    boost::asio::awaitable<std::optional<presentation::PackageList>> queriedPackages(
        std::shared_ptr<Course> course);
    boost::asio::awaitable<bool> renewsAccessToken(std::shared_ptr<Course> course);
    boost::asio::awaitable<void> renewPair();
    boost::asio::awaitable<void> exchangeRefreshToken(std::string refreshToken);

    std::shared_ptr<VelaServerConnectivity> connectivity_;
    TokenKeychain& tokens_;
};

/// Deliveries and orders of a response as packages, in order; items of any other kind are left out.
presentation::PackageList packages(VelaApi::TrackingWidgetResponse response);

}  // namespace server
