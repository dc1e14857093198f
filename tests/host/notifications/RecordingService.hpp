// SPDX-License-Identifier: Apache-2.0

#pragma once

// A notification service that writes down what it is asked to show.

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/ScriptedService.hpp"

namespace host {

using platform::testing::ScriptedService;

inline constexpr const char* serviceName = "org.freedesktop.Notifications";
inline constexpr const char* servicePath = "/org/freedesktop/Notifications";

struct Notified {
    std::uint32_t replaces = 0;
    std::string title;
    std::string text;
    bool hasActions = false;
    bool isSilent = false;
    int urgency = -1;
};

class RecordingService {
  public:
    struct Kind {
        bool hasMarkup = true;
        /// Nothing where it does not say.
        std::optional<bool> isInhibited = std::nullopt;
        bool hangs = false;
        /// Takes a while to show something.
        bool isSlow = false;
    };

    RecordingService(const std::string& address, Kind kind) : service_(address, serviceName) {
        service_.answer("GetCapabilities", [kind](sd_bus_message*, sd_bus_message* answer) {
            return kind.hasMarkup ? sd_bus_message_append(answer, "as", 3, "actions", "body", "body-markup")
                                  : sd_bus_message_append(answer, "as", 1, "body");
        });
        if (kind.isInhibited)
            service_.answer("Get", [kind](sd_bus_message*, sd_bus_message* answer) {
                return sd_bus_message_append(answer, "v", "b", *kind.isInhibited ? 1 : 0);
            });
        service_.answer("CloseNotification", [this](sd_bus_message* call, sd_bus_message*) {
            std::uint32_t number = 0;
            sd_bus_message_read(call, "u", &number);
            const std::lock_guard lock(mutex_);
            closed_.push_back(number);
            isStartedToClose_ = isStartedToClose_ || sd_bus_message_get_auto_start(call) != 0;
            return 0;
        });
        if (kind.hangs)
            service_.ignore("Notify");
        else
            service_.answer("Notify", [this, kind](sd_bus_message* call, sd_bus_message* answer) {
                const bool isRefused = isRefusing_;
                ++asked_;
                if (kind.isSlow) std::this_thread::sleep_for(std::chrono::milliseconds(100));
                return isRefused ? -EIO : take(call, answer);
            });
    }

    std::vector<Notified> shown() const {
        const std::lock_guard lock(mutex_);
        return shown_;
    }
    std::vector<std::uint32_t> closed() const {
        const std::lock_guard lock(mutex_);
        return closed_;
    }
    /// Shows nothing meanwhile.
    void refuse(bool isRefusing) { isRefusing_ = isRefusing; }
    /// Whether it would have been started for the sake of closing something.
    bool isStartedToClose() const {
        const std::lock_guard lock(mutex_);
        return isStartedToClose_;
    }
    /// How many notifications it was asked to show, also while it is about to.
    int asked() const { return asked_; }
    int calls(const char* member) const { return service_.calls(member); }
    template <typename... Arguments>
    void say(const char* member, const char* types, Arguments... arguments) {
        service_.signal(servicePath, serviceName, member, types, arguments...);
    }

  private:
    int take(sd_bus_message* call, sd_bus_message* answer) {
        Notified notified;
        const char* title = nullptr;
        const char* text = nullptr;
        sd_bus_message_read(call, "susss", nullptr, &notified.replaces, nullptr, &title, &text);
        notified.title = title;
        notified.text = text;
        char** actions = nullptr;
        sd_bus_message_read_strv(call, &actions);
        notified.hasActions = actions && actions[0];
        for (char** action = actions; action && *action; ++action) ::free(*action);
        ::free(actions);
        sd_bus_message_enter_container(call, 'a', "{sv}");
        while (sd_bus_message_enter_container(call, 'e', "sv") > 0) {
            const char* key = nullptr;
            sd_bus_message_read(call, "s", &key);
            const std::string_view hint = key;
            notified.isSilent = notified.isSilent || hint == "suppress-sound";
            std::uint8_t urgency = 0;
            if (hint == "urgency" && sd_bus_message_read(call, "v", "y", &urgency) > 0)
                notified.urgency = urgency;
            else
                sd_bus_message_skip(call, "v");
            sd_bus_message_exit_container(call);
        }
        const std::lock_guard lock(mutex_);
        shown_.push_back(notified);
        const auto number = notified.replaces != 0 ? notified.replaces : ++lastNumber_;
        return sd_bus_message_append(answer, "u", number);
    }

    std::atomic<bool> isRefusing_ = false;
    std::atomic<int> asked_ = 0;
    mutable std::mutex mutex_;
    std::vector<Notified> shown_;
    std::vector<std::uint32_t> closed_;
    bool isStartedToClose_ = false;
    std::uint32_t lastNumber_ = 40;
    ScriptedService service_;
};

}  // namespace host
