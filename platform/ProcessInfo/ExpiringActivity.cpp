// SPDX-License-Identifier: Apache-2.0

#include "platform/ProcessInfo/ExpiringActivity.hpp"

#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>

namespace platform {
namespace {

constexpr unsigned patience = 10;  // seconds
constexpr std::array endingSignals = {SIGINT, SIGQUIT, SIGTERM, SIGHUP};

// What a signal handler may touch. Either the one who asks sees that nothing is under way, or the one who
// finishes sees that it was asked: each writes its own before it reads the other's.
std::atomic<int> activities = 0;
std::atomic<bool> isEnding = false;
static_assert(decltype(activities)::is_always_lock_free && decltype(isEnding)::is_always_lock_free);

void endIfIdle() {
    if (activities == 0) ::_exit(0);
}

// For signal handlers as well: nothing here but atomics and calls that are safe in one.
void requestEnd(int) {
    const int error = errno;
    // Once: whoever asks again does not buy it more time. Its default ends the process.
    if (!isEnding.exchange(true)) ::alarm(patience);
    endIfIdle();
    errno = error;
}

}  // namespace

std::optional<ExpiringActivity> ExpiringActivity::begin() {
    ++activities;
    ExpiringActivity activity;
    if (isEnding) return std::nullopt;
    return activity;
}

ExpiringActivity::~ExpiringActivity() {
    if (isOver_) return;
    --activities;
    if (isEnding) endIfIdle();
}

void endAfterActivities() {
    requestEnd(0);
}

void endAfterActivitiesOnSignals() {
    sigset_t unblocked;
    ::sigemptyset(&unblocked);
    for (const int signal : endingSignals) {
        struct sigaction previous = {};
        ::sigaction(signal, nullptr, &previous);
        if (previous.sa_handler == SIG_IGN) continue;
        struct sigaction action = {};
        action.sa_handler = requestEnd;
        action.sa_flags = SA_RESTART;
        ::sigaction(signal, &action, nullptr);
        ::sigaddset(&unblocked, signal);
    }
    ::signal(SIGALRM, SIG_DFL);
    ::sigaddset(&unblocked, SIGALRM);
    ::sigprocmask(SIG_UNBLOCK, &unblocked, nullptr);
}

}  // namespace platform
