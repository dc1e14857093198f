// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/HostSocket.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <cerrno>
#include <system_error>
#include <utility>
#include <vector>

#include "host/protocol/DrawingRequestCoding.hpp"
#include "host/protocol/EntryCoding.hpp"
#include "host/protocol/LocalSocket.hpp"
#include "host/protocol/Members.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/Asio/Pause.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace host {

namespace asio = boost::asio;
namespace json = boost::json;
using Protocol = asio::local::stream_protocol;
using boost::system::error_code;
using std::chrono::steady_clock;

namespace {

/// Until there may be descriptors again.
constexpr std::chrono::milliseconds pauseWithoutDescriptors = std::chrono::seconds(1);
constexpr std::chrono::milliseconds patienceWithStrangers = std::chrono::seconds(1);

int duplicate(int descriptor) {
    const int copy = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    if (copy < 0) throw std::system_error(errno, std::generic_category(), "cannot listen");
    return copy;
}

std::string versionInWordsForReader(const VersionError& error) {
    return "this reader speaks " +
           (error.theirs() ? "version " + std::to_string(*error.theirs()) + " of the protocol"
                           : std::string("another version of the protocol")) +
           " and the live host (process " + std::to_string(::getpid()) + ") version " +
           std::to_string(MessageChannel::protocolVersion) + ": end the older of the two";
}

json::object stateBody(const LiveState& state) {
    return {{"state", liveStateObject(state)}};
}

}  // namespace

struct HostSocket::Reader {
    std::shared_ptr<MessageChannel> channel;
    bool isFollowing = false;
    /// An answer is on its way to it, behind which a state would queue.
    bool isTakingAnswer = false;
    /// It has missed a state meanwhile.
    bool isBehind = false;
};

HostSocket::HostSocket(const asio::any_io_executor& executor, int socket, Served served, Options options)
    : executor_(executor),
      acceptor_(executor, Protocol(), duplicate(socket)),
      served_(served),
      options_(std::move(options)),
      idle_(executor),
      readerLimit_(platform::connectionsWithin(mostReaders)) {
    observation_ = served_.host.observe([this](const LiveState& state, LiveHost::Change change) {
        if (change == LiveHost::Change::forgotten) dropSlowReaders();
        tell(state);
    });
    awaitReaders();
}

HostSocket::~HostSocket() {
    close();
}

void HostSocket::close() {
    error_code ignored;
    acceptor_.close(ignored);
    idle_.cancel();
    for (const auto& reader : readers_) reader->channel->close();
}

asio::awaitable<void> HostSocket::accept() {
    while (acceptor_.is_open()) {
        error_code error;
        Protocol::socket socket(executor_);
        co_await acceptor_.async_accept(socket, asio::redirect_error(asio::use_awaitable, error));
        if (!error)
            welcome(std::move(socket));
        else if (acceptor_.is_open())
            co_await platform::pause(pauseWithoutDescriptors);
    }
}

void HostSocket::welcome(Protocol::socket socket) {
    if (!isOfThisPerson(socket.native_handle()) || !options_.mayServe()) return;
    const MessageChannel::Limits limits = {
        .body = longestQuestion, .attachment = 0, .patience = options_.questionPatience};
    auto channel = MessageChannel::over(executor_, socket.release(), limits);
    const auto nothing = [](const std::exception_ptr&) {};
    if (readers_.size() >= readerLimit_) {
        const auto words = "the live host has " + std::to_string(readerLimit_) + " readers already";
        platform::spawn(executor_, dismiss(std::move(channel), words), nothing);
        return;
    }
    const auto reader = std::make_shared<Reader>(Reader{.channel = std::move(channel)});
    readers_.insert(reader);
    idle_.cancel();
    platform::spawn(executor_, serve(reader), [this, reader](const std::exception_ptr&) { drop(reader); });
}

asio::awaitable<void> HostSocket::dismiss(std::shared_ptr<MessageChannel> channel, std::string words) {
    Message message = {.body = {{"error", words}}};
    channel->send(message);
    co_await channel->flush(steady_clock::now() + patienceWithStrangers);
    channel->close();
}

