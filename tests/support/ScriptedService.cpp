// SPDX-License-Identifier: Apache-2.0

#include "tests/support/ScriptedService.hpp"

#include <poll.h>

#include <stdexcept>
#include <utility>

namespace platform::testing {
namespace {

void require(int status, const char* what) {
    if (status < 0) throw std::runtime_error(std::string("a scripted service cannot ") + what);
}

}  // namespace

ScriptedService::ScriptedService(const std::string& address, const std::string& name) {
    require(sd_bus_new(&bus_), "be made");
    require(sd_bus_set_address(bus_, address.c_str()), "have its address");
    require(sd_bus_set_bus_client(bus_, 1), "be a client");
    require(sd_bus_start(bus_), "reach its bus");
    require(sd_bus_add_filter(bus_, nullptr, &ScriptedService::handle, this), "hear calls");
    require(sd_bus_request_name(bus_, name.c_str(), 0), "have its name");
    thread_ = std::thread([this] { serve(); });
}

ScriptedService::~ScriptedService() {
    isEnding_ = true;
    thread_.join();
    sd_bus_flush_close_unref(bus_);
}

void ScriptedService::answer(const std::string& member, Answer answer) {
    const std::lock_guard lock(mutex_);
    refusals_.erase(member);
    answers_[member] = std::move(answer);
}

void ScriptedService::refuse(const std::string& member, const std::string& error) {
    const std::lock_guard lock(mutex_);
    refusals_[member] = error;
}

void ScriptedService::ignore(const std::string& member) {
    answer(member, nullptr);
}

int ScriptedService::calls(const std::string& member) const {
    const std::lock_guard lock(mutex_);
    const auto found = calls_.find(member);
    return found == calls_.end() ? 0 : found->second;
}

int ScriptedService::handle(sd_bus_message* message, void* service, sd_bus_error*) {
    auto& self = *static_cast<ScriptedService*>(service);
    const char* member = sd_bus_message_get_member(message);
    if (!member || sd_bus_message_is_method_call(message, nullptr, nullptr) <= 0) return 0;
    ++self.calls_[member];
    const auto refused = self.refusals_.find(member);
    if (refused != self.refusals_.end()) {
        sd_bus_reply_method_errorf(message, refused->second.c_str(), "refused");
        return 1;
    }
    const auto found = self.answers_.find(member);
    if (found == self.answers_.end()) return 0;
    if (!found->second) return 1;
    sd_bus_message* answer = nullptr;
    sd_bus_message_new_method_return(message, &answer);
    const int result = found->second(message, answer);
    if (result >= 0)
        sd_bus_send(self.bus_, answer, nullptr);
    else
        sd_bus_reply_method_errno(message, result, nullptr);
    sd_bus_message_unref(answer);
    return 1;
}

void ScriptedService::serve() {
    constexpr int pollPause = 5;
    while (!isEnding_) {
        {
            const std::lock_guard lock(mutex_);
            while (sd_bus_process(bus_, nullptr) > 0) {
            }
        }
        pollfd socket = {.fd = sd_bus_get_fd(bus_), .events = POLLIN, .revents = 0};
        ::poll(&socket, 1, pollPause);
    }
}

}  // namespace platform::testing
