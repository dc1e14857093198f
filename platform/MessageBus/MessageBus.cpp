// SPDX-License-Identifier: Apache-2.0

#include "platform/MessageBus/MessageBus.hpp"

#include <fcntl.h>
#include <poll.h>

#include <boost/asio/post.hpp>
#include <cerrno>
#include <cstdint>
#include <exception>
#include <list>
#include <optional>
#include <system_error>
#include <utility>

#include "platform/Asio/DescriptorWatch.hpp"
#include "platform/Asio/GrowingPause.hpp"
#include "platform/Log/Logger.hpp"
#include "platform/MessageBus/BusCoding.hpp"

namespace platform {
namespace {

struct CloseBus {
    void operator()(sd_bus* connection) const {
        BusLibrary::shared()->sd_bus_close(connection);
        BusLibrary::shared()->sd_bus_unref(connection);
    }
};

struct UnreferenceBusSlot {
    void operator()(sd_bus_slot* slot) const { BusLibrary::shared()->sd_bus_slot_unref(slot); }
};
using BusSlot = std::unique_ptr<sd_bus_slot, UnreferenceBusSlot>;

std::string matchRule(const BusSignal& signal) {
    std::string rule = "type='signal'";
    const auto add = [&rule](const char* key, const std::string& value) {
        if (!value.empty()) rule.append(",").append(key).append("='").append(value).append("'");
    };
    add("sender", signal.sender);
    add("interface", signal.interface);
    add("member", signal.member);
    add(signal.reach == BusSignal::Reach::at ? "path" : "path_namespace", signal.path);
    add("arg0", signal.firstArgument);
    return rule;
}

std::string wordsOf(int error) {
    return std::generic_category().message(error < 0 ? -error : error);
}

/// The library counts on the clock that steady_clock is.
std::chrono::steady_clock::duration untilMonotonic(std::uint64_t microseconds) {
    const auto due = std::chrono::steady_clock::time_point(std::chrono::microseconds(microseconds));
    return std::max(due - std::chrono::steady_clock::now(), std::chrono::steady_clock::duration::zero());
}

}  // namespace

struct MessageBus::State : std::enable_shared_from_this<MessageBus::State> {
    State(const boost::asio::any_io_executor& usedExecutor, Kind usedKind)
        : executor(usedExecutor),
          kind(usedKind),
          timeout(usedExecutor, [this] { process(); }),
          retry(usedExecutor, [this] { open(); }) {}

    /// What the library calls back about, at an address that stays.
    struct Listener {
        State& owner;
        BusSignal signal;
        Handler handler;
        BusSlot slot;
    };
    struct Question {
        Question(State& asking, Handler given)
            : owner(asking),
              answered(std::move(given)),
              limit(asking.executor, [this] { owner.giveUp(*this); }) {}

        State& owner;
        Handler answered;
        BusSlot slot;
        std::list<Question>::iterator place;
        /// Ours: the library begins to count when the bus has let it in.
        Alarm limit;
    };

    const char* nameOfBus() const { return kind == Kind::session ? "session bus" : "system bus"; }

    void open() {
        const int status = openBus();
        if (status < 0) return fail(status);
        begun();
        process();
    }

    int openBus() {
        const BusLibrary* library = BusLibrary::shared();
        if (!library) return -ENOSYS;
        sd_bus* opened = nullptr;
        int status =
            kind == Kind::session ? library->sd_bus_open_user(&opened) : library->sd_bus_open_system(&opened);
        if (status < 0) return status;
        connection.reset(opened);
        for (Listener& listener : listeners) {
            status = addMatch(listener);
            if (status < 0) return status;
        }
        // Asio closes its own; the library closes the other.
        const int watched = ::fcntl(library->sd_bus_get_fd(opened), F_DUPFD_CLOEXEC, 0);
        if (watched < 0) return -errno;
        socket.emplace(executor, watched, [this] { process(); });
        return 0;
    }

    int addMatch(Listener& listener) {
        sd_bus_slot* slot = nullptr;
        const int status = BusLibrary::shared()->sd_bus_add_match_async(
            connection.get(), &slot, matchRule(listener.signal).c_str(), &State::heard,
            // Without a handler of its own a match that the bus refuses would end the connection.
            [](sd_bus_message*, void*, sd_bus_error*) { return 0; }, &listener);
        listener.slot.reset(slot);
        return status;
    }

    static int heard(sd_bus_message* message, void* listener, sd_bus_error*) {
        auto& self = *static_cast<Listener*>(listener);
        self.owner.hand(self.handler, decoded(message));
        return 0;
    }