asio::awaitable<void> HostSocket::serve(std::shared_ptr<Reader> reader) {
    auto words = co_await serveUntilEnd(reader);
    if (!words.empty()) co_await dismiss(reader->channel, std::move(words));
    drop(reader);
}

/// What the reader is to be told before it is dropped.
asio::awaitable<std::string> HostSocket::serveUntilEnd(std::shared_ptr<Reader> reader) {
    const auto& channel = reader->channel;
    try {
        while (true) {
            auto message = co_await channel->receive();
            co_await answer(reader, std::move(message.body));
            reader->isTakingAnswer = true;
            co_await channel->flush(steady_clock::now() + options_.answerPatience);
            reader->isTakingAnswer = false;
            if (channel->queuedBytes() > 0) co_return "";
            Message missed = {.body = stateBody(served_.host.state())};
            if (std::exchange(reader->isBehind, false)) channel->send(missed);
        }
    } catch (const VersionError& error) {
        co_return versionInWordsForReader(error);
    } catch (const std::exception&) {
        // It has gone, or sends what is no frame.
    }
    co_return "";
}

asio::awaitable<void> HostSocket::answer(std::shared_ptr<Reader> reader, json::object question) {
    const auto* found = question.if_contains("id");
    const json::value identifier = found ? *found : json::value(nullptr);
    Message reply;
    try {
        reply = co_await result(reader, std::move(question));
    } catch (const std::exception& error) {
        reply.body["error"] = error.what();
    }
    reply.body["id"] = identifier;
    reader->channel->send(reply);
}

asio::awaitable<Message> HostSocket::result(std::shared_ptr<Reader> reader, json::object question) {
    Message reply;
    switch (liveRequestIn(question)) {
        case LiveRequest::follow:
            reader->isFollowing = true;
            reply.body = stateBody(served_.host.state());
            break;
        case LiveRequest::draw: reply = co_await drawing(std::move(question)); break;
        case LiveRequest::reload: reply.body = stateBody(co_await served_.host.reload()); break;
        case LiveRequest::status: reply.body["status"] = liveHostStatusObject(status()); break;
        case LiveRequest::pictures: {
            const auto* pictures = question.if_contains("pictures");
            served_.files.want(reader.get(),
                               pictureFilesFromValue(pictures ? *pictures : json::value(nullptr)));
            break;
        }
    }
    co_return reply;
}

asio::awaitable<Message> HostSocket::drawing(json::object question) {
    question["entry"] = entryObject(served_.host.state().entry);
    auto request = drawingRequestFromObject(question);
    request.family = memberFamily(question);
    Message reply;
    reply.attachment = co_await served_.drawings.drawn(std::move(request));
    co_return reply;
}

LiveHostStatus HostSocket::status() {
    std::size_t following = 0;
    for (const auto& reader : readers_) following += reader->isFollowing ? 1 : 0;
    return {.pid = ::getpid(),
            .version = options_.version,
            .started = options_.started,
            .lastFetch = served_.host.lastFetch(),
            .nextFetch = served_.host.nextFetch(),
            .readers = following};
}

/// What waits for them is of one who has gone. They come back for what is shown now.
void HostSocket::dropSlowReaders() {
    for (const auto& reader : readers_)
        if (reader->channel->queuedBytes() > 0) reader->channel->close();
}

void HostSocket::tell(const LiveState& state) {
    const Message message = {.body = stateBody(state)};
    for (const auto& reader : readers_) {
        if (!reader->isFollowing) continue;
        // Its conversation ends by that, and it is dropped there.
        if (reader->isTakingAnswer)
            reader->isBehind = true;
        else if (reader->channel->queuedBytes() > mostQueued)
            reader->channel->close();
        else
            reader->channel->send(message);
    }
}

void HostSocket::drop(const std::shared_ptr<Reader>& reader) {
    if (readers_.erase(reader) == 0) return;
    reader->channel->close();
    served_.files.release(reader.get());
    awaitReaders();
}

void HostSocket::awaitReaders() {
    if (!options_.idleLimit || !readers_.empty() || !acceptor_.is_open()) return;
    idle_.expires_after(*options_.idleLimit);
    idle_.async_wait([this](const error_code& error) {
        if (!error && readers_.empty()) options_.onIdle();
    });
}

}  // namespace host
