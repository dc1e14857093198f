// SPDX-License-Identifier: Apache-2.0

#include "host/widget/ExtensionProcess.hpp"

#include <signal.h>
#include <sys/wait.h>

#include <boost/asio/buffer.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <cstring>
#include <thread>
#include <utility>

#include "host/reader/TerminalText.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/ProcessInfo/SiblingProgram.hpp"

namespace host {

namespace asio = boost::asio;
using boost::system::error_code;

namespace {

constexpr std::size_t maximumLineLength = 64 << 10;
constexpr std::chrono::milliseconds pollingPause(1);
/// What a person takes for at once.
constexpr std::chrono::milliseconds unnoticed(250);

/// "ended by signal SIGSEGV", for a status as waitpid gives it.
std::string endingInWords(int waitStatus) {
    if (WIFEXITED(waitStatus)) return "ended with status " + std::to_string(WEXITSTATUS(waitStatus));
    const int signal = WTERMSIG(waitStatus);
    const char* abbreviation = ::sigabbrev_np(signal);
    return "ended by signal " + (abbreviation ? "SIG" + std::string(abbreviation) : std::to_string(signal));
}

/// Of a text from the extension, what fits into a message of ours.
std::string quoted(std::string_view text) {
    constexpr std::size_t longest = 400;
    return fittedToColumns(terminalSafe(text.substr(0, 4 * longest)), longest);
}

}  // namespace

struct ExtensionProcess::PendingReply {
    PendingReply(const asio::any_io_executor& executor, const platform::Deadline& deadline)
        : arrived(executor, deadline.end()) {}
    asio::steady_timer arrived;
    std::optional<Message> message;
};

std::filesystem::path ExtensionSettings::defaultExecutable() {
    return platform::siblingProgramPath("VelaWidgetExtension");
}

std::shared_ptr<ExtensionProcess> ExtensionProcess::start(const asio::any_io_executor& executor,
                                                          const ExtensionSettings& settings,
                                                          LineHandler onOutputLine) {
    const auto launched = launchExtension(settings.executable);
    const std::shared_ptr<ExtensionProcess> extension(
        new ExtensionProcess(executor, settings, launched, std::move(onOutputLine)));
    platform::spawn(executor, converse(extension), [extension](const std::exception_ptr&) {
        extension->conclude("could not be listened to");
    });
    platform::spawn(executor, passOutputOn(extension),
                    [extension](const std::exception_ptr&) { extension->endOutput(); });
    return extension;
}

ExtensionProcess::ExtensionProcess(const asio::any_io_executor& executor, const ExtensionSettings& settings,
                                   const LaunchedExtension& launched, LineHandler onOutputLine)
    : settings_(settings),
      process_(launched.process),
      channel_(MessageChannel::over(executor, launched.socket)),
      output_(executor, launched.output),
      outputEnd_(executor, TimePoint::max()),
      onOutputLine_(std::move(onOutputLine)) {}

ExtensionProcess::~ExtensionProcess() {
    leave();
}

asio::awaitable<Message> ExtensionProcess::ask(ExtensionRequest request, platform::Deadline deadline) {
    const auto kind = request.kind;
    if (ending_) throw ExtensionEnded(ending(kind));
    const auto reply = std::make_shared<PendingReply>(co_await asio::this_coro::executor, deadline);
    const auto identifier = ++lastIdentifier_;
    Message message = {.body = request.object()};
    message.body["id"] = identifier;
    channel_->send(message);
    pending_[identifier] = reply;
    error_code ignored;
    co_await reply->arrived.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    if (!reply->message && !ending_) {
        // This process may have been stopped itself meanwhile: what came in time is read first.
        reply->arrived.expires_after(unnoticed);
        co_await reply->arrived.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    }
    pending_.erase(identifier);
    if (!reply->message && ending_) throw ExtensionEnded(ending(kind));
    if (!reply->message) throw ExtensionTimeout(deadline);
    if (const auto* error = reply->message->body.if_contains("error"))
        throw ExtensionError(error->is_string() ? quoted(error->get_string()) : "the extension failed");
    co_return std::move(*reply->message);
}

std::string ExtensionProcess::ending(ExtensionRequest::Kind kind) const {
    const bool isDrawing = kind == ExtensionRequest::Kind::render;
    return "the extension " + *ending_ + (isDrawing ? " while drawing" : " before it answered");
}

void ExtensionProcess::take(Message message) {
    const auto* identifier = message.body.if_contains("id");
    const auto* number = identifier ? identifier->if_int64() : nullptr;
    if (!number || *number < 1 || *number > lastIdentifier_)
        throw ProtocolError("it answered what it was not asked");
    lastWord_ = std::chrono::steady_clock::now();
    // Where there is none, whoever asked has waited long enough.
    const auto found = pending_.find(*number);
    if (found == pending_.end()) return;
    found->second->message = std::move(message);
    found->second->arrived.cancel();
}

asio::awaitable<void> ExtensionProcess::converse(std::shared_ptr<ExtensionProcess> extension) {
    std::string ending;
    try {
        while (true) extension->take(co_await extension->channel_->receive());
    } catch (const boost::system::system_error&) {
        // It has gone.
    } catch (const std::exception& error) {
        ending = std::string("broke the protocol (") + error.what() + ")";
    }
    if (ending.empty() && extension->hasHungUp_) ending = "was hung up on";
    if (ending.empty()) ending = co_await extension->lastWords();
    extension->conclude(std::move(ending));
}

/// How it ended, once all that it printed has been passed on.
asio::awaitable<std::string> ExtensionProcess::lastWords() {
    const bool isOver = co_await hasEndedBy(std::chrono::steady_clock::now() + settings_.farewellLimit);
    co_return isOver ? endingInWords(*waitStatus_) : std::string("hung up");
}

void ExtensionProcess::conclude(std::string ending) {
    ending_ = std::move(ending);
    channel_->close();
    for (const auto& [identifier, reply] : pending_) reply->arrived.cancel();
}

asio::awaitable<void> ExtensionProcess::passOutputOn(std::shared_ptr<ExtensionProcess> extension) {
    std::string text;
    error_code error;
    while (!error) {
        const auto length =
            co_await asio::async_read_until(extension->output_, asio::dynamic_buffer(text, maximumLineLength),
                                            '\n', asio::redirect_error(asio::use_awaitable, error));
        if (error == asio::error::not_found) {
            // No line break in sight: passed on in pieces rather than held without end.
            error = {};
            extension->onOutputLine_(text);
            text.clear();
        } else if (!error) {
            extension->onOutputLine_(std::string_view(text).substr(0, length - 1));
            text.erase(0, length);
        }
    }
    if (!text.empty() && error != asio::error::operation_aborted) extension->onOutputLine_(text);
    extension->endOutput();
}

void ExtensionProcess::endOutput() {
    hasPassedOutputOn_ = true;
    outputEnd_.cancel();
}

asio::awaitable<std::optional<int>> ExtensionProcess::end(platform::Deadline deadline) {
    const auto farewell = deadline.within(settings_.farewellLimit).end();
    co_await channel_->flush(farewell);
    hangUp();
    bool isOver = co_await hasEndedBy(farewell);
    if (!isOver) {
        tellToEnd();
        isOver = co_await hasEndedBy(deadline.within(settings_.renewalLimit).end());
    }
    if (!isOver && deadline.rest().count() > 0) {
        ::kill(process_, SIGKILL);
        co_await hasEndedBy(std::chrono::steady_clock::now() + settings_.farewellLimit);
    }
    error_code ignored;
    output_.close(ignored);
    if (!waitStatus_ || !WIFEXITED(*waitStatus_)) co_return std::nullopt;
    co_return WEXITSTATUS(*waitStatus_);
}

void ExtensionProcess::leave() {
    hangUp();
    error_code ignored;
    output_.close(ignored);
    if (hasEnded()) return;
    tellToEnd();
    const auto end = std::chrono::steady_clock::now() + unnoticed;
    while (!hasEnded() && std::chrono::steady_clock::now() < end) std::this_thread::sleep_for(pollingPause);
    // It is the system's first process that waits for one that goes on.
}

void ExtensionProcess::hangUp() {
    hasHungUp_ = true;
    channel_->close();
}

void ExtensionProcess::tellToEnd() const {
    ::kill(process_, SIGTERM);
    // One that was stopped could not act on it.
    ::kill(process_, SIGCONT);
}

bool ExtensionProcess::hasEnded() {
    if (waitStatus_) return true;
    int status = 0;
    // -1: there is no such child, as somebody else has waited for it.
    if (::waitpid(process_, &status, WNOHANG) == 0) return false;
    waitStatus_ = status;
    return true;
}

/// Whether it has ended and all that it printed has been passed on.
asio::awaitable<bool> ExtensionProcess::hasEndedBy(TimePoint deadline) {
    error_code ignored;
    asio::steady_timer turn(output_.get_executor());
    while (!hasEnded() && std::chrono::steady_clock::now() < deadline) {
        turn.expires_after(pollingPause);
        co_await turn.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    }
    // Its end of the pipe closes when it ends, unless somebody else has it as well.
    outputEnd_.expires_at(std::min(deadline, std::chrono::steady_clock::now() + settings_.farewellLimit));
    if (hasEnded() && !hasPassedOutputOn_)
        co_await outputEnd_.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    co_return hasEnded();
}

}  // namespace host
