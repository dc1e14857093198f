// SPDX-License-Identifier: Apache-2.0

#include "host/reader/LiveHostClient.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <cerrno>
#include <cstdint>
#include <map>
#include <system_error>
#include <utility>

#include "host/protocol/DrawingRequestCoding.hpp"
#include "host/protocol/EntryCoding.hpp"
#include "host/protocol/HostAddress.hpp"
#include "host/protocol/HostClaim.hpp"
#include "host/protocol/LocalSocket.hpp"
#include "host/reader/HostStart.hpp"
#include "host/reader/SignInGuard.hpp"
#include "host/reader/TerminalText.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/Asio/Pause.hpp"
#include "platform/Streams/Deadline.hpp"

namespace host {

namespace asio = boost::asio;
namespace json = boost::json;
using boost::system::error_code;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr milliseconds lookAgain(20);

/// A host that is to begin while another ends, or that is killed as it begins, ends without having listened.
constexpr int mostStarts = 3;
constexpr milliseconds betweenStarts(500);
/// A host that ends in the moment in which it is asked has a successor for whoever asks again.
constexpr std::size_t mostHostsAsked = 3;

/// The descriptor, or minus the error; nobody else's host.
int tryToConnect(const std::filesystem::path& path) {
    const int connected = connectedLocalSocket(path);
    if (connected < 0 || isOfThisPerson(connected)) return connected;
    ::close(connected);
    return -EACCES;
}

HostAddress addressOfPerson() {
    try {
        return HostAddress::ofPerson();
    } catch (const HostAddressError& error) {
        throw LiveHostPlaceless(error.what());
    }
}

/// A host that is started cannot tell the reader what is wrong with its folder.
void requirePlace(const HostAddress& address) {
    try {
        HostClaim::requirePlace(address);
    } catch (const HostPlaceError& error) {
        throw LiveHostEnded(error.what());
    }
}

bool isMissing(int result) {
    return result == -ENOENT || result == -ECONNREFUSED;
}

std::string versionInWords(const VersionError& error) {
    return "the live host speaks " +
           (error.theirs() ? "version " + std::to_string(*error.theirs()) + " of the protocol"
                           : std::string("another version of the protocol")) +
           " and this program version " + std::to_string(MessageChannel::protocolVersion) +
           ": end the live host, so that one of this program's version can begin";
}

std::string quotedError(const json::value& error) {
    if (!error.is_string()) return "the live host refused";
    constexpr std::size_t longest = 400;
    return fittedToColumns(terminalSafe(std::string_view(error.get_string()).substr(0, 4 * longest)),
                           longest);
}

json::object asking(LiveRequest request) {
    return {{"request", name(request)}};
}

const json::value& memberOf(const Message& message, std::string_view key) {
    const auto* value = message.body.if_contains(key);
    if (!value) throw LiveHostError("the live host's answer has no " + std::string(key));
    return *value;
}

LiveState stateIn(const Message& message) {
    try {
        return liveStateFromValue(memberOf(message, "state"));
    } catch (const EntryCodingError& error) {
        throw LiveHostError(std::string("the live host's answer cannot be used: ") + error.what());
    } catch (const ProtocolError& error) {
        throw LiveHostError(std::string("the live host's answer cannot be used: ") + error.what());
    }
}

}  // namespace

/// One conversation with one live host.
class LiveHostClient::Connection : public std::enable_shared_from_this<Connection> {
  public:
    Connection(const asio::any_io_executor& executor, int socket, milliseconds answerLimit)
        : answerLimit_(answerLimit),
          ended_(executor, asio::steady_timer::time_point::max()),
          channel_(MessageChannel::over(executor, socket)) {}

    static std::shared_ptr<Connection> over(const asio::any_io_executor& executor, int socket,
                                            milliseconds answerLimit) {
        const auto connection = std::make_shared<Connection>(executor, socket, answerLimit);
        platform::spawn(executor, converse(connection), [connection](const std::exception_ptr&) {
            connection->conclude("it could not be listened to");
        });
        return connection;
    }

