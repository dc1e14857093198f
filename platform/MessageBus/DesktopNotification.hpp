// SPDX-License-Identifier: Apache-2.0

#pragma once

// The desktop's notification service, as its specification has it: where it is found, and how it is asked.
// Constants and plain values, safe from any thread.

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/MessageBus/BusMessage.hpp"

namespace platform {

inline constexpr const char* notificationService = "org.freedesktop.Notifications";
inline constexpr const char* notificationPath = "/org/freedesktop/Notifications";
/// For the bus to start it, and for it to answer.
inline constexpr std::chrono::seconds notificationPatience{10};

inline BusCall notificationCall(const char* member, std::vector<BusValue> arguments = {}) {
    return {.destination = notificationService,
            .path = notificationPath,
            .interface = notificationService,
            .member = member,
            .arguments = std::move(arguments),
            .ifAbsent = BusCall::IfAbsent::start};
}

struct DesktopNotification {
    /// The number of the one that it replaces; 0 for none.
    std::uint32_t replaces = 0;
    std::string icon = "package-x-generic";
    std::string title;
    std::string text = {};
    /// Names and labels in turn.
    std::vector<std::string> actions = {};
    BusVariants hints = {};

    BusCall call() const {
        constexpr std::int32_t asLongAsTheServiceLikes = -1;
        return notificationCall("Notify", {std::string("Vela"), replaces, icon, title, text, actions, hints,
                                           asLongAsTheServiceLikes});
    }
};

}  // namespace platform
