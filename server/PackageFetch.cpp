// SPDX-License-Identifier: Apache-2.0

#include "server/PackageFetch.hpp"

#include <algorithm>
#include <array>

#include "platform/Asio/Pause.hpp"
#include "platform/ProcessInfo/ExpiringActivity.hpp"
#include "presentation/DeliveryPackage.hpp"
#include "presentation/OrderPackage.hpp"
#include "server/StoredCredentials.hpp"
#include "server/TokenKeychain.hpp"

namespace server {

namespace {

using Nodes = VelaApi::TrackingWidgetResponse::DeliveriesOrdersList::Nodes;

/// Adds the package of an item's concrete reading, where it has one.
struct PackageAppender {
    presentation::PackageList& list;

    void operator()(Nodes::Delivery&& delivery) const {
        list.push_back(std::make_shared<presentation::DeliveryPackage>(std::move(delivery)));
    }
    void operator()(Nodes::Order&& order) const {
        list.push_back(std::make_shared<presentation::OrderPackage>(std::move(order)));
    }
    void operator()(Nodes::BaseDeliveriesOrdersListItemInterface&&) const {}
};

/// A sign-in or sign-out takes milliseconds; one that waits for another renewal takes longer than a timeline
/// may.
constexpr std::chrono::milliseconds patienceWithCompanion(3000);
constexpr std::chrono::milliseconds pauseBetweenAttempts(20);

using RenewalLock = std::unique_ptr<platform::SecItemLock>;

/// Keeps sign-in and sign-out away from what is read until what comes of it is stored. Other renewals go on
/// at the same time, and the later write wins. Nothing where it cannot be had, or where a new pair could not
/// be kept.
boost::asio::awaitable<RenewalLock> heldRenewalLock() {
    auto lock = platform::SecItemMakeLock(platform::SecItemHold::shared);
    auto left = patienceWithCompanion;
    auto status = lock->tryAcquire();
    while (status == platform::errSecInteractionNotAllowed && left.count() > 0) {
        co_await platform::pause(pauseBetweenAttempts);
        left -= pauseBetweenAttempts;
        status = lock->tryAcquire();
    }
    if (status != platform::errSecSuccess) lock.reset();
    co_return lock;
}

}  // namespace

const char* FetchPackagesError::what() const noexcept {
    constexpr std::array names = {"unauthorized", "noPackagesFound", "refreshTokenError", "unknown"};
    return names[value_];
}

const char* RefreshTokenError::what() const noexcept {
    constexpr std::array names = {"missingRefreshToken", "invalidRefreshToken", "unknown"};
    return names[value_];
}

presentation::PackageList packages(VelaApi::TrackingWidgetResponse response) {
    presentation::PackageList list;
    if (!response.deliveriesOrdersList) return list;
    list.reserve(response.deliveriesOrdersList->nodes.size());
    for (auto& node : response.deliveriesOrdersList->nodes)
        std::visit(PackageAppender{list}, std::move(node.realized));
    return list;
}

PackageFetch::PackageFetch(std::shared_ptr<VelaServerConnectivity> connectivity, TokenKeychain& tokens)
    : connectivity_(std::move(connectivity)), tokens_(tokens) {}

std::shared_ptr<PackageFetch> PackageFetch::shared() {
    static const auto fetch =
        std::make_shared<PackageFetch>(std::make_shared<VelaServerConnectivity>(), tokenKeychain());
    return fetch;
}

/// What a fetch meets on its way.
struct PackageFetch::Course {
    ServerContact server = ServerContact::failed;
    bool hasRenewed = false;
    /// The query was refused, and so is its renewal.
    bool isOver = false;

    void noteQuery(const std::exception_ptr& failure) { server = contactIn(failure); }

    void noteRenewal(const std::exception_ptr& failure) {
        const bool isRefused = refusesRenewal(failure);
        isOver = isRefused && server == ServerContact::refused;
        // What the query met counts, unless the renewal met worse.
        if (!isRefused && server == ServerContact::refused) server = contactIn(failure);
    }

  private:
    static ServerContact contactIn(const std::exception_ptr& failure) {
        try {
            std::rethrow_exception(failure);
        } catch (const UnauthorizedError&) {
            return ServerContact::refused;
        } catch (const platform::URLError& error) {
            return isOfReply(error.code()) ? ServerContact::failed : ServerContact::unreachable;
        } catch (...) {
            return ServerContact::failed;
        }
    }

    /// Whether the server was there.
    static bool isOfReply(platform::URLErrorCode code) {
        using Code = platform::URLErrorCode;
        switch (code) {
            case Code::replyTimedOut:
            case Code::badServerResponse:
            case Code::tooManyRedirects:
            case Code::dataLengthExceedsMaximum:
            case Code::cannotDecodeContent: return true;
            case Code::unsupportedURL:
            case Code::cannotFindHost:
            case Code::cannotConnectToHost:
            case Code::networkConnectionLost:
            case Code::timedOut:
            case Code::cancelled:
            case Code::secureConnectionFailed:
            case Code::cannotReadResource:
            case Code::unknown: break;
        }
        return false;
    }