    static int answered(sd_bus_message* message, void* question, sd_bus_error*) {
        auto& self = *static_cast<Question*>(question);
        State& owner = self.owner;
        owner.hand(owner.settle(self), decoded(message));
        return 0;
    }

    void giveUp(Question& question) {
        const auto alive = shared_from_this();
        settle(question)({.error = "org.freedesktop.DBus.Error.NoReply"});
    }

    /// The handler of a question that is none any longer.
    Handler settle(Question& question) {
        Handler handler = std::move(question.answered);
        questions.erase(question.place);
        return handler;
    }

    /// The library is written in C: what a handler throws waits until it has returned.
    void hand(const Handler& handler, const BusMessage& message) {
        try {
            handler(message);
        } catch (...) {
            if (!thrown) thrown = std::current_exception();
        }
    }

    void process() {
        if (!connection) return;
        const auto alive = shared_from_this();
        const BusLibrary& library = *BusLibrary::shared();
        int status = 0;
        do {
            status = library.sd_bus_process(connection.get(), nullptr);
            if (thrown) std::rethrow_exception(std::exchange(thrown, nullptr));
        } while (status > 0 && connection);
        if (!connection) return;
        if (status < 0) return fail(status);
        if (library.sd_bus_is_ready(connection.get()) > 0) {
            pause.reset();
            hasComplained = false;
        }
        awaitMore();
    }

    void awaitMore() {
        const BusLibrary& library = *BusLibrary::shared();
        if ((library.sd_bus_get_events(connection.get()) & POLLOUT) != 0)
            socket->awaitWritable([this] { process(); });
        std::uint64_t due = UINT64_MAX;
        if (library.sd_bus_get_timeout(connection.get(), &due) > 0 && due != UINT64_MAX)
            timeout.set(untilMonotonic(due));
        else
            timeout.clear();
    }

    void fail(int status) {
        if (!std::exchange(hasComplained, true))
            Logger::standard().log(LogLevel::info, "the %s cannot be used: %s",
                                   {{nameOfBus()}, {wordsOf(status)}});
        const bool wasConnected = connection != nullptr;
        close();
        retry.set(pause.next());
        if (wasConnected) ended();
    }

    void close() {
        timeout.clear();
        socket.reset();
        for (Listener& listener : listeners) listener.slot.reset();
        auto unanswered = std::exchange(questions, {});
        connection.reset();
        for (Question& question : unanswered) refuse(std::move(question.answered));
    }

    void refuse(Handler handler) {
        boost::asio::post(executor, [watched = weak_from_this(), handler = std::move(handler)] {
            if (watched.expired()) return;
            handler({.error = "org.freedesktop.DBus.Error.Disconnected"});
        });
    }

    void ask(const BusCall& asked, std::chrono::milliseconds limit, Handler handler) {
        const OwnedBusMessage message = connection ? encoded(connection.get(), asked) : nullptr;
        if (!message) return refuse(std::move(handler));
        Question& question = questions.emplace_back(*this, std::move(handler));
        question.place = std::prev(questions.end());
        sd_bus_slot* slot = nullptr;
        const int status = BusLibrary::shared()->sd_bus_call_async(connection.get(), &slot, message.get(),
                                                                   &State::answered, &question, UINT64_MAX);
        question.slot.reset(slot);
        if (status < 0) return refuse(settle(question));
        question.limit.set(limit);
        awaitMore();
    }

    boost::asio::any_io_executor executor;
    Kind kind;
    std::function<void()> begun;
    std::function<void()> ended;
    std::list<Listener> listeners;
    Alarm timeout;
    Alarm retry;
    GrowingPause pause;
    bool hasComplained = false;
    std::exception_ptr thrown;
    std::unique_ptr<sd_bus, CloseBus> connection;
    std::list<Question> questions;
    std::optional<DescriptorWatch> socket;
};

MessageBus::MessageBus(const boost::asio::any_io_executor& executor, Kind kind)
    : state_(std::make_shared<State>(executor, kind)) {}

MessageBus::~MessageBus() {
    state_->retry.clear();
    state_->close();
}

void MessageBus::listen(BusSignal signal, Handler handler) {
    state_->listeners.push_back(
        {.owner = *state_, .signal = std::move(signal), .handler = std::move(handler), .slot = nullptr});
}

void MessageBus::connect(std::function<void()> begun, std::function<void()> ended) {
    state_->begun = std::move(begun);
    state_->ended = std::move(ended);
    state_->open();
}

void MessageBus::call(const BusCall& call, std::chrono::milliseconds limit, Handler answered) {
    state_->ask(call, limit, std::move(answered));
}

}  // namespace platform
