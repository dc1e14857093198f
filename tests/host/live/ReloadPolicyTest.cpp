// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/ReloadPolicy.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/support/FixedAmbient.hpp"

namespace host {
namespace {

using platform::Date;

constexpr double minute = 60;
constexpr double hour = 3600;
constexpr double day = 24 * hour;

/// A policy, and the seconds since it began.
class ReloadPolicyTest : public testing::Test {
  protected:
    Date at(double seconds) const { return start.addingTimeInterval(seconds); }
    /// What is overdue is due now.
    double due(double now) {
        return std::max(now, policy.next(at(now)).timeIntervalSinceReferenceDate() -
                                 start.timeIntervalSinceReferenceDate());
    }
    void fail(double now) {
        policy.began(at(now));
        policy.failed(at(now), at(now + hour));
    }
    void succeed(double now) {
        policy.began(at(now));
        policy.answered(at(now), at(now + hour));
    }

    double random = 0;
    // Whole seconds are exact.
    const Date start = Date::sinceReferenceDate(800'000'000);
    ReloadPolicy policy{[this] { return random; }, start};
};

TEST_F(ReloadPolicyTest, AsksAtOnceWhenItBegins) {
    EXPECT_EQ(due(0), 0);
}

TEST_F(ReloadPolicyTest, AsksAtTheExtensionsDateOrUpToAMinuteLater) {
    for (const auto& [number, later] : std::vector<std::pair<double, double>>{{0, 0}, {0.5, 30}, {1, 60}}) {
        random = number;
        succeed(0);
        EXPECT_EQ(due(1), hour + later);
        EXPECT_EQ(due(2), hour + later) << "drawn once";
    }
}

TEST_F(ReloadPolicyTest, BelievesADateWithinADayOnly) {
    policy.began(at(0));
    policy.answered(at(10), at(-1e9));
    EXPECT_EQ(due(10), 10 + minute);
    policy.answered(at(10), at(1e9));
    EXPECT_EQ(due(10), 10 + day);
}

TEST_F(ReloadPolicyTest, AsksEarlierForEveryCause) {
    for (const auto cause : allReloadCauses) {
        succeed(0);
        policy.noted(cause, at(100));
        const double delay = cause == ReloadCause::midnight ? 0 : ReloadPolicy::coalescing;
        EXPECT_EQ(due(100), 100 + delay) << static_cast<int>(cause);
    }
}

TEST_F(ReloadPolicyTest, SpreadsMidnightOverAMinute) {
    succeed(0);
    random = 0.5;
    policy.noted(ReloadCause::midnight, at(100));
    EXPECT_EQ(due(100), 130);
}

TEST_F(ReloadPolicyTest, TakesABurstForOneCause) {
    succeed(0);
    for (int count = 0; count < 100; ++count) policy.noted(ReloadCause::defaults, at(100 + count * 0.001));
    EXPECT_EQ(due(100.2), 100 + ReloadPolicy::coalescing);
    succeed(100.25);
    EXPECT_EQ(due(100.25), 100.25 + hour);
}

TEST_F(ReloadPolicyTest, RemembersWhatHappensWhileItIsAnswered) {
    policy.began(at(0));
    policy.noted(ReloadCause::defaults, at(1));
    policy.answered(at(2), at(hour));
    EXPECT_EQ(due(2), 2);
}

TEST_F(ReloadPolicyTest, PausesForLongerAfterEachFailureInARow) {
    double now = 0;
    for (const double pause : {2.0, 10.0, 60.0, 300.0, 900.0, 900.0, 900.0}) {
        fail(now);
        EXPECT_EQ(due(now), now + pause);
        now += pause;
    }
}

TEST_F(ReloadPolicyTest, KeepsItsPauseWhateverHappens) {
    for (double now = 0; now < 4; ++now) fail(now);
    for (const auto cause : {ReloadCause::defaults, ReloadCause::clock, ReloadCause::zone})
        policy.noted(cause, at(4));
    EXPECT_EQ(due(4), 3 + 300);
}

TEST_F(ReloadPolicyTest, PausesForAMinuteAtMostOnceTheNetworkIsBackOrTheMachineWoke) {
    for (const auto cause : {ReloadCause::network, ReloadCause::resume}) {
        for (double now = 0; now < 4; ++now) fail(now);
        policy.noted(cause, at(4));
        EXPECT_EQ(due(4), 3 + 60);
        fail(63);
        EXPECT_EQ(due(63), 63 + 900) << "one attempt for one return";
        succeed(1000);
    }
}

TEST_F(ReloadPolicyTest, AsksAtOnceWhereTheNetworkReturnsLongAfterTheFailure) {
    for (double now = 0; now < 5; ++now) fail(now);
    EXPECT_EQ(due(500), 904);
    policy.noted(ReloadCause::network, at(500));
    EXPECT_EQ(due(500), 500);
}

TEST_F(ReloadPolicyTest, BeginsItsPausesAnewAfterASuccess) {
    for (double now = 0; now < 4; ++now) fail(now);
    succeed(400);
    fail(500);
    EXPECT_EQ(due(500), 502);
}

TEST_F(ReloadPolicyTest, AsksAtOnceAfterASignInAndBeginsItsPausesAnew) {
    for (double now = 0; now < 4; ++now) fail(now);
    policy.signedIn(at(5));
    EXPECT_EQ(due(5), 5);
    fail(5);
    EXPECT_EQ(due(5), 7);
}

TEST_F(ReloadPolicyTest, AsksAtOnceForARenewedPairButNotForeverForPairsThatAreOfNoUse) {
    policy.began(at(0));
    policy.renewed(at(1), at(hour));
    EXPECT_EQ(due(1), 1);
    double now = 1;
    for (const double pause : {2.0, 10.0, 60.0}) {
        policy.began(at(now));
        policy.renewed(at(now), at(now + hour));
        EXPECT_EQ(due(now), now + pause);
        now += pause;
    }
    succeed(now);
    policy.began(at(now));
    policy.renewed(at(now), at(now + hour));
    EXPECT_EQ(due(now), now);
}

TEST_F(ReloadPolicyTest, WaitsForTheNextHourWhereNoAnswerGivesADate) {
    policy.began(at(0));
    EXPECT_EQ(due(0), hour);
    policy.failed(at(100), std::nullopt);
    fail(102);
    EXPECT_EQ(due(102), 112);
}

/// How many requests go out from `from` on, in the seconds of `length`, where each `result` follows.
template <typename Result>
int requestsWithin(ReloadPolicy& policy, Date from, double length, Result result) {
    int count = 0;
    auto now = from;
    const auto end = from.addingTimeInterval(length);
    while (true) {
        now = std::max(now, policy.next(now));
        if (now > end) return count;
        policy.began(now);
        result(now);
        ++count;
    }
}

TEST_F(ReloadPolicyTest, AsksSeventyTimesADayAtMost) {
    for (const bool isSuccess : {true, false}) {
        ReloadPolicy bounded([] { return 0.0; }, start);
        for (int each = 0; each < 7; ++each) {
            const int count = requestsWithin(bounded, at(each * day), day - 1, [&](Date now) {
                if (isSuccess)
                    bounded.answered(now, now.addingTimeInterval(hour));
                else
                    bounded.failed(now, now.addingTimeInterval(hour));
                bounded.noted(ReloadCause::network, now);
            });
            EXPECT_LE(count, 70);
            EXPECT_GE(count, 50);
        }
    }
}

TEST_F(ReloadPolicyTest, KeepsRequestsForTheExtensionsDates) {
    ReloadPolicy restless([] { return 0.0; }, start);
    Date latest = start;
    double longestGap = 0;
    requestsWithin(restless, start, 3 * day, [&](Date now) {
        longestGap = std::max(longestGap,
                              now.timeIntervalSinceReferenceDate() - latest.timeIntervalSinceReferenceDate());
        latest = now;
        restless.answered(now, now.addingTimeInterval(hour));
        restless.noted(ReloadCause::defaults, now);
    });
    EXPECT_LE(longestGap, hour);
}

TEST_F(ReloadPolicyTest, AsksAtOnceForARenewedPairHoweverOftenTheNetworkCameAndWent) {
    ReloadPolicy roaming([] { return 0.0; }, start);
    requestsWithin(roaming, start, hour / 2, [&](Date now) {
        roaming.answered(now, now.addingTimeInterval(hour));
        roaming.noted(ReloadCause::network, now);
    });
    for (int each = 1; each <= 12; ++each) {
        const auto now = roaming.next(at(each * hour));
        roaming.began(now);
        roaming.renewed(now, now.addingTimeInterval(hour));
        EXPECT_EQ(roaming.next(now), now) << each;
        roaming.began(now);
        roaming.answered(now, now.addingTimeInterval(hour));
    }
}

TEST_F(ReloadPolicyTest, AsksAtOnceWhereTheNetworkReturnsAfterHalfADay) {
    ReloadPolicy offline([] { return 0.0; }, start);
    Date latest = start;
    double longestGap = 0;
    requestsWithin(offline, start, day / 2, [&](Date now) {
        longestGap = std::max(longestGap,
                              now.timeIntervalSinceReferenceDate() - latest.timeIntervalSinceReferenceDate());
        latest = now;
        offline.failed(now, std::nullopt);
    });
    EXPECT_LE(longestGap, hour);
    const auto back = latest.addingTimeInterval(10 * minute);
    offline.noted(ReloadCause::network, back);
    EXPECT_EQ(offline.next(back), back.addingTimeInterval(ReloadPolicy::coalescing));
    offline.began(back);
    offline.renewed(back, back.addingTimeInterval(hour));
    EXPECT_EQ(offline.next(back), back) << "the tokens have become old meanwhile";
}

TEST_F(ReloadPolicyTest, AsksWhenThePersonDoesWhateverTheDayHasSeen) {
    for (int count = 0; count < 100; ++count) fail(count);
    EXPECT_GT(due(100), 1000);
    policy.asked(at(100));
    EXPECT_EQ(due(100), 100);
    fail(100);
    EXPECT_GT(due(100), 1000);
}

TEST_F(ReloadPolicyTest, DoesNotCountWhatThePersonAskedFor) {
    for (int count = 0; count < 200; ++count) {
        policy.asked(at(count));
        succeed(count);
    }
    EXPECT_EQ(due(200), 199 + hour);
    policy.noted(ReloadCause::network, at(200));
    EXPECT_EQ(due(200), 200 + ReloadPolicy::coalescing);
}

TEST_F(ReloadPolicyTest, AsksAtOnceAfterASignInWhateverTheDayHasSeen) {
    for (int count = 0; count < 100; ++count) {
        policy.noted(ReloadCause::defaults, at(count));
        succeed(count + 1);
    }
    policy.noted(ReloadCause::defaults, at(200));
    EXPECT_GT(due(200), 1000);
    policy.signedIn(at(200));
    EXPECT_EQ(due(200), 200);
}

TEST_F(ReloadPolicyTest, DoesNotWaitForAWeekWhereTheClockWasSetBackByOne) {
    succeed(7 * day);
    EXPECT_EQ(due(0), hour);
    for (double now = 0; now < 4; ++now) fail(now);
    EXPECT_EQ(due(-7 * day), -7 * day + 300);
}

TEST_F(ReloadPolicyTest, ForgetsNoRequestOfTheDayWhereTheClockWasSetBack) {
    for (int count = 0; count < 70; ++count) fail(7 * day + count);
    EXPECT_GT(due(0), day - 100);
}

TEST_F(ReloadPolicyTest, AsksAtOnceWhereTheClockHasPassedTheDate) {
    succeed(0);
    EXPECT_LE(due(3 * day), 3 * day);
}

}  // namespace
}  // namespace host
