// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Readers/ShowLive.hpp"

#include <boost/asio/this_coro.hpp>
#include <chrono>
#include <utility>

#include "host/reader/LiveHostClient.hpp"
#include "host/widget/OneShotHost.hpp"
#include "host/widget/Readers/LiveTerminalView.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/Streams/Streams.hpp"

namespace host {

namespace asio = boost::asio;

namespace {

constexpr std::chrono::milliseconds patienceForFirstAnswer = std::chrono::seconds(20);

asio::awaitable<int> shownLive(TerminalStyle style) {
    LiveHostClient::Options options;
    options.answerLimit = patienceForFirstAnswer;
    LiveHostClient client(co_await asio::this_coro::executor, std::move(options));
    const auto state = co_await client.settledState(patienceForFirstAnswer);
    writeToStandardOutput(liveTerminalView(state, style, platform::Date::now()));
    co_return 0;
}

}  // namespace

int showLive(const TerminalStyle& style) {
    try {
        return platform::runToEnd(shownLive(style));
    } catch (const std::exception& failure) {
        platform::printFailure("vela-widget", failure);
        return 1;
    }
}

}  // namespace host
