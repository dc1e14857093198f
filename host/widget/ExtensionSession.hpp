// SPDX-License-Identifier: Apache-2.0

#pragma once

// One extension for as long as a host needs one: started when it is first asked, bounded in time, started
// again after it ended or hung, and ended with the session, also when that is dropped. What a host shows
// (entries, drawings) it keeps itself; a session that fails takes none of it along. Belongs to one executor;
// its members may be called from that executor's thread only, and it has to outlive what was asked of it.

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/protocol/ExtensionRequest.hpp"
#include "host/protocol/MessageChannel.hpp"
#include "host/widget/ExtensionProcess.hpp"
#include "platform/Streams/Deadline.hpp"
#include "widget/DrawingRequest.hpp"

namespace host {

/// When an extension is started again after it ended or hung.
struct RestartPolicy {
    /// Before the first start after a failure, the second in a row and so on; the last stands for all
    /// further ones. An answer begins the row anew.
    std::vector<std::chrono::milliseconds> pauses;
    /// How often one that ended over a drawing is started again for it, in all; absent is as often as it
    /// takes.
    std::optional<int> most = std::nullopt;

    /// At once, and once: somebody is waiting.
    static RestartPolicy once();
    /// For a host that lives for weeks: at once, then after 2 s, 10 s, a minute, 5 minutes.
    static RestartPolicy patient();
};

class ExtensionSession {
  public:
    /// Starts in a minute that do not wait for the pause that is due, at most.
    static constexpr std::size_t mostHurriedStarts = 6;

    struct Options {
        ExtensionSettings extension = {};
        /// How long an answer other than a drawing may take. A query ends after 120 seconds; the renewal that
        /// follows waits for 3 until it may begin, and ends after 60; the rest is for all that is neither.
        std::chrono::milliseconds answerBudget = std::chrono::seconds(190);
        /// How long it may take for which nothing beyond this machine is asked, such as what is stored of a
        /// sign-in. A keyring that does not answer is given up after 3 seconds, and the costliest picture
        /// takes as long; the rest is for a machine that is busy.
        std::chrono::milliseconds localBudget = std::chrono::seconds(10);
        /// How long an answer that cannot wait may take before another extension is asked; one that is well
        /// takes some milliseconds.
        std::chrono::milliseconds urgentPatience = std::chrono::milliseconds(150);
        /// How long a drawing may take, a second extension included.
        std::chrono::milliseconds drawingBudget = std::chrono::seconds(40);
        /// How long a drawing may wait for its pictures; a placeholder stands for each that has not come by
        /// then. At most some six tenths of what is left for the drawing.
        std::chrono::milliseconds pictureBudget = std::chrono::seconds(20);
        /// By when everything has to be over; absent for a session without an end. With one, all drawings
        /// share the budget for pictures.
        std::optional<platform::Deadline> deadline = std::nullopt;
        RestartPolicy restarts = RestartPolicy::patient();
        /// Receives what the extension prints.
        ExtensionProcess::LineHandler onOutputLine = [](std::string_view) {};
        /// Receives, in words for a person, what went wrong and was mended.
        std::function<void(std::string_view)> onNotice = [](std::string_view) {};

        /// For one command, whose answers share the settings' limit.
        static Options forCommand(const ExtensionSettings& extension);
    };

    ExtensionSession(boost::asio::any_io_executor executor, Options options);
    /// Leaves the extension, as `leave` does.
    ~ExtensionSession();
    ExtensionSession(const ExtensionSession&) = delete;
    ExtensionSession& operator=(const ExtensionSession&) = delete;

    /// Throws ExtensionTimeout when no answer came within the budget, ServerTimeout when that is because the
    /// server gave none, ExtensionEnded when none can come any more, ExtensionError when the answer is an
    /// error. After the first and the third, the next to be asked is another extension, once the pause that
    /// is due is over.
    boost::asio::awaitable<Message> ask(ExtensionRequest request);

    /// The same for what cannot wait. Where there is no extension, another is started whatever pause is due;
    /// where the one there is does not answer for a moment, another is asked beside it, and takes its place
    /// if that one is silent still. Of these hurried starts there are a few in a minute at most: then it
    /// waits as `ask` does.
    boost::asio::awaitable<Message> askUrgently(ExtensionRequest request);

    /// The bytes of a drawing. An extension that ends over it is replaced and asked again, as far as the
    /// policy goes; of one that goes on for longer than its pictures and its work may take, the successor is
    /// asked without pictures, and so for the rest of the session. Once it is left, no other is asked: whose
    /// entry that was may have signed out.
    boost::asio::awaitable<std::string> draw(widget::DrawingRequest drawing);

    /// Waits until no upload is in flight, for at most `limit`. That one fails or takes longer is no failure.
    boost::asio::awaitable<void> finishUploads(std::chrono::milliseconds limit);

    /// Ends the extension, if there is one, and waits for that; one that hung is left.
    boost::asio::awaitable<void> end();
    /// Tells it to end and does not wait.
    void leave();

  private:
    enum class Failure { hanging, ended };

    boost::asio::awaitable<std::shared_ptr<ExtensionProcess>> running();
    boost::asio::awaitable<Message> askBy(ExtensionRequest request,
                                          std::optional<platform::Deadline> deadline);
    static boost::asio::awaitable<bool> waitsForServer(std::shared_ptr<ExtensionProcess> silent,
                                                       platform::Deadline deadline);
    boost::asio::awaitable<Message> askBeside(std::shared_ptr<ExtensionProcess> silent,
                                              ExtensionRequest request);
    bool mayHurry();
    void endUnawaited(const std::shared_ptr<ExtensionProcess>& process);
    void throwIfLeftSince(std::uint64_t departures) const;
    platform::Deadline deadlineWithin(std::chrono::milliseconds budget) const;
    platform::Deadline hangingDeadline(const platform::Deadline& drawing,
                                       std::chrono::milliseconds pictures) const;
    void noteWait(std::chrono::steady_clock::time_point start);
    void noteFailure(const std::shared_ptr<ExtensionProcess>& process, Failure failure);

    boost::asio::any_io_executor executor_;
    Options options_;
    std::shared_ptr<ExtensionProcess> process_;
    /// The one before, until another is needed.
    std::shared_ptr<ExtensionProcess> failed_;
    Failure failure_ = Failure::ended;
    widget::PictureReading pictures_ = widget::PictureReading::allowed;
    std::chrono::milliseconds picturesLeft_;
    int restarts_ = 0;
    std::uint64_t departures_ = 0;
    /// Since the last answer.
    std::size_t failuresInARow_ = 0;
    std::chrono::steady_clock::time_point lastFailure_;
    /// When another was started that was not due yet.
    std::deque<std::chrono::steady_clock::time_point> hurriedStarts_;
};

}  // namespace host
