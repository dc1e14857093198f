// SPDX-License-Identifier: Apache-2.0

#pragma once

// A service on a message bus that says what a test has it say. It has a thread of its own; its members are
// safe from any.

#include <systemd/sd-bus.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace platform::testing {

class ScriptedService {
  public:
    /// Fills in the answer to a call; a negative error number is that error in its place, as the bus names
    /// it.
    using Answer = std::function<int(sd_bus_message* call, sd_bus_message* answer)>;

    /// Has the name on the bus when this returns. Throws std::runtime_error.
    ScriptedService(const std::string& address, const std::string& name);
    ~ScriptedService();
    ScriptedService(const ScriptedService&) = delete;
    ScriptedService& operator=(const ScriptedService&) = delete;

    void answer(const std::string& member, Answer answer);
    /// A call whose answer is the error of that name.
    void refuse(const std::string& member, const std::string& error);
    /// A call whose answer never comes.
    void ignore(const std::string& member);

    template <typename... Arguments>
    void signal(const char* path, const char* interface, const char* member, const char* types,
                Arguments... arguments) {
        const std::lock_guard lock(mutex_);
        sd_bus_emit_signal(bus_, path, interface, member, types, arguments...);
        sd_bus_flush(bus_);
    }

    /// How many calls of a member have come.
    int calls(const std::string& member) const;

  private:
    static int handle(sd_bus_message* message, void* service, sd_bus_error*);
    void serve();

    mutable std::mutex mutex_;
    sd_bus* bus_ = nullptr;
    std::map<std::string, Answer> answers_;
    std::map<std::string, std::string> refusals_;
    std::map<std::string, int> calls_;
    std::atomic<bool> isEnding_ = false;
    std::thread thread_;
};

}  // namespace platform::testing
