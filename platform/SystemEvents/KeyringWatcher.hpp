// SPDX-License-Identifier: Apache-2.0

#pragma once

// Notices when the items of our kind in the desktop's keyring change, or can be read no longer or again. The
// keyring's other items, of which it speaks as well, are nobody's business here. Belongs to one executor.

#include <boost/asio/any_io_executor.hpp>
#include <functional>
#include <optional>
#include <set>
#include <string>

#include "platform/Asio/DescriptorWatch.hpp"
#include "platform/MessageBus/MessageBus.hpp"

namespace platform {

class KeyringWatcher {
  public:
    KeyringWatcher(const boost::asio::any_io_executor& executor, std::function<void()> changed);

  private:
    /// Which of our items the keyring has.
    struct Items {
        std::set<std::string> readable;
        std::set<std::string> locked;
        bool operator==(const Items&) const = default;
    };

    void search();
    void compare(const BusMessage& answer);

    std::function<void()> changed_;
    std::optional<Items> items_;
    /// Objects of the keyring that changed since the last search.
    std::set<std::string> touched_;
    MessageBus bus_;
    Alarm soon_;
};

}  // namespace platform
