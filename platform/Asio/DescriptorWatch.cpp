// SPDX-License-Identifier: Apache-2.0

#include "platform/Asio/DescriptorWatch.hpp"

#include <utility>

namespace platform {

struct DescriptorWatch::State {
    boost::asio::posix::stream_descriptor descriptor;
    std::function<void()> isReadable;
    bool awaitsWritable = false;
};

DescriptorWatch::DescriptorWatch(const boost::asio::any_io_executor& executor, int descriptor,
                                 std::function<void()> isReadable)
    : state_(std::make_shared<State>(
          State{.descriptor = boost::asio::posix::stream_descriptor(executor, descriptor),
                .isReadable = std::move(isReadable)})) {
    awaitReadable(state_);
}

DescriptorWatch::~DescriptorWatch() {
    boost::system::error_code ignored;
    state_->descriptor.close(ignored);
}

int DescriptorWatch::descriptor() const {
    return state_->descriptor.native_handle();
}

void DescriptorWatch::awaitReadable(const std::shared_ptr<State>& state) {
    state->descriptor.async_wait(boost::asio::posix::stream_descriptor::wait_read,
                                 [watched = std::weak_ptr(state)](const boost::system::error_code& error) {
                                     const auto alive = watched.lock();
                                     if (error || !alive || !alive->descriptor.is_open()) return;
                                     alive->isReadable();
                                     if (alive->descriptor.is_open()) awaitReadable(alive);
                                 });
}

void DescriptorWatch::awaitWritable(std::function<void()> isWritable) {
    if (std::exchange(state_->awaitsWritable, true)) return;
    state_->descriptor.async_wait(boost::asio::posix::stream_descriptor::wait_write,
                                  [watched = std::weak_ptr(state_), isWritable = std::move(isWritable)](
                                      const boost::system::error_code& error) {
                                      const auto alive = watched.lock();
                                      if (error || !alive || !alive->descriptor.is_open()) return;
                                      alive->awaitsWritable = false;
                                      isWritable();
                                  });
}

struct Alarm::State {
    boost::asio::steady_timer timer;
    std::function<void()> isOver;
    /// Which setting is in force, and whether one is.
    unsigned setting = 0;
    bool isSet = false;
};

Alarm::Alarm(const boost::asio::any_io_executor& executor, std::function<void()> isOver)
    : state_(std::make_shared<State>(
          State{.timer = boost::asio::steady_timer(executor), .isOver = std::move(isOver)})) {}

Alarm::~Alarm() {
    clear();
}

void Alarm::set(std::chrono::steady_clock::duration delay) {
    ++state_->setting;
    state_->isSet = true;
    state_->timer.expires_after(delay);
    state_->timer.async_wait(
        [watched = std::weak_ptr(state_), setting = state_->setting](const boost::system::error_code& error) {
            const auto alive = watched.lock();
            // One that was set anew while this one was on its way.
            if (error || !alive || !alive->isSet || alive->setting != setting) return;
            alive->isSet = false;
            alive->isOver();
        });
}

void Alarm::clear() {
    state_->isSet = false;
    state_->timer.cancel();
}

bool Alarm::isSet() const {
    return state_->isSet;
}

}  // namespace platform
