// SPDX-License-Identifier: Apache-2.0

#pragma once

// Shows notices by the desktop's notification service: one for each link, replaced by the next of that link.
// Where there is no service, or it hangs, nothing is shown and nobody waits. "Do not disturb" is the
// service's to keep: nothing here is urgent enough to break it, and where it says that it is in force a
// notice comes without sound. Belongs to one executor.

#include <boost/asio/any_io_executor.hpp>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "host/widget/Notifications/NotificationRules.hpp"
#include "platform/MessageBus/MessageBus.hpp"

namespace host {

class DesktopNotifier {
  public:
    /// Opens a link; with the token by which the desktop lets a window come to the front, or an empty one.
    using Open = std::function<void(const std::string& link, const std::string& activationToken)>;

    DesktopNotifier(const boost::asio::any_io_executor& executor, Open open);

    void show(const Notice& notice);
    /// Takes all that is shown off the screen.
    void withdrawAll();

  private:
    struct Shown {
        /// The service's number for it; 0 until it has said so.
        std::uint32_t number = 0;
        bool isOnItsWay = true;
        /// What came while another was on its way.
        std::optional<Notice> next = std::nullopt;
    };
    /// What the service can do, and how the person wants it now.
    struct Service {
        bool hasMarkup = false;
        bool hasActions = false;
        bool isQuiet = false;
    };

    /// A notice on its way, and whose time it is of.
    struct Errand {
        Notice notice;
        unsigned generation;
    };

    void ask(const Notice& notice);
    void askForQuiet(const Errand& errand, Service service);
    void send(const Errand& errand, const Service& service);
    void arrive(const Errand& errand, const platform::BusMessage& answer);
    void close(std::uint32_t number);
    void noteToken(const platform::BusMessage& signal);
    void noteAction(const platform::BusMessage& signal);
    void noteClosing(const platform::BusMessage& signal);

    Open open_;
    /// By link.
    std::map<std::string, Shown> shown_;
    std::string activationToken_;
    /// Another number after everything was withdrawn: what is on its way then is to vanish when it arrives.
    unsigned generation_ = 0;
    bool hasComplained_ = false;
    platform::MessageBus bus_;
};

}  // namespace host
