// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/RunCommand.hpp"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <random>
#include <string_view>
#include <utility>

#include "host/reader/LiveHostClient.hpp"
#include "host/widget/Live/HostPlace.hpp"
#include "host/widget/Live/HostSocket.hpp"
#include "host/widget/Live/LiveDrawings.hpp"
#include "host/widget/Live/LiveExtension.hpp"
#include "host/widget/Live/LiveHost.hpp"
#include "host/widget/Live/Predecessor.hpp"
#include "host/widget/Live/PublishedFiles.hpp"
#include "host/widget/Notifications/Notifications.hpp"
#include "host/widget/OneShotHost.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/Asio/Pause.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/ProcessInfo/WipedMemory.hpp"
#include "platform/Streams/Streams.hpp"
#include "platform/SystemEvents/FileWatcher.hpp"

namespace host {

namespace asio = boost::asio;
using boost::system::error_code;

namespace {

/// An answer takes no longer; what does, is hung up on.
constexpr std::chrono::milliseconds patienceWithQuestions = std::chrono::minutes(3);
constexpr std::chrono::milliseconds lookForQuestionsAgain(100);
constexpr std::chrono::milliseconds patienceWithReaders = std::chrono::seconds(10);

void giveNotice(std::string_view notice) {
    platform::printError("vela-widget", notice);
}

ReloadPolicy::Random randomNumbers() {
    return [engine = std::mt19937_64(std::random_device()())]() mutable {
        return std::uniform_real_distribution<double>(0, 1)(engine);
    };
}

ExtensionSession::Options sessionOptions(const RunCommand& command) {
    ExtensionSession::Options options;
    options.extension = command.extension;
    options.restarts = RestartPolicy::patient();
    options.onOutputLine = printExtensionLine;
    options.onNotice = giveNotice;
    return options;
}

std::vector<RuntimeFolder> folders(const RunCommand& command, const HostClaim& claim, bool isInherited) {
    std::vector<RuntimeFolder> all;
    const auto standing = [&claim] { return claim.standing(); };
    const int own = ::fcntl(claim.folder(), F_DUPFD_CLOEXEC, 0);
    all.emplace_back(claim.address().folder, platform::Descriptor(own), giveNotice, standing);
    if (isInherited) all.front().inheritFiles();
    const auto make = isInherited ? RuntimeFolder::inherit : RuntimeFolder::make;
    if (command.output) {
        all.push_back(make(*command.output, giveNotice, standing));
        claim.noteOutput(*command.output);
    }
    return all;
}

HostPlace placeOf(std::optional<Predecessor>& predecessor) {
    const auto address = HostAddress::ofPerson();
    return predecessor ? HostPlace::inherit(address, std::move(predecessor->socket), predecessor->ownsSocket)
                       : HostPlace::claim(address, HostPlace::handedDownSocket());
}

std::optional<LiveHost::Remembered> rememberedBy(const std::optional<Predecessor>& predecessor) {
    return predecessor ? predecessor->remembered : std::nullopt;
}

bool hasChildren() {
    siginfo_t information = {};
    return ::waitid(P_ALL, 0, &information, WEXITED | WNOHANG | WNOWAIT) == 0;
}

/// From its making on, signals wait to be asked for.
struct Signals {
    explicit Signals(const asio::any_io_executor& executor)
        : end(executor, SIGINT, SIGTERM, SIGHUP), reload(executor, SIGUSR1) {}
    asio::signal_set end;
    asio::signal_set reload;
};

/// All the parts of a live host, and what holds them together.
class Household {
  public:
    Household(const asio::any_io_executor& executor, const RunCommand& command, const HostPlace& place,
              Signals& signals, const std::optional<Predecessor>& predecessor)
        : executor_(executor),
          clock_(command.makeClock(executor)),
          events_(command.makeEvents(executor)),
          extension_(executor, sessionOptions(command), command.extensionRest),
          host_(executor, {.clock = *clock_,
                           .events = *events_,
                           .extension = extension_,
                           .random = randomNumbers(),
                           .family = command.pictures.empty() ? platform::WidgetFamily::systemMedium
                                                              : command.pictures.front().family,
                           .remembered = rememberedBy(predecessor)}),
          drawings_(executor, host_, extension_),
          files_(executor, host_, drawings_, folders(command, place.claim(), predecessor.has_value()),
                 command.pictures),
          socket_(executor, place.socket(), {.host = host_, .drawings = drawings_, .files = files_},
                  socketOptions(command)),
          notifications_(executor, place.claim().address().folder, wantsNotifications(command),
                         [this] { return hasPlace(); }),
          signals_(signals),
          end_(executor, asio::steady_timer::time_point::max()),
          place_(place),
          guard_(executor, {place.claim().lockFile()}, [this](std::size_t) { endWithoutPlace(); }),
          program_(platform::executablePath()),
          renewal_(
              executor, program_, [this](ProgramRenewal::Event event) { take(event); }, command.renewal) {
        observation_ = host_.observe(
            [this](const LiveState& state, LiveHost::Change change) { notifications_.take(state, change); });
    }

