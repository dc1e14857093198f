// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Bar/BarCommand.hpp"

#include <signal.h>

#include <boost/asio/this_coro.hpp>
#include <chrono>
#include <string_view>
#include <utility>

#include "host/protocol/HostAddress.hpp"
#include "host/reader/LinkOpener.hpp"
#include "host/reader/LiveHostClient.hpp"
#include "host/widget/Bar/BarFollower.hpp"
#include "host/widget/Bar/BarPosition.hpp"
#include "host/widget/OneShotHost.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/ProcessInfo/WipedMemory.hpp"
#include "platform/Streams/Streams.hpp"

namespace host {

namespace asio = boost::asio;

namespace {

/// For a host to answer, and for the first answer of the extension's to one that has just begun.
constexpr std::chrono::milliseconds patienceWithNewHost = std::chrono::seconds(10);

using Action = BarCommand::Action;

Action actionOfButton(std::string_view button) {
    if (button == "1") return Action::open;
    if (button == "4") return Action::previous;
    if (button == "5") return Action::next;
    return Action::print;
}

void act(Action action, const BarContent& content, const BarPosition& position) {
    if (action == Action::next) position.walk(BarPosition::Step::next, content.packages.size());
    if (action == Action::previous) position.walk(BarPosition::Step::previous, content.packages.size());
    if (action == Action::open && !content.link.empty()) openLink(content.link);
}

asio::awaitable<int> oneShot(BarStyle style, Action action) {
    LiveHostClient::Options options;
    options.answerLimit = patienceWithNewHost;
    LiveHostClient client(co_await asio::this_coro::executor, std::move(options));
    const auto position = BarPosition::ofPerson();
    const auto state = co_await client.settledState(patienceWithNewHost);
    const auto now = platform::Date::now();
    act(action, barContent(state, position.read(), now), position);
    if (action != Action::print) co_return 0;
    // i3blocks runs the command itself for a click.
    const auto button = platform::environmentVariable("BLOCK_BUTTON");
    if (style.format == BarFormat::i3blocks && button)
        act(actionOfButton(*button), barContent(state, position.read(), now), position);
    writeToStandardOutput(barOpening(style.format) +
                          barOutput(barContent(state, position.read(), now), style) +
                          barClosing(style.format));
    co_return 0;
}

/// A bar hides what fails: it gets words even where there is no host to ask.
asio::awaitable<int> printed(BarStyle style) {
    std::string why;
    try {
        co_return co_await oneShot(style, Action::print);
    } catch (const LiveHostError& error) {
        why = error.what();
    } catch (const HostAddressError& error) {
        why = error.what();
    }
    platform::printError("vela-widget", why);
    writeToStandardOutput(barOpening(style.format) + barOutput(contentWithoutHost(why), style) +
                          barClosing(style.format));
    co_return 0;
}

asio::awaitable<int> followed(BarStyle style) {
    BarFollower follower(co_await asio::this_coro::executor, std::move(style));
    co_await follower.run();
    co_return 0;
}

}  // namespace

int BarCommand::run() const {
    try {
        if (action == Action::print) return platform::runToEnd(printed(style));
        if (action != Action::follow) return platform::runToEnd(oneShot(style, action));
        platform::wipeFreedMemory();
        ::signal(SIGPIPE, SIG_IGN);
        return platform::runToEnd(followed(style));
    } catch (const std::exception& failure) {
        platform::printFailure("vela-widget", failure);
        return 1;
    }
}

}  // namespace host
