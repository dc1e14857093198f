// SPDX-License-Identifier: Apache-2.0

#pragma once

// Says when a descriptor can be read, and when a time has passed, until it is destroyed, and never after:
// what a class of ours hears belongs to it, though Asio's own handlers outlive it. Each belongs to one
// executor.

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <functional>
#include <memory>

namespace platform {

class DescriptorWatch {
  public:
    /// Closes `descriptor` in the end. `isReadable` is called again and again as long as there is something
    /// to read; it may destroy the watch.
    DescriptorWatch(const boost::asio::any_io_executor& executor, int descriptor,
                    std::function<void()> isReadable);
    ~DescriptorWatch();
    DescriptorWatch(const DescriptorWatch&) = delete;
    DescriptorWatch& operator=(const DescriptorWatch&) = delete;

    int descriptor() const;
    /// Calls `isWritable` once when the descriptor takes bytes, unless that is awaited already.
    void awaitWritable(std::function<void()> isWritable);

  private:
    struct State;
    static void awaitReadable(const std::shared_ptr<State>& state);
    std::shared_ptr<State> state_;
};

class Alarm {
  public:
    Alarm(const boost::asio::any_io_executor& executor, std::function<void()> isOver);
    ~Alarm();
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

    /// In place of what it was set to before. Goes off once.
    void set(std::chrono::steady_clock::duration delay);
    void clear();
    bool isSet() const;

  private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace platform
