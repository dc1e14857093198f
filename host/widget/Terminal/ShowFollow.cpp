// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Terminal/ShowFollow.hpp"

#include <signal.h>
#include <unistd.h>

#include <boost/asio/this_coro.hpp>
#include <cerrno>
#include <system_error>
#include <utility>

#include "host/widget/Readers/LineFollower.hpp"
#include "host/widget/Readers/LiveTerminalView.hpp"
#include "host/widget/Terminal/FollowTerminal.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/Streams/Streams.hpp"

namespace host {

namespace asio = boost::asio;

namespace {

asio::awaitable<int> filledTerminal() {
    FollowTerminal terminal(co_await asio::this_coro::executor);
    co_await terminal.run();
    co_return 0;
}

asio::awaitable<int> printedChanges() {
    const auto style = TerminalStyle::ofDescriptor(STDOUT_FILENO);
    LineFollower follower(co_await asio::this_coro::executor, [style](const LiveState& state) {
        return liveTerminalView(state, style, platform::Date::now()) + "\n";
    });
    co_await follower.run();
    co_return 0;
}

}  // namespace

int showFollow() {
    try {
        ::signal(SIGPIPE, SIG_IGN);
        return platform::runToEnd(RawTerminal::isAvailable() ? filledTerminal() : printedChanges());
    } catch (const std::exception& failure) {
        platform::printFailure("vela-widget", failure);
        return 1;
    }
}

}  // namespace host
