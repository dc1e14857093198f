// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/ProgramRenewal.hpp"

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <system_error>
#include <utility>

#include "host/reader/DetachedProgram.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/Asio/Pause.hpp"

namespace host {

namespace asio = boost::asio;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr milliseconds lookAtTrialAgain(50);

enum class Standing { own, other, none };

/// What stands where this process's program stood.
Standing standingAt(const std::filesystem::path& program) {
    struct stat found = {};
    if (::stat(program.c_str(), &found) != 0) return Standing::none;
    struct stat own = {};
    const bool isOwn =
        ::stat("/proc/self/exe", &own) == 0 && own.st_dev == found.st_dev && own.st_ino == found.st_ino;
    return isOwn ? Standing::own : Standing::other;
}

/// Whether it says its version, which takes whatever it needs to start at all.
asio::awaitable<bool> doesRun(std::filesystem::path program, milliseconds limit) {
    pid_t process = 0;
    try {
        process = startDetached(program, {program.filename().string(), "--version"});
    } catch (const std::system_error&) {
        co_return false;
    }
    int status = -1;
    const auto end = steady_clock::now() + limit;
    while (::waitpid(process, &status, WNOHANG) == 0) {
        if (steady_clock::now() >= end) {
            ::kill(process, SIGKILL);
            ::waitpid(process, &status, 0);
            co_return false;
        }
        co_await platform::pause(lookAtTrialAgain);
    }
    co_return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

struct ProgramRenewal::State {
    asio::any_io_executor executor;
    std::filesystem::path program;
    std::function<void(Event)> happened;
    Options options;
    /// Another number for each change: what looks at an older one stops.
    unsigned change = 0;
    bool isOver = false;

    bool isOutdated(unsigned looked) const { return isOver || change != looked; }
};

ProgramRenewal::ProgramRenewal(const asio::any_io_executor& executor, std::filesystem::path program,
                               std::function<void(Event)> happened, Options options)
    : state_(std::make_shared<State>(State{.executor = executor,
                                           .program = program,
                                           .happened = std::move(happened),
                                           .options = std::move(options)})),
      watcher_(executor, {std::move(program)}, [state = state_](std::size_t) {
          ++state->change;
          platform::spawn(state->executor, look(state), [](const std::exception_ptr&) {});
      }) {
    // It may have been replaced before it was watched.
    platform::spawn(executor, look(state_), [](const std::exception_ptr&) {});
}

ProgramRenewal::~ProgramRenewal() {
    state_->isOver = true;
    state_->happened = nullptr;
}

asio::awaitable<void> ProgramRenewal::look(std::shared_ptr<State> state) {
    const auto looked = state->change;
    const auto& options = state->options;
    co_await platform::pause(options.settling);
    if (state->isOutdated(looked)) co_return;
    if (standingAt(state->program) == Standing::none) {
        co_await platform::pause(options.removal);
        if (state->isOutdated(looked)) co_return;
        if (standingAt(state->program) == Standing::none) co_return state->happened(Event::removed);
    }
    for (std::size_t attempt = 0; standingAt(state->program) == Standing::other; ++attempt) {
        const bool runs = co_await doesRun(state->program, options.trial);
        if (state->isOutdated(looked)) co_return;
        if (runs) co_return state->happened(Event::replaced);
        if (options.pauses.empty()) co_return;
        co_await platform::pause(options.pauses[std::min(attempt, options.pauses.size() - 1)]);
        if (state->isOutdated(looked)) co_return;
    }
}

}  // namespace host