    bool hasEnded() const { return ending_.has_value(); }
    /// The host ended, and said nothing of why.
    bool isDeserted() const { return isDeserted_; }
    void listen(StateHandler onState) { onState_ = std::move(onState); }

    asio::awaitable<Message> ask(json::object request) { return ask(std::move(request), answerLimit_); }
    asio::awaitable<Message> ask(json::object request, milliseconds limit) {
        throwIfEnded();
        const platform::Deadline deadline(limit);
        const auto reply = std::make_shared<PendingReply>(ended_.get_executor(), deadline);
        const auto identifier = ++lastIdentifier_;
        request["id"] = identifier;
        channel_->send({.body = std::move(request)});
        pending_[identifier] = reply;
        error_code ignored;
        co_await reply->arrived.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
        pending_.erase(identifier);
        if (!reply->message) throwIfEnded();
        if (!reply->message)
            throw LiveHostEnded("the live host has not answered within " + deadline.limitInWords());
        if (const auto* error = reply->message->body.if_contains("error"))
            throw LiveHostError(quotedError(*error));
        co_return std::move(*reply->message);
    }

    /// Throws what ended it.
    asio::awaitable<void> untilEnd() {
        error_code ignored;
        while (!ending_) co_await ended_.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
        throwIfEnded();
    }

    void hangUp(std::string why = "it was hung up on") { conclude(std::move(why)); }

  private:
    struct PendingReply {
        PendingReply(const asio::any_io_executor& executor, const platform::Deadline& deadline)
            : arrived(executor, deadline.end()) {}
        asio::steady_timer arrived;
        std::optional<Message> message;
    };

    void throwIfEnded() const {
        if (isOfAnotherVersion_) throw LiveHostError(*ending_);
        if (ending_) throw LiveHostEnded(*ending_);
    }

    static asio::awaitable<void> converse(std::shared_ptr<Connection> connection) {
        std::string ending = "the live host has ended";
        try {
            while (true) connection->take(co_await connection->channel_->receive());
        } catch (const VersionError& error) {
            connection->isOfAnotherVersion_ = true;
            ending = versionInWords(error);
        } catch (const boost::system::system_error&) {
            connection->isDeserted_ = !connection->ending_;
        } catch (const std::exception& error) {
            ending = error.what();
        }
        connection->conclude(std::move(ending));
    }

    void take(Message message) {
        const auto* identifier = message.body.if_contains("id");
        if (!identifier) return takePush(message);
        const auto found = identifier->is_int64() ? pending_.find(identifier->get_int64()) : pending_.end();
        if (found == pending_.end()) return;
        found->second->message = std::move(message);
        found->second->arrived.cancel();
    }

    void takePush(const Message& message) {
        if (const auto* error = message.body.if_contains("error")) throw LiveHostEnded(quotedError(*error));
        if (onState_) onState_(stateIn(message));
    }

    void conclude(std::string ending) {
        if (ending_) return;
        ending_ = std::move(ending);
        onState_ = nullptr;
        channel_->close();
        for (const auto& [identifier, reply] : pending_) reply->arrived.cancel();
        ended_.cancel();
    }

    milliseconds answerLimit_;
    asio::steady_timer ended_;
    std::shared_ptr<MessageChannel> channel_;
    std::map<std::int64_t, std::shared_ptr<PendingReply>> pending_;
    StateHandler onState_;
    std::int64_t lastIdentifier_ = 0;
    std::optional<std::string> ending_;
    bool isOfAnotherVersion_ = false;
    bool isDeserted_ = false;
};

LiveHostClient::LiveHostClient(asio::any_io_executor executor, Options options)
    : executor_(std::move(executor)), options_(std::move(options)), pause_(executor_) {}

LiveHostClient::LiveHostClient(asio::any_io_executor executor)
    : LiveHostClient(std::move(executor), Options()) {}

LiveHostClient::~LiveHostClient() {
    close();
}

