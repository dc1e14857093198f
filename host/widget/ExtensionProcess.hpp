// SPDX-License-Identifier: Apache-2.0

#pragma once

// One extension process, as its host sees it: started with a socket to talk over, asked, and ended. It may
// die, hang or talk nonsense at any time; what was asked of it then fails and the host goes on. Belongs to
// one executor; its members may be called from that executor's thread only.

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
#include <string>
#include <string_view>

#include "host/protocol/ExtensionRequest.hpp"
#include "host/protocol/MessageChannel.hpp"
#include "host/widget/ExtensionLaunch.hpp"
#include "platform/Streams/Deadline.hpp"

namespace host {

/// The extension has ended, hung up or broken the protocol: nothing more comes from it.
class ExtensionEnded : public ExtensionError {
    using ExtensionError::ExtensionError;
};

/// It was hung up on while it was asked: nothing is wrong with it.
class ExtensionLeft : public ExtensionEnded {
  public:
    ExtensionLeft() : ExtensionEnded("the extension was hung up on") {}
};

/// The extension did not answer in time. It may go on; nobody waits for it any more.
class ExtensionTimeout : public ExtensionError {
  public:
    explicit ExtensionTimeout(const platform::Deadline& deadline)
        : ExtensionError("the extension has not answered within " + deadline.limitInWords()) {}
};

/// The extension is well, and waits for a server that takes longer than a host may wait for both.
class ServerTimeout : public ExtensionError {
  public:
    explicit ServerTimeout(const platform::Deadline& deadline)
        : ExtensionError("the server has not answered within " + deadline.limitInWords()) {}
};

/// Which program a host starts, and how long it waits for it: the one place of these values.
struct ExtensionSettings {
    /// Beside the running program.
    static std::filesystem::path defaultExecutable();

    std::filesystem::path executable = defaultExecutable();
    /// The longest that a command waits, for all its answers together. A query ends after 120 seconds; the
    /// rest is for all that is not one. A renewal that follows one that took as long is finished without it.
    std::chrono::milliseconds answerLimit = std::chrono::seconds(150);
    /// How long a drawing may take beside the wait for its pictures; then the extension is taken to hang. The
    /// costliest pictures that are decoded take 3 seconds each.
    std::chrono::milliseconds drawingLimit = std::chrono::seconds(10);
    /// How long one that was hung up on may take to end before it is told to.
    std::chrono::milliseconds farewellLimit = std::chrono::seconds(1);
    /// How long it may go on after that, with a renewed pair of tokens to store, before it is killed.
    std::chrono::milliseconds renewalLimit = std::chrono::seconds(10);
};

class ExtensionProcess : public std::enable_shared_from_this<ExtensionProcess> {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;
    /// A line that the extension printed on its standard output or standard error, without the line break.
    using LineHandler = std::function<void(std::string_view line)>;

    /// Throws ExtensionError when the program cannot be started.
    static std::shared_ptr<ExtensionProcess> start(const boost::asio::any_io_executor& executor,
                                                   const ExtensionSettings& settings,
                                                   LineHandler onOutputLine);
    /// Leaves it.
    ~ExtensionProcess();

    /// Throws ExtensionTimeout when no answer came by the deadline, ExtensionEnded when none can come any
    /// more, ExtensionError when the answer is an error.
    boost::asio::awaitable<Message> ask(ExtensionRequest request, platform::Deadline deadline);

    /// Whether it has said anything since then.
    bool hasSpokenSince(TimePoint time) const { return lastWord_ >= time; }

    /// Hangs up and waits until all that the extension printed has been passed on and it has ended. One that
    /// goes on is told to end, and killed in the end; where the deadline comes first, it is left to itself.
    /// Gives its exit status, nothing for one that a signal ended.
    boost::asio::awaitable<std::optional<int>> end(platform::Deadline deadline);

    /// Hangs up, tells the extension to end, and waits for no longer than a person notices. What it still has
    /// to do it does by itself, in silence.
    void leave();

  private:
    struct PendingReply;

    ExtensionProcess(const boost::asio::any_io_executor& executor, const ExtensionSettings& settings,
                     const LaunchedExtension& launched, LineHandler onOutputLine);
    static boost::asio::awaitable<void> converse(std::shared_ptr<ExtensionProcess> extension);
    static boost::asio::awaitable<void> passOutputOn(std::shared_ptr<ExtensionProcess> extension);
    boost::asio::awaitable<std::string> lastWords();
    boost::asio::awaitable<bool> hasEndedBy(TimePoint deadline);
    std::string ending(ExtensionRequest::Kind kind) const;
    void take(Message message);
    void conclude(std::string ending);
    void endOutput();
    void hangUp();
    void tellToEnd() const;
    bool hasEnded();

    ExtensionSettings settings_;
    pid_t process_;
    /// As waitpid gives it, once the process has ended.
    std::optional<int> waitStatus_;
    /// How the conversation ended, in words that go on "the extension".
    std::optional<std::string> ending_;
    bool hasHungUp_ = false;
    bool hasPassedOutputOn_ = false;
    std::int64_t lastIdentifier_ = 0;
    TimePoint lastWord_ = TimePoint::min();
    std::shared_ptr<MessageChannel> channel_;
    boost::asio::posix::stream_descriptor output_;
    boost::asio::steady_timer outputEnd_;
    LineHandler onOutputLine_;
    std::map<std::int64_t, std::shared_ptr<PendingReply>> pending_;
};

}  // namespace host
