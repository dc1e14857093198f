// SPDX-License-Identifier: Apache-2.0

#include "host/widget/OneShotHost.hpp"

#include <signal.h>
#include <unistd.h>

#include <boost/asio/signal_set.hpp>
#include <cerrno>
#include <chrono>
#include <optional>
#include <system_error>

#include "host/reader/TerminalText.hpp"
#include "host/widget/ExtensionSession.hpp"
#include "host/widget/Spinner.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/Files/Writing.hpp"
#include "platform/Streams/Streams.hpp"
#include "server/KeychainError.hpp"

namespace host {

namespace asio = boost::asio;

namespace {

constexpr std::chrono::milliseconds uploadPatience = std::chrono::seconds(2);

/// An interrupted wait leaves no spinner behind.
class CleanInterruption {
  public:
    CleanInterruption(const asio::any_io_executor& executor, std::shared_ptr<Spinner> spinner)
        : signals_(executor) {
        for (const int signal : {SIGINT, SIGTERM, SIGHUP})
            if (!isIgnored(signal)) signals_.add(signal);
        signals_.async_wait(
            [spinner = std::move(spinner)](const boost::system::error_code& error, int signal) {
                if (error) return;
                spinner->stop();
                ::signal(signal, SIG_DFL);
                ::raise(signal);
            });
    }

  private:
    /// As `nohup` and a shell's background have it.
    static bool isIgnored(int signal) {
        struct sigaction action = {};
        return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
    }

    asio::signal_set signals_;
};

/// What a person sees while an answer is awaited, and no longer: then signals do again what they always do.
class VisibleWait {
  public:
    VisibleWait(const asio::any_io_executor& executor, const std::string& caption)
        : spinner_(Spinner::start(executor, caption.empty() ? -1 : STDERR_FILENO, caption)) {
        if (!caption.empty()) interruption_.emplace(executor, spinner_);
    }

    /// To a person at a terminal it is no failure that nobody is signed in; the view itself says so.
    ExtensionProcess::LineHandler lineHandler() const {
        const bool isSeen = interruption_ && ::isatty(STDERR_FILENO) == 1;
        return [spinner = spinner_, isSeen](std::string_view line) {
            if (isSeen && server::tellsOfAbsence(line)) return;
            spinner->makeRoom();
            printExtensionLine(line);
        };
    }

    void end() {
        spinner_->stop();
        interruption_.reset();
    }

  private:
    std::shared_ptr<Spinner> spinner_;
    std::optional<CleanInterruption> interruption_;
};

asio::awaitable<bool> conversation(const OneShotRequest& request, ExtensionSession& session,
                                   VisibleWait& wait) {
    try {
        const auto reply = co_await session.ask(request.request);
        wait.end();
        request.present(reply);
        co_return true;
    } catch (const std::exception& failure) {
        wait.end();
        platform::printFailure("vela-widget", failure);
    }
    co_return false;
}

asio::awaitable<int> answered(const OneShotRequest& request) {
    const auto executor = co_await asio::this_coro::executor;
    VisibleWait wait(executor, request.caption);
    auto options = ExtensionSession::Options::forCommand(request.extension);
    options.onOutputLine = wait.lineHandler();
    ExtensionSession session(executor, std::move(options));
    const bool isAnswered = co_await conversation(request, session, wait);
    if (isAnswered && request.request.kind == ExtensionRequest::Kind::timeline)
        co_await session.finishUploads(uploadPatience);
    co_await session.end();
    co_return isAnswered ? 0 : 1;
}

}  // namespace

int runOnce(const OneShotRequest& request) {
    try {
        return platform::runToEnd(answered(request));
    } catch (const std::exception& failure) {
        platform::printFailure("vela-widget", failure);
        return 1;
    }
}

void writeToStandardOutput(std::string_view text) {
    if (!platform::writeAll(STDOUT_FILENO, text))
        throw std::system_error(errno, std::generic_category(), "cannot write to standard output");
}

void printExtensionLine(std::string_view line) {
    const bool isTerminal = ::isatty(STDERR_FILENO) != 0;
    platform::writeAll(STDERR_FILENO, (isTerminal ? terminalSafe(line) : std::string(line)) + "\n");
}

}  // namespace host
