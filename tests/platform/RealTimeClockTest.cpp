// SPDX-License-Identifier: Apache-2.0

#include "platform/SystemEvents/RealTimeClock.hpp"

#include <gtest/gtest.h>

#include <boost/asio/co_spawn.hpp>
#include <optional>
#include <stdexcept>

#include "tests/support/EventLoop.hpp"

namespace platform::testing {
namespace {

class RealTimeClockTest : public ::testing::Test {
  protected:
    void wait(Date date) {
        isOver_ = false;
        boost::asio::co_spawn(loop_.executor(), clock_->waitUntil(date),
                              [this](const std::exception_ptr& error) {
                                  isOver_ = true;
                                  failure_ = error;
                              });
    }
    bool isOverInTheEnd() {
        return loop_.runUntil([this] { return isOver_; });
    }

    EventLoop loop_;
    std::optional<RealTimeClock> clock_{loop_.executor()};
    bool isOver_ = false;
    std::exception_ptr failure_;
};

TEST_F(RealTimeClockTest, WaitsUntilTheClockShowsTheDateAndNotLess) {
    for (const double seconds : {0.0005, 0.02, 0.3}) {
        const Date due = clock_->now().addingTimeInterval(seconds);
        wait(due);
        ASSERT_TRUE(isOverInTheEnd());
        EXPECT_GE(clock_->now(), due) << seconds;
    }
}

TEST_F(RealTimeClockTest, DoesNotWaitForWhatHasPassed) {
    for (const double seconds : {0.0, -1.0, -1e12}) {
        wait(clock_->now().addingTimeInterval(seconds));
        loop_.runReady();
        EXPECT_TRUE(isOver_) << seconds;
    }
}

TEST_F(RealTimeClockTest, IsInterruptedHoweverFarTheDate) {
    for (const double seconds : {60.0, 7 * 86400.0, 1e15}) {
        wait(clock_->now().addingTimeInterval(seconds));
        loop_.runReady();
        EXPECT_FALSE(isOver_) << seconds;
        clock_->interrupt();
        ASSERT_TRUE(isOverInTheEnd());
        EXPECT_FALSE(failure_);
    }
}

TEST_F(RealTimeClockTest, AnInterruptionWithoutAWaitIsNotKeptForTheNext) {
    clock_->interrupt();
    wait(clock_->now().addingTimeInterval(60));
    loop_.runReady();
    EXPECT_FALSE(isOver_);
    clock_->interrupt();
    EXPECT_TRUE(isOverInTheEnd());
}

TEST_F(RealTimeClockTest, RefusesASecondWaitBesideTheFirst) {
    wait(clock_->now().addingTimeInterval(60));
    loop_.runReady();
    wait(clock_->now().addingTimeInterval(60));
    loop_.runReady();
    ASSERT_TRUE(failure_);
    EXPECT_THROW(std::rethrow_exception(failure_), std::logic_error);
    clock_->interrupt();
    EXPECT_TRUE(isOverInTheEnd());
}

TEST_F(RealTimeClockTest, ItsEndEndsTheWait) {
    wait(clock_->now().addingTimeInterval(60));
    loop_.runReady();
    clock_.reset();
    EXPECT_TRUE(isOverInTheEnd());
}

}  // namespace
}  // namespace platform::testing