asio::awaitable<int> LiveHostClient::connectedSocket() {
    const auto address = addressOfPerson();
    const auto path = address.socket();
    auto nextStart = steady_clock::now();
    int starts = 0;
    // Counted in looks and not by the clock: a host stands still as long as the machine does.
    for (milliseconds waited(0);; waited += lookAgain) {
        const int result = tryToConnect(path);
        if (result >= 0) co_return result;
        if (isMissing(result)) {
            requirePlace(address);
            if (options_.ifMissing == IfMissing::leave) throw LiveHostMissing("no live host is running");
            // The one that was started before and has ended.
            if (started_ && ::waitpid(*started_, nullptr, WNOHANG) != 0) started_.reset();
            if (!started_ && starts < mostStarts && steady_clock::now() >= nextStart) {
                start();
                ++starts;
                nextStart = steady_clock::now() + betweenStarts;
            }
        } else if (result != -EAGAIN) {
            throw LiveHostEnded("the live host cannot be reached at " + path.string() + ": " +
                                std::generic_category().message(-result));
        }
        const bool isOnItsWay = isMissing(result) && started_;
        if (waited >= (isOnItsWay ? options_.startLimit : options_.patience))
            throw LiveHostEnded(
                result == -EAGAIN
                    ? "the live host lets nobody in; it may hang"
                    : "the live host that was started does not listen; see what vela-widget run says");
        co_await platform::pause(lookAgain);
    }
}

void LiveHostClient::start() {
    try {
        started_ = startLiveHost(options_.program);
    } catch (const std::system_error& error) {
        throw LiveHostEnded(error.what());
    }
}

asio::awaitable<std::shared_ptr<LiveHostClient::Connection>> LiveHostClient::connected() {
    if (isClosed_) throw LiveHostEnded("the live host was hung up on");
    if (!hasHost()) {
        const int socket = co_await connectedSocket();
        // Another that was waiting may have connected meanwhile.
        if (hasHost())
            ::close(socket);
        else
            connection_ = Connection::over(executor_, socket, options_.answerLimit);
    }
    co_return connection_;
}

asio::awaitable<Message> LiveHostClient::ask(json::object request) {
    const auto connection = co_await connected();
    co_return co_await connection->ask(std::move(request));
}

asio::awaitable<void> LiveHostClient::followOnce(StateHandler onState) {
    const auto connection = co_await connected();
    connection->listen(onState);
    // Nothing of the first state stays while others come after it.
    try {
        const auto limit = std::min(options_.followLimit, options_.answerLimit);
        auto answer = co_await connection->ask(asking(LiveRequest::follow), limit);
        onState(stateIn(answer));
    } catch (const LiveHostEnded&) {
        // Another may have taken the place of one that hangs.
        connection->hangUp();
        throw;
    }
    co_await connection->untilEnd();
}

asio::awaitable<void> LiveHostClient::rest(std::size_t failures) {
    const auto& pauses = options_.pauses;
    if (pauses.empty()) co_return;
    error_code ignored;
    pause_.expires_after(pauses[std::min(failures, pauses.size() - 1)]);
    co_await pause_.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
}

asio::awaitable<void> LiveHostClient::follow(std::function<void(const LiveState&)> onState,
                                             std::function<void(std::string_view)> onGap) {
    std::size_t failures = 0;
    bool hasFollowed = false;
    std::string gap;
    std::optional<SignInGuard> guard;
    const auto show = [&](const LiveState& state) {
        failures = 0;
        onState(state);
    };
    const auto forget = [&] {
        const bool isSilent = hasHost();
        if (isSilent) connection_->hangUp("the live host does not say who is signed in");
        onState(guard->nothing());
        // Of the other gap is told where it is waited for.
        if (!isSilent && !gap.empty()) onGap(gap);
    };
    guard.emplace(executor_, options_.orderLimit, options_.keychainShown,
                  SignInGuard::Handlers{.show = show, .forget = forget});
    // Named, as g++ 12 destroys twice what is made within what is awaited.
    const StateHandler hear = [&](const LiveState& state) {
        hasFollowed = true;
        guard->hear(state);
    };
    while (!isClosed_) {
        try {
            co_await followOnce(hear);
        } catch (const LiveHostEnded& ended) {
            gap = ended.what();
        } catch (const LiveHostPlaceless& placeless) {
            // It may come back, as the host did.
            if (!hasFollowed) throw;
            gap = placeless.what();
        }
        if (isClosed_) co_return;
        onGap(gap);
        guard->lose();
        co_await rest(failures++);
    }
}

