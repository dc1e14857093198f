// SPDX-License-Identifier: Apache-2.0

#pragma once

// A connection to a message bus that is there whenever the bus is: where there is none, where it breaks or
// does not answer, it is made anew after growing pauses, and the log says so once. Nothing here blocks.
// Belongs to one executor: handlers are called on its thread, and members may be called from that thread
// only.

#include <boost/asio/any_io_executor.hpp>
#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "platform/MessageBus/BusMessage.hpp"

namespace platform {

/// What a signal has to be like to be heard; an empty field takes every value.
struct BusSignal {
    std::string sender = {};
    std::string interface = {};
    std::string member = {};
    /// The object, or with `within` any below it.
    std::string path = {};
    enum class Reach { at, within } reach = Reach::at;
    /// The first argument, where it is a text.
    std::string firstArgument = {};
};

class MessageBus {
  public:
    using Handler = std::function<void(const BusMessage&)>;

    /// By their addresses in the environment, else where the system has them.
    enum class Kind { session, system };

    MessageBus(const boost::asio::any_io_executor& executor, Kind kind);
    ~MessageBus();
    MessageBus(const MessageBus&) = delete;
    MessageBus& operator=(const MessageBus&) = delete;

    /// From now on, and on every later connection too. Before `connect`.
    void listen(BusSignal signal, Handler handler);
    /// `begun` is called at each new connection, when what was to be known of the services may have changed,
    /// and `ended` when one has broken.
    void connect(
        std::function<void()> begun, std::function<void()> ended = [] {});

    /// Asks a service. The answer comes once, in any case, and later than this call returns: without a
    /// connection, or after `limit`, as an error.
    void call(const BusCall& call, std::chrono::milliseconds limit, Handler answered);

  private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace platform