    static bool refusesRenewal(const std::exception_ptr& failure) {
        try {
            std::rethrow_exception(failure);
        } catch (const RefreshTokenError& error) {
            return error.value() != RefreshTokenError::unknown;
        } catch (const UnauthorizedError&) {
            return true;
        } catch (...) {
            return false;
        }
    }
};

boost::asio::awaitable<FetchReport> PackageFetching::fetch() {
    FetchReport report;
    try {
        report.packages = co_await fetchPackages();
        report.outcome.server = ServerContact::answered;
    } catch (...) {
        report.failure = std::current_exception();
    }
    co_return report;
}

boost::asio::awaitable<FetchReport> PackageFetch::fetch() {
    const auto course = std::make_shared<Course>();
    FetchReport report;
    report.outcome.credentials = storedCredentials(connectivity_->defaults());
    try {
        report.packages = co_await packagesBy(course);
    } catch (...) {
        report.failure = std::current_exception();
    }
    if (report.failure) report.outcome.credentials = storedCredentials(connectivity_->defaults());
    if (course->isOver && report.outcome.credentials.state == CredentialState::stored)
        report.outcome.credentials.state = CredentialState::expired;
    report.outcome.server = course->server;
    report.outcome.hasRenewed = course->hasRenewed;
    co_return report;
}

boost::asio::awaitable<std::optional<presentation::PackageList>> PackageFetch::fetchPackages() {
    co_return co_await packagesBy(std::make_shared<Course>());
}

boost::asio::awaitable<std::optional<presentation::PackageList>> PackageFetch::packagesBy(
    std::shared_ptr<Course> course) {
    try {
        co_return co_await fetchedPackages(std::move(course));
    } catch (const FetchPackagesError&) {
        throw;
    } catch (...) {
        // A cancelled coroutine fails at its next step. Only the renewal has one that is not caught.
        throw FetchPackagesError(FetchPackagesError::refreshTokenError);
    }
}

boost::asio::awaitable<std::optional<presentation::PackageList>> PackageFetch::fetchedPackages(
    std::shared_ptr<Course> course) {
    bool hasRetried = false;
    while (true) {
        if (auto list = co_await queriedPackages(course)) co_return list;
        if (hasRetried) throw FetchPackagesError(FetchPackagesError::unauthorized);
        if (!co_await renewsAccessToken(course))
            throw FetchPackagesError(FetchPackagesError::refreshTokenError);
        hasRetried = true;
        // The flag is set before it is looked at, so the query never goes out again: the host asks in an
        // hour, and the renewed token serves it then.
        if (hasRetried) throw FetchPackagesError(FetchPackagesError::noPackagesFound);
    }
}

boost::asio::awaitable<std::optional<presentation::PackageList>> PackageFetch::queriedPackages(
    std::shared_ptr<Course> course) {
    try {
        const VelaApi::TrackingWidgetQuery query(maxImageSize);
        auto response = co_await connectivity_->perform(query);
        auto list = packages(std::move(response));
        course->server = ServerContact::answered;
        co_return list;
    } catch (...) {
        course->noteQuery(std::current_exception());
        co_return std::nullopt;
    }
}

boost::asio::awaitable<bool> PackageFetch::renewsAccessToken(std::shared_ptr<Course> course) {
    try {
        co_await renewPair();
        course->hasRenewed = true;
        co_return true;
    } catch (...) {
        course->noteRenewal(std::current_exception());
        co_return false;
    }
}

boost::asio::awaitable<void> PackageFetch::refreshAccessToken() {
    try {
        co_await renewPair();
    } catch (const RefreshTokenError& error) {
        if (error.value() == RefreshTokenError::missingRefreshToken) throw;
        throw RefreshTokenError(RefreshTokenError::unknown);
    } catch (...) {
        throw RefreshTokenError(RefreshTokenError::unknown);
    }
}

boost::asio::awaitable<void> PackageFetch::renewPair() {
    const auto lock = co_await heldRenewalLock();
    auto refreshToken = tokens_.refreshToken();
    if (!refreshToken) throw RefreshTokenError(RefreshTokenError::missingRefreshToken);
    // The old pair is worth more than one that cannot be kept.
    if (!lock) throw RefreshTokenError(RefreshTokenError::unknown);
    co_await exchangeRefreshToken(std::move(*refreshToken));
}

boost::asio::awaitable<void> PackageFetch::exchangeRefreshToken(std::string refreshToken) {
    // From here on the old pair may be spent and the new one is on its way.
    const auto activity = platform::ExpiringActivity::begin();
    if (!activity) throw RefreshTokenError(RefreshTokenError::unknown);
    VelaApi::RefreshAccessTokenMutation mutation(std::move(refreshToken));
    const auto response = co_await connectivity_->perform(std::move(mutation));
    const auto& refresh = response.accessTokenRefresh;
    for (const auto& error : refresh.userErrors)
        if (error.message == "invalid_refresh_token")
            throw RefreshTokenError(RefreshTokenError::invalidRefreshToken);
    if (!refresh.authPayload) throw RefreshTokenError(RefreshTokenError::unknown);
    tokens_.store(refresh.authPayload->accessToken, refresh.authPayload->refreshToken);
}

}  // namespace server