asio::awaitable<LiveState> LiveHostClient::state() {
    auto answer = co_await ask(asking(LiveRequest::follow));
    co_return stateIn(answer);
}

asio::awaitable<LiveState> LiveHostClient::settledState(milliseconds limit) {
    const auto deadline = steady_clock::now() + limit;
    for (std::size_t asked = 1;; ++asked) {
        auto state = co_await settledStateOfOne(deadline);
        if (state) co_return *std::move(state);
        if (asked == mostHostsAsked || isClosed_) throw LiveHostEnded("the live host has ended");
        co_await rest(asked - 1);
    }
}

/// Nothing where that host ended meanwhile.
asio::awaitable<std::optional<LiveState>> LiveHostClient::settledStateOfOne(
    steady_clock::time_point deadline) {
    const auto latest = std::make_shared<std::optional<LiveState>>();
    const auto connection = co_await connected();
    connection->listen([latest](const LiveState& state) { *latest = state; });
    try {
        auto answer = co_await connection->ask(asking(LiveRequest::follow));
        if (!*latest) *latest = stateIn(answer);
    } catch (const LiveHostEnded&) {
        if (!connection->isDeserted()) throw;
        co_return std::nullopt;
    }
    const auto isUnsettled = [&] { return (*latest)->isPlaceholder && !(*latest)->trouble; };
    while (isUnsettled() && steady_clock::now() < deadline && !connection->hasEnded())
        co_await platform::pause(lookAgain);
    connection->listen(nullptr);
    if (isUnsettled() && connection->isDeserted()) co_return std::nullopt;
    co_return **latest;
}

asio::awaitable<std::string> LiveHostClient::draw(widget::DrawingRequest drawing) {
    const auto family = drawing.family;
    auto request = drawingRequestObject(drawing);
    request.erase("entry");
    request["request"] = name(LiveRequest::draw);
    request["family"] = platform::description(family);
    auto answer = co_await ask(std::move(request));
    co_return std::move(answer.attachment);
}

bool LiveHostClient::hasHost() const {
    return connection_ && !connection_->hasEnded();
}

/// On a connection of its own: on another an answer may be waited for that takes long.
asio::awaitable<void> LiveHostClient::requireAnswer() {
    LiveHostClient visitor(executor_, {.ifMissing = IfMissing::leave, .answerLimit = options_.orderLimit});
    try {
        co_await visitor.status();
    } catch (const LiveHostEnded& ended) {
        if (hasHost()) connection_->hangUp(ended.what());
        throw;
    }
}

asio::awaitable<LiveState> LiveHostClient::reload() {
    if (hasHost() || options_.ifMissing == IfMissing::leave) co_await requireAnswer();
    const auto connection = co_await connected();
    auto answer = co_await connection->ask(asking(LiveRequest::reload), options_.reloadLimit);
    co_return stateIn(answer);
}

asio::awaitable<LiveHostStatus> LiveHostClient::status() {
    auto answer = co_await ask(asking(LiveRequest::status));
    try {
        co_return liveHostStatusFromValue(memberOf(answer, "status"));
    } catch (const ProtocolError& error) {
        throw LiveHostError(std::string("the live host's answer cannot be used: ") + error.what());
    }
}

asio::awaitable<void> LiveHostClient::keepPictures(std::vector<PictureFile> files) {
    auto request = asking(LiveRequest::pictures);
    request["pictures"] = pictureFileArray(files);
    co_await ask(std::move(request));
}

void LiveHostClient::close() {
    isClosed_ = true;
    if (connection_) connection_->hangUp();
    pause_.cancel();
}

}  // namespace host
