// SPDX-License-Identifier: Apache-2.0

#pragma once

// Prints a live host's state on standard output at every change, in a form of its owner's. Belongs to one
// executor.

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/steady_timer.hpp>
#include <exception>
#include <functional>
#include <string>
#include <string_view>

#include "host/reader/LiveHostClient.hpp"
#include "host/reader/ShownState.hpp"
#include "host/reader/StreamWatch.hpp"

namespace host {

class LineFollower {
  public:
    using Form = std::function<std::string(const LiveState&)>;

    /// What is printed where nothing is known and no host can be had, and why that is so.
    using FormWithoutHost = std::function<std::string(std::string_view why)>;

    LineFollower(const boost::asio::any_io_executor& executor, Form form,
                 FormWithoutHost formWithoutHost = nullptr);

    /// Until nobody reads standard output any more. Where a host cannot be had, standard error says why, once
    /// for each reason. SIGPIPE has to be ignored. `opening` comes first. Throws std::system_error where it
    /// cannot be written, and LiveHostError where going on is of no use, unless there is a form for that:
    /// then a host is looked for every minute.
    boost::asio::awaitable<void> run(std::string opening = {});

    const LiveState& state() const { return shown_.state(); }
    /// Once more, where something else than the state has changed what is printed.
    void print();

  private:
    boost::asio::awaitable<void> follow();
    boost::asio::awaitable<void> followHost();
    void takeGap(std::string_view why);
    void print(std::string text);
    void write(const std::string& text);
    void end(std::exception_ptr failure = nullptr);

    Form form_;
    FormWithoutHost formWithoutHost_;
    boost::asio::steady_timer end_;
    std::exception_ptr failure_;
    LiveHostClient client_;
    ShownState shown_;
    StreamWatch outputEnd_;
    std::string printed_;
    std::string complaint_;
};

}  // namespace host
