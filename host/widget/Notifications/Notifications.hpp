// SPDX-License-Identifier: Apache-2.0

#pragma once

// Tells a person what happens to the packages of a live host, where it is wanted. What was told is remembered
// as hashes in the host's folder, so that another host tells nothing twice. Belongs to one executor.

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

#include "host/protocol/HostClaim.hpp"
#include "host/reader/LinkOpener.hpp"
#include "host/widget/Live/LiveHost.hpp"
#include "host/widget/Notifications/DesktopNotifier.hpp"
#include "host/widget/Notifications/NotificationRules.hpp"

namespace host {

class Notifications {
  public:
    static constexpr const char* fileName = HostClaim::notificationsName;

    /// Whether the person wants them; asked when there is something to tell. What it throws counts as no.
    using IsWanted = std::function<boost::asio::awaitable<bool>()>;

    /// Whether the host has its place still. Without it nothing is told or remembered any more.
    using HasPlace = std::function<bool()>;

    /// `folder` is the live host's own.
    Notifications(
        const boost::asio::any_io_executor& executor, std::filesystem::path folder, IsWanted isWanted,
        HasPlace hasPlace = [] { return true; });

    void take(const LiveState& state, LiveHost::Change change);

  private:
    boost::asio::awaitable<void> tell(std::vector<Notice> notices);
    void load();
    void save() const;
    void removeMemory() const;
    void forget();

    boost::asio::any_io_executor executor_;
    std::filesystem::path folder_;
    IsWanted isWanted_;
    HasPlace hasPlace_;
    NotificationRules rules_;
    /// Something was told, and is known to the next host.
    bool isRemembering_ = false;
    LinkOpener opener_;
    std::unique_ptr<DesktopNotifier> notifier_;
    /// Another one after everything was forgotten; none after the end.
    std::shared_ptr<const int> life_ = std::make_shared<const int>(0);
};

}  // namespace host
