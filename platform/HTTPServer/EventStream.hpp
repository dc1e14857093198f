// SPDX-License-Identifier: Apache-2.0

#pragma once

// Server-sent events on their way to one reader (text/event-stream, HTML Living Standard 9.2). Each says how
// things are, so of those that a reader has not taken yet it gets the latest alone, and what waits for a slow
// one does not grow. Belongs to one executor.

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

class EventStream {
  public:
    explicit EventStream(const boost::asio::any_io_executor& executor);

    /// `name` and `data` are one line each.
    void send(std::string_view name, std::string_view data);
    /// Nothing more comes: the connection is closed, by whichever side.
    void end();
    bool hasEnded() const { return hasEnded_; }

    /// What is to be written next; a comment where nothing happened for `beat`, so that both sides notice
    /// that the other one has gone. Nothing after the end.
    boost::asio::awaitable<std::optional<std::string>> next(std::chrono::milliseconds beat);

  private:
    boost::asio::steady_timer wait_;
    std::optional<std::string> waiting_;
    bool hasEnded_ = false;
};

}  // namespace platform
