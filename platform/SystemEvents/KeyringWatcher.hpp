// SPDX-License-Identifier: Apache-2.0

#pragma once

// Notices when the items of our kind in the desktop's keyring change, or can be read no longer or again. The
// keyring's other items, of which it speaks as well, are nobody's business here. Belongs to one executor.

#include <boost/asio/any_io_executor.hpp>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "platform/Asio/DescriptorWatch.hpp"
#include "platform/MessageBus/MessageBus.hpp"

namespace platform {

class KeyringWatcher {
  public:
    /// `learned` is told where nothing changed and the version is known at last.
    KeyringWatcher(
        const boost::asio::any_io_executor& executor, std::function<void()> changed,
        std::function<void()> learned = [] {});

    /// Of our items, as KeychainVersion has it: another where one came, went or was written. A keyring that
    /// is locked, or not there, says nothing of that, and it stays as it was. Empty while it is not known.
    const std::string& version() const { return version_; }

  private:
    /// Which of our items the keyring has.
    struct Items {
        std::set<std::string> readable;
        std::set<std::string> locked;
        bool operator==(const Items&) const = default;
    };

    /// When each of our items was written, in seconds since 1970; 0 where the keyring does not say.
    using Dates = std::map<std::string, std::uint64_t>;

    void search();
    void compare(const BusMessage& answer);
    void askDates();
    void take(const Dates& dates);
    void tell();

    std::function<void()> changed_;
    std::function<void()> learned_;
    std::optional<Items> items_;
    /// Objects of the keyring that changed since the last search.
    std::set<std::string> touched_;
    bool isChangeUntold_ = false;
    std::string version_;
    /// Another number for a later search.
    std::uint64_t searches_ = 0;
    MessageBus bus_;
    Alarm soon_;
};

}  // namespace platform
