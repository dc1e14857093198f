#include "host/ExtensionProcess.hpp"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <cstring>
#include <optional>

#include "platform/ProcessInfo/ProcessInfo.hpp"

extern char** environ;

namespace host {

namespace asio = boost::asio;
using boost::system::error_code;

namespace {

/// The descriptor at which the extension finds its socket.
constexpr int inheritedSocket = 3;
constexpr std::size_t maximumLineLength = 64 << 10;

/// A descriptor that is closed at the end of its scope unless it has been handed on.
class Descriptor {
  public:
    explicit Descriptor(int value) : value_(value) {}
    ~Descriptor() {
        if (value_ >= 0) ::close(value_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int value() const { return value_; }
    int release() { return std::exchange(value_, -1); }

  private:
    int value_;
};

[[noreturn]] void failToStart(const std::filesystem::path& executable, int error) {
    throw ExtensionError("cannot start " + executable.string() + ": " + std::strerror(error));
}

class SpawnActions {
  public:
    SpawnActions() { posix_spawn_file_actions_init(&actions_); }
    ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;
    void duplicate(int from, int to) { posix_spawn_file_actions_adddup2(&actions_, from, to); }
    const posix_spawn_file_actions_t* get() const { return &actions_; }

  private:
    posix_spawn_file_actions_t actions_;
};

}  // namespace

struct ExtensionProcess::PendingReply {
    explicit PendingReply(const asio::any_io_executor& executor)
        : arrived(executor, asio::steady_timer::time_point::max()) {}
    asio::steady_timer arrived;
    std::optional<Message> message;
};

std::filesystem::path ExtensionProcess::defaultExecutable() {
    return platform::executablePath().parent_path() / "VelaWidgetExtension";
}

std::shared_ptr<ExtensionProcess> ExtensionProcess::start(const asio::any_io_executor& executor,
                                                          const std::filesystem::path& executable,
                                                          LineHandler onOutputLine) {
    std::array<int, 2> sockets;
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()) != 0)
        failToStart(executable, errno);
    Descriptor ours(sockets[0]);
    const Descriptor theirs(sockets[1]);
    std::array<int, 2> pipe;
    if (::pipe2(pipe.data(), O_CLOEXEC) != 0) failToStart(executable, errno);
    Descriptor output(pipe[0]);
    const Descriptor theirOutput(pipe[1]);

    SpawnActions actions;
    actions.duplicate(theirOutput.value(), STDOUT_FILENO);
    actions.duplicate(theirs.value(), inheritedSocket);
    std::string program = executable.string();
    std::string option = "--host-socket=" + std::to_string(inheritedSocket);
    std::array<char*, 3> arguments = {program.data(), option.data(), nullptr};
    pid_t process = 0;
    const int error =
        ::posix_spawn(&process, program.c_str(), actions.get(), nullptr, arguments.data(), environ);
    if (error != 0) failToStart(executable, error);

    const std::shared_ptr<ExtensionProcess> extension(
        new ExtensionProcess(executor, process, ours.release(), output.release(), std::move(onOutputLine)));
    asio::co_spawn(executor, readReplies(extension), asio::detached);
    asio::co_spawn(executor, passOutputOn(extension), asio::detached);
    return extension;
}

ExtensionProcess::ExtensionProcess(const asio::any_io_executor& executor, pid_t process, int socket,
                                   int output, LineHandler onOutputLine)
    : process_(process),
      channel_(MessageChannel::over(executor, socket)),
      output_(executor, output),
      outputEnd_(executor, asio::steady_timer::time_point::max()),
      onOutputLine_(std::move(onOutputLine)) {}

ExtensionProcess::~ExtensionProcess() {
    kill();
}

void ExtensionProcess::kill() {
    if (process_ <= 0) return;
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
    process_ = -1;
}

asio::awaitable<Message> ExtensionProcess::ask(ExtensionRequest request) {
    if (!isRunning_) throw ExtensionError("the extension has ended");
    const auto identifier = ++lastIdentifier_;
    const auto reply = std::make_shared<PendingReply>(co_await asio::this_coro::executor);
    pending_[identifier] = reply;
    Message message = {.body = request.object()};
    message.body["id"] = identifier;
    channel_->send(message);
    error_code ignored;
    co_await reply->arrived.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    pending_.erase(identifier);
    if (!reply->message) throw ExtensionError("the extension ended before it answered");
    if (const auto* error = reply->message->body.if_contains("error"); error && error->is_string())
        throw ExtensionError(std::string(error->get_string()));
    co_return std::move(*reply->message);
}

asio::awaitable<void> ExtensionProcess::readReplies(std::shared_ptr<ExtensionProcess> extension) {
    try {
        while (true) {
            auto message = co_await extension->channel_->receive();
            const auto* identifier = message.body.if_contains("id");
            if (!identifier || !identifier->is_int64()) continue;
            const auto found = extension->pending_.find(identifier->get_int64());
            if (found == extension->pending_.end()) continue;
            found->second->message = std::move(message);
            found->second->arrived.cancel();
        }
    } catch (const std::exception&) {
        // Gone, or no longer making sense: either way nothing more comes from it.
        extension->isRunning_ = false;
        for (const auto& [identifier, reply] : extension->pending_) reply->arrived.cancel();
    }
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
    if (!text.empty()) extension->onOutputLine_(text);
    extension->hasPassedOutputOn_ = true;
    extension->outputEnd_.cancel();
}

asio::awaitable<std::optional<int>> ExtensionProcess::end(std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    co_await channel_->flush(deadline);
    channel_->close();
    // The extension's end of the pipe closes when it ends, so the end of its output is its own.
    if (!hasPassedOutputOn_) {
        outputEnd_.expires_at(deadline);
        error_code ignored;
        co_await outputEnd_.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    }
    isRunning_ = false;
    const auto status = co_await waitForExit(deadline);
    kill();
    output_.close();
    co_return status;
}

asio::awaitable<std::optional<int>> ExtensionProcess::waitForExit(
    std::chrono::steady_clock::time_point deadline) {
    constexpr std::chrono::milliseconds pause(1);
    int status = 0;
    while (process_ > 0 && ::waitpid(process_, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline) co_return std::nullopt;
        asio::steady_timer turn(output_.get_executor(), pause);
        co_await turn.async_wait(asio::use_awaitable);
    }
    process_ = -1;
    if (!WIFEXITED(status)) co_return std::nullopt;
    co_return WEXITSTATUS(status);
}

}  // namespace host
