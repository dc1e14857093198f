// SPDX-License-Identifier: Apache-2.0

#pragma once

// A reader's end of the live host: finds it, starts it where none runs, asks it, and finds it again after it
// ended. What is shown stays with the reader meanwhile. Belongs to one executor; its members may be called
// from that executor's thread only, and it has to outlive what was asked of it.

#include <sys/types.h>

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/protocol/LiveCoding.hpp"
#include "host/protocol/LiveState.hpp"
#include "host/protocol/MessageChannel.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "widget/DrawingRequest.hpp"

namespace host {

/// There is no live host and none could be started, or it refused, or it speaks another version; `what()`
/// says so to a person.
class LiveHostError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// There is no place for one (HostAddress).
class LiveHostPlaceless : public LiveHostError {
    using LiveHostError::LiveHostError;
};

/// It ended, or hung up, or none is to be had for now.
class LiveHostEnded : public LiveHostError {
    using LiveHostError::LiveHostError;
};

/// None runs, and none was to be started.
class LiveHostMissing : public LiveHostEnded {
    using LiveHostEnded::LiveHostEnded;
};

class LiveHostClient {
  public:
    enum class IfMissing { start, leave };

    struct Options {
        IfMissing ifMissing = IfMissing::start;
        /// Whose `run` is the live host; of a reader that outlived an upgrade, the newer program's.
        std::filesystem::path program = platform::executablePath();
        /// How long nobody may listen, or let anybody in, where no host that was started is on its way.
        std::chrono::milliseconds patience = std::chrono::seconds(5);
        /// How long one that was started and runs may take until it listens, on a machine that has much else
        /// to do.
        std::chrono::milliseconds startLimit = std::chrono::seconds(30);
        /// How long an answer may take.
        std::chrono::milliseconds answerLimit = std::chrono::seconds(150);
        /// How long a reload may take: it waits for the extension, and that for the server, 190 seconds at
        /// most; and before that for as much that is under way, and for an extension that hung to end.
        std::chrono::milliseconds reloadLimit = std::chrono::seconds(420);
        /// How long a host may take to say what it shows, before who follows it is told that there is a gap;
        /// one that is well says it at once.
        std::chrono::milliseconds followLimit = std::chrono::seconds(10);
        /// How long it may take to say what a change of the keychain means, and to let somebody in who wants
        /// it to reload, before it is taken for one that has ended.
        std::chrono::milliseconds orderLimit = std::chrono::seconds(5);
        /// The `keychain` of what is shown before any host is followed.
        std::string keychainShown = {};
        /// Before a host that ended is looked for again, the first time, the second and so on; the last
        /// stands for all further ones. A state that arrives begins the row anew.
        std::vector<std::chrono::milliseconds> pauses = {std::chrono::milliseconds(100),
                                                         std::chrono::seconds(1), std::chrono::seconds(5),
                                                         std::chrono::seconds(30), std::chrono::minutes(1)};
    };

    LiveHostClient(boost::asio::any_io_executor executor, Options options);
    /// As `Options` has them.
    explicit LiveHostClient(boost::asio::any_io_executor executor);
    /// Hangs up.
    ~LiveHostClient();
    LiveHostClient(const LiveHostClient&) = delete;
    LiveHostClient& operator=(const LiveHostClient&) = delete;

    /// Gives `onState` the state now and at every change, through the ends of live hosts, until `close`.
    /// Throws LiveHostError where going on is of no use: no place for the first host, one of another version.
    /// Where somebody may have signed in or out and no host says so, the state is a placeholder. `onGap` is
    /// told, in words, each time a host cannot be had; what was shown stays true as of then. Give it handlers
    /// that have a name: g++ 12 destroys twice what a lambda holds that is made within an awaited expression.
    boost::asio::awaitable<void> follow(
        std::function<void(const LiveState&)> onState,
        std::function<void(std::string_view)> onGap = [](std::string_view) {});

    /// The state now.
    boost::asio::awaitable<LiveState> state();
    /// The first state that is more than the placeholder of a host that has just begun; after `limit` the
    /// state as it is. Where the host ends meanwhile, its successor's.
    boost::asio::awaitable<LiveState> settledState(std::chrono::milliseconds limit);
    /// The bytes of a drawing of the host's own entry; the request's is not looked at.
    boost::asio::awaitable<std::string> draw(widget::DrawingRequest drawing);
    /// Whether there is one that it talks to.
    bool hasHost() const;
    /// Has the server asked now, and gives what came of it.
    boost::asio::awaitable<LiveState> reload();
    boost::asio::awaitable<LiveHostStatus> status();
    /// Has the host keep those pictures in its folder for as long as this reader is connected.
    boost::asio::awaitable<void> keepPictures(std::vector<PictureFile> files);

    /// Hangs up; what was asked fails with LiveHostEnded, and `follow` returns.
    void close();

  private:
    class Connection;
    using StateHandler = std::function<void(const LiveState&)>;

    boost::asio::awaitable<std::shared_ptr<Connection>> connected();
    boost::asio::awaitable<int> connectedSocket();
    boost::asio::awaitable<std::optional<LiveState>> settledStateOfOne(
        std::chrono::steady_clock::time_point deadline);
    void start();
    boost::asio::awaitable<Message> ask(boost::json::object request);
    boost::asio::awaitable<void> requireAnswer();
    boost::asio::awaitable<void> followOnce(StateHandler onState);
    boost::asio::awaitable<void> rest(std::size_t failures);

    boost::asio::any_io_executor executor_;
    Options options_;
    std::shared_ptr<Connection> connection_;
    boost::asio::steady_timer pause_;
    /// The host that this reader started, until it is waited for.
    std::optional<pid_t> started_;
    bool isClosed_ = false;
};

}  // namespace host
