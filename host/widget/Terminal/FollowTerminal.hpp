// SPDX-License-Identifier: Apache-2.0

#pragma once

// A terminal filled with the live host's state, and the keys that a person presses there. Belongs to one
// executor, and to the thread that made it.

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

#include "host/reader/LinkOpener.hpp"
#include "host/reader/LiveHostClient.hpp"
#include "host/reader/ShownState.hpp"
#include "host/reader/StreamWatch.hpp"
#include "host/widget/Terminal/FollowView.hpp"
#include "host/widget/Terminal/KeyReader.hpp"
#include "host/widget/Terminal/RawTerminal.hpp"
#include "platform/Asio/DescriptorWatch.hpp"

namespace host {

class FollowTerminal {
  public:
    /// Throws std::system_error.
    explicit FollowTerminal(const boost::asio::any_io_executor& executor);

    /// Until the person quits or the terminal has gone. Throws LiveHostError.
    boost::asio::awaitable<void> run();

  private:
    boost::asio::awaitable<void> follow();
    boost::asio::awaitable<void> reload();
    void awaitSignal();
    void suspend();
    void readKeys();
    void press(Key key);
    bool scrollsHelp(Key key);
    void choose(std::size_t index);
    void take(const LiveState& state);
    void lose(std::string_view why);
    void say(std::string note);
    void draw();
    std::optional<std::string> chosenLink() const;
    void end(std::exception_ptr failure = nullptr);

    boost::asio::steady_timer end_;
    std::exception_ptr failure_;
    LiveHostClient client_;
    ShownState shown_;
    FollowView view_;
    /// How many packages the screen has.
    std::size_t page_ = 1;
    /// How far its help can be scrolled.
    std::size_t helpEnd_ = 0;
    std::size_t helpPage_ = 1;
    RawTerminal terminal_;
    KeyReader keys_;
    platform::Alarm escape_;
    LinkOpener opener_;
    boost::asio::signal_set signals_;
    StreamWatch keyWatch_;
};

}  // namespace host
