// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Panel/PanelCommand.hpp"

#include <signal.h>
#include <unistd.h>

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/json/object.hpp>
#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "host/reader/LiveHostClient.hpp"
#include "host/reader/ShownState.hpp"
#include "host/reader/SignInGuard.hpp"
#include "host/reader/StreamWatch.hpp"
#include "host/widget/JSONLine.hpp"
#include "host/widget/OneShotHost.hpp"
#include "host/widget/Panel/PanelContent.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/Digest/SHA256.hpp"
#include "platform/ProcessInfo/WipedMemory.hpp"
#include "platform/Streams/Streams.hpp"
#include "platform/Text/Base64.hpp"

namespace host {

namespace asio = boost::asio;
namespace json = boost::json;

namespace {

/// For a host to answer, and for the first answer of the extension's to one that has just begun.
constexpr std::chrono::milliseconds patienceAtFirst = std::chrono::seconds(10);

/// For a host to say what it shows, which takes it no time; one that hangs greets nobody.
constexpr std::chrono::milliseconds patienceWithHost = std::chrono::seconds(5);

/// Of hosts that begin at once all but one end, and their readers look again.
constexpr int patientGaps = 3;

LiveHostClient::Options optionsToFollow(const PanelCommand& command) {
    LiveHostClient::Options options;
    options.keychainShown = command.keychain;
    options.followLimit = patienceWithHost;
    return options;
}

asio::awaitable<json::value> drawn(LiveHostClient& client, PictureFile file) {
    auto request = file.request({.date = platform::Date::now(), .widgetState = {}});
    try {
        const auto png = co_await client.draw(std::move(request));
        co_return json::value("data:image/png;base64," + platform::base64(png));
    } catch (const LiveHostEnded&) {
        throw;
    } catch (const LiveHostError&) {
        // The words say the same.
        co_return json::value(nullptr);
    }
}

struct PanelLine {
    /// Another for other contents.
    std::string version;
    std::string text;
};

asio::awaitable<PanelLine> panelLine(LiveHostClient& client, LiveState state,
                                     std::optional<PictureFile> picture) {
    auto object = panelObject(state, platform::Date::now());
    // A host that is doubted is not waited for.
    const bool isDrawn = client.hasHost() || !state.isPlaceholder;
    if (picture && isDrawn) object["picture"] = co_await drawn(client, *picture);
    auto version = platform::sha256(jsonLine(object));
    object["version"] = version;
    co_return PanelLine{.version = std::move(version), .text = jsonLine(object)};
}

/// Waits for something that a shell does not show yet. Belongs to one executor.
class PanelWait {
  public:
    PanelWait(const asio::any_io_executor& executor, const PanelCommand& command)
        : command_(command),
          end_(executor, asio::steady_timer::time_point::max()),
          client_(executor, optionsToFollow(command)),
          outputEnd_(executor, STDOUT_FILENO, StreamWatch::Interest::abandoned, [this] { end(); }) {}

    asio::awaitable<void> run() {
        platform::spawn(end_.get_executor(), follow(),
                        [this](const std::exception_ptr& failure) { end(failure); });
        boost::system::error_code ignored;
        co_await end_.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
        client_.close();
        if (failure_) std::rethrow_exception(failure_);
    }

  private:
    asio::awaitable<void> follow() {
        const std::function<void(const LiveState&)> onState = [this](const LiveState& state) { take(state); };
        const std::function<void(std::string_view)> onGap = [this](std::string_view why) { lose(why); };
        co_await client_.follow(onState, onGap);
    }

    /// A shell has to know: what it shows grows old meanwhile.
    void lose(std::string_view why) {
        hasLost_ = true;
        if (++gaps_ >= patientGaps) end(std::make_exception_ptr(LiveHostError(std::string(why))));
    }

    void take(const LiveState& state) {
        gaps_ = 0;
        if (hasLost_ && knowsNothingYet(state, command_.keychain)) return;
        hasLost_ = false;
        latest_ = state;
        if (std::exchange(isComparing_, true)) return;
        platform::spawn(end_.get_executor(), compare(), [this](const std::exception_ptr&) {
            // The host ended meanwhile; its successor's first state is the next to be compared.
            isComparing_ = false;
        });
    }

    asio::awaitable<void> compare() {
        while (latest_) {
            auto state = *std::exchange(latest_, std::nullopt);
            auto line = co_await panelLine(client_, std::move(state), command_.picture);
            // Who has signed out meanwhile is not to be shown once more.
            if (latest_) continue;
            if (line.version != command_.after) write(line.text);
        }
        isComparing_ = false;
    }

    void write(const std::string& line) try {
        writeToStandardOutput(line);
        end();
    } catch (const std::exception&) {
        end(std::current_exception());
    }

    void end(std::exception_ptr failure = nullptr) {
        if (!failure_) failure_ = std::move(failure);
        // Also for whoever begins to wait only now.
        end_.expires_at(asio::steady_timer::time_point::min());
    }

    const PanelCommand& command_;
    asio::steady_timer end_;
    std::exception_ptr failure_;
    LiveHostClient client_;
    StreamWatch outputEnd_;
    std::optional<LiveState> latest_;
    bool isComparing_ = false;
    bool hasLost_ = false;
    /// Since there was a host.
    int gaps_ = 0;
};

asio::awaitable<int> printed(const PanelCommand& command) {
    LiveHostClient::Options options;
    options.answerLimit = patienceAtFirst;
    LiveHostClient client(co_await asio::this_coro::executor, std::move(options));
    auto state = co_await client.settledState(patienceAtFirst);
    const auto line = co_await panelLine(client, std::move(state), command.picture);
    writeToStandardOutput(line.text);
    co_return 0;
}

/// Ends with what is to be shown in place of what was somebody's, or with who reads it.
asio::awaitable<int> awaitedSignIn(const PanelCommand& command) {
    const auto executor = co_await asio::this_coro::executor;
    asio::steady_timer end(executor, asio::steady_timer::time_point::max());
    bool isForgotten = false;
    const auto over = [&end] { end.expires_at(asio::steady_timer::time_point::min()); };
    const auto forget = [&] {
        isForgotten = true;
        over();
    };
    SignInGuard guard(executor, patienceWithHost, command.keychain,
                      {.show = [](const LiveState&) {}, .forget = forget});
    const StreamWatch outputEnd(executor, STDOUT_FILENO, StreamWatch::Interest::abandoned, over);
    guard.lose();
    boost::system::error_code ignored;
    co_await end.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    if (isForgotten) writeToStandardOutput(jsonLine(panelObject(guard.nothing(), platform::Date::now())));
    co_return isForgotten ? 0 : 1;
}

asio::awaitable<int> awaited(const PanelCommand& command) {
    const auto wait = std::make_unique<PanelWait>(co_await asio::this_coro::executor, command);
    co_await wait->run();
    co_return 0;
}

}  // namespace

int PanelCommand::run() const {
    platform::wipeFreedMemory();
    ::signal(SIGPIPE, SIG_IGN);
    try {
        if (wait == Wait::forKeychain) return platform::runToEnd(awaitedSignIn(*this));
        return platform::runToEnd(after.empty() ? printed(*this) : awaited(*this));
    } catch (const std::exception& failure) {
        platform::printFailure("vela-widget", failure);
        return 1;
    }
}

}  // namespace host
