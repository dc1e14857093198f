// SPDX-License-Identifier: Apache-2.0

#include "platform/ProcessInfo/ExpiringActivity.hpp"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

namespace platform {
namespace {

/// How a child ends that does `work`: its exit status, or minus the signal that ended it.
int end(const std::function<void()>& work) {
    const pid_t child = ::fork();
    if (child == 0) {
        work();
        ::_exit(99);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

constexpr int endingSignals[] = {SIGINT, SIGQUIT, SIGTERM, SIGHUP};

TEST(ExpiringActivity, LetsAProcessWithoutOneEndAtOnce) {
    EXPECT_EQ(end([] { endAfterActivities(); }), 0);
    for (const int signal : endingSignals)
        EXPECT_EQ(end([signal] {
                      endAfterActivitiesOnSignals();
                      ::raise(signal);
                  }),
                  0)
            << signal;
}

TEST(ExpiringActivity, PutsTheEndOffToThatOfTheLast) {
    void* shared = ::mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    int& progress = *static_cast<int*>(shared);
    for (const int signal : endingSignals) {
        progress = 0;
        EXPECT_EQ(end([&] {
                      endAfterActivitiesOnSignals();
                      auto first = ExpiringActivity::begin();
                      auto second = ExpiringActivity::begin();
                      ::raise(signal);
                      ::raise(signal);
                      progress = 1;
                      first.reset();
                      progress = 2;
                      second.reset();
                      progress = 3;
                  }),
                  0)
            << signal;
        EXPECT_EQ(progress, 2) << signal;
    }
    ::munmap(shared, sizeof(int));
}

TEST(ExpiringActivity, DoesNotBeginOnceTheProcessIsAskedToEnd) {
    EXPECT_EQ(end([] {
                  const auto first = ExpiringActivity::begin();
                  endAfterActivities();
                  ::_exit(ExpiringActivity::begin() ? 1 : 7);
              }),
              7);
}

TEST(ExpiringActivity, EndsWithNothingToDoAfterOneHasBeenMoved) {
    EXPECT_EQ(end([] {
                  auto first = ExpiringActivity::begin();
                  { const auto second = std::move(first); }
                  endAfterActivities();
              }),
              0);
}

TEST(ExpiringActivity, IsGivenTenSecondsOnceWhateverTheProcessDoes) {
    EXPECT_EQ(end([] {
                  const auto activity = ExpiringActivity::begin();
                  endAfterActivities();
                  const unsigned left = ::alarm(0);
                  endAfterActivities();
                  ::_exit(left <= 10 && left >= 9 && ::alarm(0) == 0 ? 7 : 8);
              }),
              7);
    // A process that hangs is ended by the alarm that is set here for it, sooner.
    EXPECT_EQ(end([] {
                  endAfterActivitiesOnSignals();
                  const auto activity = ExpiringActivity::begin();
                  ::raise(SIGTERM);
                  ::alarm(1);
                  for (;;) {
                  }
              }),
              -SIGALRM);
}

TEST(ExpiringActivity, HearsSignalsThatItWasStartedWithBlocked) {
    EXPECT_EQ(end([] {
                  sigset_t all;
                  ::sigfillset(&all);
                  ::sigprocmask(SIG_BLOCK, &all, nullptr);
                  ::raise(SIGTERM);
                  endAfterActivitiesOnSignals();
              }),
              0);
}

TEST(ExpiringActivity, LeavesIgnoredWhatItWasStartedToIgnore) {
    EXPECT_EQ(end([] {
                  ::signal(SIGHUP, SIG_IGN);
                  endAfterActivitiesOnSignals();
                  ::raise(SIGHUP);
                  ::_exit(7);
              }),
              7);
}

TEST(ExpiringActivity, LosesNoEndBetweenASignalAndTheLastActivity) {
    for (int round = 0; round < 200; ++round)
        ASSERT_EQ(end([round] {
                      endAfterActivitiesOnSignals();
                      // Not before it is detached: an end in between would leave it to be joined.
                      std::atomic<bool> isDetached = false;
                      std::thread([self = ::pthread_self(), round, &isDetached] {
                          while (!isDetached) std::this_thread::yield();
                          std::this_thread::sleep_for(std::chrono::microseconds(round));
                          ::pthread_kill(self, SIGTERM);
                      }).detach();
                      isDetached = true;
                      for (;;) const auto activity = ExpiringActivity::begin();
                  }),
                  0)
            << round;
}

}  // namespace
}  // namespace platform
