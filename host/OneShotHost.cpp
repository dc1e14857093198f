#include "host/OneShotHost.hpp"

#include <signal.h>
#include <unistd.h>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <cerrno>
#include <chrono>
#include <optional>
#include <system_error>

#include "host/ExtensionProcess.hpp"
#include "host/Spinner.hpp"
#include "host/Streams.hpp"

namespace host {

namespace asio = boost::asio;

namespace {

constexpr std::chrono::milliseconds uploadPatience = std::chrono::seconds(2);

asio::awaitable<void> conversation(const OneShotRequest& request, ExtensionProcess& extension,
                                   Spinner& spinner) {
    const auto reply = co_await extension.ask(request.request);
    spinner.stop();
    request.present(reply);
    if (request.request.kind != ExtensionRequest::Kind::timeline) co_return;
    const ExtensionRequest finish = {.kind = ExtensionRequest::Kind::finishUploads, .limit = uploadPatience};
    co_await extension.ask(finish);
}

/// An interrupted wait leaves no spinner behind.
class CleanInterruption {
  public:
    CleanInterruption(const asio::any_io_executor& executor, std::shared_ptr<Spinner> spinner)
        : signals_(executor, SIGINT, SIGTERM) {
        signals_.async_wait(
            [spinner = std::move(spinner)](const boost::system::error_code& error, int signal) {
                if (error) return;
                spinner->stop();
                ::signal(signal, SIG_DFL);
                ::raise(signal);
            });
    }

  private:
    asio::signal_set signals_;
};

asio::awaitable<void> answer(const OneShotRequest& request, int& status) {
    const auto executor = co_await asio::this_coro::executor;
    const auto spinner =
        Spinner::start(executor, request.caption.empty() ? -1 : STDERR_FILENO, request.caption);
    std::optional<CleanInterruption> interruption;
    if (!request.caption.empty()) interruption.emplace(executor, spinner);
    std::shared_ptr<ExtensionProcess> extension;
    std::string failure;
    try {
        extension = ExtensionProcess::start(executor, ExtensionProcess::defaultExecutable(),
                                            [spinner](std::string_view line) {
                                                spinner->makeRoom();
                                                printExtensionLine(line);
                                            });
        co_await conversation(request, *extension, *spinner);
    } catch (const std::exception& error) {
        failure = error.what();
    }
    spinner->stop();
    if (extension) co_await extension->end();
    if (failure.empty()) co_return;
    printError("vela-widget", failure);
    status = 1;
}

}  // namespace

int runOnce(const OneShotRequest& request) {
    int status = 0;
    asio::io_context context(1);
    asio::co_spawn(context, answer(request, status), asio::detached);
    context.run();
    return status;
}

void writeToStandardOutput(std::string_view text) {
    if (!writeAll(STDOUT_FILENO, text))
        throw std::system_error(errno, std::generic_category(), "cannot write to standard output");
}

void printExtensionLine(std::string_view line) {
    writeAll(STDERR_FILENO, std::string(line) + "\n");
}

void printError(std::string_view program, std::string_view message) {
    writeAll(STDERR_FILENO, std::string(program) + ": " + std::string(message) + "\n");
}

}  // namespace host
