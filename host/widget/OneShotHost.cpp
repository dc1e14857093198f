#include "host/widget/OneShotHost.hpp"

#include <signal.h>
#include <unistd.h>

#include <boost/asio/signal_set.hpp>
#include <cerrno>
#include <chrono>
#include <optional>
#include <system_error>

#include "host/widget/Spinner.hpp"
#include "host/widget/TerminalText.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/Files/Writing.hpp"
#include "platform/Streams/Streams.hpp"

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

    ExtensionProcess::LineHandler lineHandler() const {
        return [spinner = spinner_](std::string_view line) {
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

asio::awaitable<void> conversation(const OneShotRequest& request, ExtensionProcess& extension,
                                   const platform::Deadline& deadline, VisibleWait& wait) {
    const auto reply = co_await extension.ask(request.request, deadline);
    wait.end();
    request.present(reply);
}

/// Uploads are not the person's business: that one of them fails or takes too long is no failure.
asio::awaitable<void> uploads(ExtensionProcess& extension, const platform::Deadline& deadline) {
    const ExtensionRequest finish = {.kind = ExtensionRequest::Kind::finishUploads, .limit = uploadPatience};
    try {
        co_await extension.ask(finish, deadline.within(uploadPatience));
    } catch (const ExtensionError&) {
    }
}

asio::awaitable<int> answered(const OneShotRequest& request) {
    const platform::Deadline deadline(request.extension.answerLimit);
    const auto executor = co_await asio::this_coro::executor;
    VisibleWait wait(executor, request.caption);
    const auto extension = ExtensionProcess::start(executor, request.extension, wait.lineHandler());
    int status = 1;
    bool isHanging = false;
    const auto report = [&wait](const std::exception& failure) {
        wait.end();
        platform::printFailure("vela-widget", failure);
    };
    try {
        co_await conversation(request, *extension, deadline, wait);
        status = 0;
    } catch (const ExtensionTimeout& failure) {
        report(failure);
        isHanging = true;
    } catch (const std::exception& failure) {
        report(failure);
    }
    if (isHanging) {
        extension->leave();
    } else {
        if (status == 0 && request.request.kind == ExtensionRequest::Kind::timeline)
            co_await uploads(*extension, deadline);
        co_await extension->end(deadline);
    }
    co_return status;
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
