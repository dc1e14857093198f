#include "server/PackageFetch.hpp"

#include <algorithm>
#include <array>

#include "presentation/DeliveryPackage.hpp"
#include "presentation/OrderPackage.hpp"
#include "server/Keychain.hpp"

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

void store(const std::string& token, std::string_view key) {
    tokenKeychain().withExclusiveAccess(
        [&](const Keychain& keychain) { keychain.setData(platform::Data{token}, key); });
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

PackageFetch::PackageFetch(std::shared_ptr<VelaServerConnectivity> connectivity)
    : connectivity_(std::move(connectivity)) {}

std::shared_ptr<PackageFetch> PackageFetch::shared() {
    static const auto fetch = std::make_shared<PackageFetch>(std::make_shared<VelaServerConnectivity>());
    return fetch;
}

boost::asio::awaitable<std::optional<presentation::PackageList>> PackageFetch::fetchPackages() {
    try {
        co_return co_await fetchedPackages();
    } catch (const FetchPackagesError&) {
        throw;
    } catch (...) {
        // A cancelled coroutine fails at its next step. Only the renewal has one that is not caught.
        throw FetchPackagesError(FetchPackagesError::refreshTokenError);
    }
}

boost::asio::awaitable<std::optional<presentation::PackageList>> PackageFetch::fetchedPackages() {
    bool hasRetried = false;
    while (true) {
        if (auto list = co_await queriedPackages()) co_return list;
        if (hasRetried) throw FetchPackagesError(FetchPackagesError::unauthorized);
        if (!co_await renewsAccessToken()) throw FetchPackagesError(FetchPackagesError::refreshTokenError);
        hasRetried = true;
        // The flag is set before it is looked at, so the query never goes out again: the host asks in an
        // hour, and the renewed token serves it then.
        if (hasRetried) throw FetchPackagesError(FetchPackagesError::noPackagesFound);
    }
}

boost::asio::awaitable<std::optional<presentation::PackageList>> PackageFetch::queriedPackages() {
    try {
        const VelaApi::TrackingWidgetQuery query(maxImageSize);
        auto response = co_await connectivity_->perform(query);
        co_return packages(std::move(response));
    } catch (...) {
        co_return std::nullopt;
    }
}

boost::asio::awaitable<bool> PackageFetch::renewsAccessToken() {
    try {
        co_await refreshAccessToken();
        co_return true;
    } catch (...) {
        co_return false;
    }
}

boost::asio::awaitable<void> PackageFetch::refreshAccessToken() {
    auto refreshToken =
        tokenKeychain().withExclusiveAccess([](const Keychain& keychain) { return keychain.refreshToken(); });
    if (!refreshToken) throw RefreshTokenError(RefreshTokenError::missingRefreshToken);
    try {
        co_await exchangeRefreshToken(std::move(*refreshToken));
    } catch (const std::exception&) {
        throw RefreshTokenError(RefreshTokenError::unknown);
    }
}

boost::asio::awaitable<void> PackageFetch::exchangeRefreshToken(std::string refreshToken) {
    VelaApi::RefreshAccessTokenMutation mutation(std::move(refreshToken));
    const auto response = co_await connectivity_->perform(std::move(mutation));
    const auto& refresh = response.accessTokenRefresh;
    for (const auto& error : refresh.userErrors)
        if (error.message == "invalid_refresh_token")
            throw RefreshTokenError(RefreshTokenError::invalidRefreshToken);
    if (!refresh.authPayload) throw RefreshTokenError(RefreshTokenError::unknown);
    store(refresh.authPayload->accessToken, "accessToken");
    store(refresh.authPayload->refreshToken, "refreshToken");
}

}  // namespace server