    asio::awaitable<void> run() {
        // It may have been lost before it was guarded.
        if (!hasPlace()) co_return;
        const auto endWith = [this](const std::exception_ptr& failure) {
            failure_ = failure;
            end();
        };
        platform::spawn(executor_, host_.run(), endWith);
        platform::spawn(executor_, socket_.accept(), endWith);
        platform::spawn(executor_, reloadOnSignals(), endWith);
        platform::spawn(executor_, removeInheritance(), endWith);
        signals_.end.async_wait([this](const error_code&, int) { end(); });
        error_code ignored;
        while (!isOver_) co_await end_.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
        socket_.close();
        host_.stop();
        if (failure_) std::rethrow_exception(failure_);
    }

  private:
    HostSocket::Options socketOptions(const RunCommand& command) {
        HostSocket::Options options = {.version = command.version, .started = clock_->now()};
        if (command.idleLimit) options.idleLimit = *command.idleLimit;
        options.onIdle = [this] { end(); };
        options.mayServe = [this] { return hasPlace(); };
        return options;
    }

    Notifications::IsWanted wantsNotifications(const RunCommand& command) {
        return [this, notifies = command.notifies]() -> asio::awaitable<bool> {
            if (notifies) co_return true;
            co_return co_await extension_.wantsNotifications();
        };
    }

    bool hasPlace() const { return place_.claim().isHeld(); }
    void endWithoutPlace() {
        if (!hasPlace()) end();
    }

    void take(ProgramRenewal::Event event) {
        if (event == ProgramRenewal::Event::removed) return end();
        if (std::exchange(isRenewing_, true)) return;
        platform::spawn(executor_, renew(), [this](const std::exception_ptr&) { isRenewing_ = false; });
    }

    /// Goes on as the program that took its own's place; or, where that cannot be run, as it is.
    asio::awaitable<void> renew() {
        const auto end = std::chrono::steady_clock::now() + patienceWithQuestions;
        while ((host_.isAsking() || hasChildren()) && std::chrono::steady_clock::now() < end) {
            co_await platform::pause(lookForQuestionsAgain);
            co_await extension_.end();
        }
        if (!isOver_)
            giveNotice("the program was replaced, but " +
                       becomeProgram(program_, place_.socket(), place_.ownsSocket(), host_.remembered()));
        isRenewing_ = false;
    }

    /// Readers of the host before have had time to come back for their pictures.
    asio::awaitable<void> removeInheritance() {
        co_await platform::pause(patienceWithReaders);
        files_.removeUnwanted();
    }

    void end() {
        isOver_ = true;
        end_.cancel();
    }

    asio::awaitable<void> reloadOnSignals() {
        while (true) {
            co_await signals_.reload.async_wait(asio::use_awaitable);
            host_.askNow();
        }
    }

    asio::any_io_executor executor_;
    std::unique_ptr<platform::WallClock> clock_;
    std::unique_ptr<platform::SystemEvents> events_;
    SessionExtension extension_;
    LiveHost host_;
    LiveDrawings drawings_;
    PublishedFiles files_;
    HostSocket socket_;
    Notifications notifications_;
    LiveHost::Observation observation_;
    Signals& signals_;
    asio::steady_timer end_;
    const HostPlace& place_;
    /// Without its place no reader finds it, and another may begin.
    platform::FileWatcher guard_;
    std::filesystem::path program_;
    ProgramRenewal renewal_;
    bool isRenewing_ = false;
    bool isOver_ = false;
    std::exception_ptr failure_;
};

/// In the order in which they are needed: signals come before anything that one would leave behind.
struct House {
    House(const asio::any_io_executor& executor, const RunCommand& command)
        : signals(executor),
          predecessor(Predecessor::ofThisProcess()),
          place(placeOf(predecessor)),
          household(executor, command, place, signals, predecessor) {
        Predecessor::takeSignals();
        predecessor.reset();
    }
    Signals signals;
    std::optional<Predecessor> predecessor;
    HostPlace place;
    Household household;
};

asio::awaitable<int> keepHouse(const RunCommand& command) {
    const auto house = std::make_unique<House>(co_await asio::this_coro::executor, command);
    co_await house->household.run();
    co_return 0;
}

asio::awaitable<int> reloadAndReport() {
    LiveHostClient::Options options;
    options.ifMissing = LiveHostClient::IfMissing::leave;
    LiveHostClient client(co_await asio::this_coro::executor, std::move(options));
    const auto state = co_await client.reload();
    if (!state.trouble) co_return 0;
    platform::printError("vela-widget", sentence(*state.trouble));
    co_return 1;
}

}  // namespace

int RunCommand::run() const {
    // What somebody who signs out leaves behind is overwritten with the last use of it.
    platform::wipeFreedMemory();
    try {
        return platform::runToEnd(keepHouse(*this));
    } catch (const std::exception& failure) {
        platform::printFailure("vela-widget", failure);
        return 1;
    }
}

int runReload() {
    try {
        return platform::runToEnd(reloadAndReport());
    } catch (const std::exception& failure) {
        platform::printFailure("vela-widget", failure);
        return 1;
    }
}

}  // namespace host
