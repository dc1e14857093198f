#pragma once

// One extension process, as its host sees it: started with a socket to talk over, asked, and ended. It may
// die at any time; what was asked of it then fails and the host goes on. Belongs to one executor; its members
// may be called from that executor's thread only.

#include <sys/types.h>
#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "host/ExtensionRequest.hpp"
#include "host/MessageChannel.hpp"

namespace host {

/// The extension could not be started, has gone, or refused a request.
class ExtensionError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

class ExtensionProcess : public std::enable_shared_from_this<ExtensionProcess> {
  public:
    /// A line that the extension printed on its standard output, without the line break.
    using LineHandler = std::function<void(std::string_view line)>;

    /// Beside the running program.
    static std::filesystem::path defaultExecutable();

    /// Throws ExtensionError when the program cannot be started.
    static std::shared_ptr<ExtensionProcess> start(const boost::asio::any_io_executor& executor,
                                                   const std::filesystem::path& executable,
                                                   LineHandler onOutputLine);
    ~ExtensionProcess();

    pid_t processIdentifier() const { return process_; }
    bool isRunning() const { return isRunning_; }

    /// Throws ExtensionError when the extension goes away before it answers, or answers with an error.
    boost::asio::awaitable<Message> ask(ExtensionRequest request);

    /// Hangs up and waits until all that the extension printed has been passed on and it has ended; one that
    /// has not ended within `limit` is killed. Gives its exit status, nothing for one that a signal ended.
    boost::asio::awaitable<std::optional<int>> end(std::chrono::milliseconds limit = std::chrono::seconds(1));

  private:
    struct PendingReply;

    ExtensionProcess(const boost::asio::any_io_executor& executor, pid_t process, int socket, int output,
                     LineHandler onOutputLine);
    static boost::asio::awaitable<void> readReplies(std::shared_ptr<ExtensionProcess> extension);
    static boost::asio::awaitable<void> passOutputOn(std::shared_ptr<ExtensionProcess> extension);
    boost::asio::awaitable<std::optional<int>> waitForExit(std::chrono::steady_clock::time_point deadline);
    void kill();

    pid_t process_;
    bool isRunning_ = true;
    bool hasPassedOutputOn_ = false;
    std::int64_t lastIdentifier_ = 0;
    std::shared_ptr<MessageChannel> channel_;
    boost::asio::posix::stream_descriptor output_;
    boost::asio::steady_timer outputEnd_;
    LineHandler onOutputLine_;
    std::map<std::int64_t, std::shared_ptr<PendingReply>> pending_;
};

}  // namespace host
