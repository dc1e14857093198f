// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/LiveHost.hpp"

#include <gmock/gmock.h>

#include <boost/asio/co_spawn.hpp>
#include <optional>

#include "tests/host/live/LiveWorld.hpp"

namespace host {
namespace {

using platform::SystemEvent;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using LiveHostTest = LiveWorld;

/// Of people whose user ids are not stored.
class UnnamedLiveHostTest : public LiveWorld {
  protected:
    /// Bert's, while Ada's is shown and an answer is awaited.
    void findOtherTokensDuringAFetch() {
        extension.signIn(1, std::nullopt, "Ada's");
        start();
        extension.isHeld = true;
        host.askNow();
        clock.settle();
        extension.signIn(2, std::nullopt, "Bert's");
        happens(SystemEvent::secretsChanged);
    }
};

class FirstFetchTest : public LiveWorld {
  protected:
    /// Bert, while the answer for whoever was signed in before is awaited, which comes then.
    void signInDuringTheFirstFetch(std::optional<std::uint64_t> account) {
        extension.isHeld = true;
        start();
        extension.signIn(2, account, "Bert's");
        happens(SystemEvent::secretsChanged);
        extension.release();
        clock.advance(1);
    }
};

constexpr const char* sample = "Shop Name";

TEST_F(LiveHostTest, ShowsThePlaceholderBeforeAnythingIsAsked) {
    EXPECT_EQ(shown(), sample);
    EXPECT_TRUE(host.state().isPlaceholder);
    EXPECT_EQ(trouble(), "none");
    EXPECT_EQ(extension.timelines, 0);
}

TEST_F(LiveHostTest, ShowsTheEntryThenAndAsksAgainAnHourLater) {
    start();
    EXPECT_EQ(shown(), "Ada's");
    EXPECT_FALSE(host.state().isPlaceholder);
    EXPECT_EQ(asOf(), "");
    clock.advance(hour - 1);
    EXPECT_EQ(extension.timelines, 1);
    clock.advance(1);
    EXPECT_EQ(extension.timelines, 2);
}

TEST_F(LiveHostTest, KeepsTheLastGoodEntryThroughEveryFailureThatLeavesHope) {
    struct Case {
        CredentialState credentials;
        ServerContact server;
        const char* trouble;
    };
    start();
    for (const auto& [credentials, server, trouble] : {
             Case{CredentialState::stored, ServerContact::unreachable, "serverUnreachable"},
             Case{CredentialState::stored, ServerContact::failed, "serverFailing"},
             Case{CredentialState::stored, ServerContact::refused, "serverFailing"},
             Case{CredentialState::locked, ServerContact::refused, "keychainLocked"},
             Case{CredentialState::unreadable, ServerContact::refused, "keychainUnreadable"},
             Case{CredentialState::locked, ServerContact::unreachable, "keychainLocked"},
         }) {
        extension.answerWith(credentials, server);
        host.askNow();
        clock.settle();
        EXPECT_EQ(shown(), "Ada's") << trouble;
        EXPECT_EQ(asOf(), "10:00") << trouble;
        EXPECT_EQ(this->trouble(), trouble);
    }
    extension.signIn(1, 11, "Ada's");
    host.askNow();
    clock.settle();
    EXPECT_EQ(asOf(), "");
    EXPECT_EQ(trouble(), "none");
    EXPECT_EQ(forgotten, 0);
}

TEST_F(LiveHostTest, KeepsTheLastGoodEntryWhereTheExtensionFails) {
    start();
    extension.isFailing = true;
    clock.advance(hour);
    EXPECT_EQ(shown(), "Ada's");
    EXPECT_EQ(trouble(), "extensionFailed");
    EXPECT_EQ(asOf(), "10:00");
    extension.isFailing = false;
    clock.advance(2);
    EXPECT_EQ(trouble(), "none");
}

TEST_F(LiveHostTest, SaysOfAServerThatTakesTooLongThatItIsTheServer) {
    start();
    extension.isServerTooSlow = true;
    clock.advance(hour);
    EXPECT_EQ(shown(), "Ada's");
    EXPECT_EQ(trouble(), "serverFailing");
}

TEST_F(LiveHostTest, TakesAFailureBeforeAnyEntryForNoSignOut) {
    extension.answerWith(CredentialState::stored, ServerContact::unreachable);
    start();
    EXPECT_EQ(shown(), sample);
    EXPECT_TRUE(host.state().isPlaceholder);
    EXPECT_EQ(trouble(), "serverUnreachable");
}

TEST_F(LiveHostTest, KeepsTheLastGoodEntryForADayAtMost) {
    start();
    extension.answerWith(CredentialState::stored, ServerContact::unreachable);
    clock.advance(24 * hour - 1);
    EXPECT_EQ(shown(), "Ada's");
    clock.advance(1);
    EXPECT_EQ(shown(), sample);
    EXPECT_TRUE(host.state().isPlaceholder);
    EXPECT_EQ(trouble(), "serverUnreachable");
}

TEST_F(LiveHostTest, KeepsNothingForLongerWhereTheClockWasSetBack) {
    start();
    extension.answerWith(CredentialState::stored, ServerContact::unreachable);
    host.askNow();
    clock.settle();
    clock.jump(-24 * hour);
    happens(SystemEvent::clockSet);
    EXPECT_EQ(shown(), "Ada's");
    EXPECT_LE(*host.state().asOf, clock.now());
    clock.advance(24 * hour);
    EXPECT_TRUE(host.state().isPlaceholder);
}

TEST_F(LiveHostTest, TellsAgainOnAnotherDayWhatTheEntryIsAsOf) {
    start();
    extension.answerWith(CredentialState::stored, ServerContact::unreachable);
    clock.advance(13 * hour);
    const auto told = seen.size();
    clock.advance(hour);
    EXPECT_EQ(seen.size(), told + 1);
    happens(SystemEvent::zoneChanged);
    EXPECT_EQ(seen.size(), told + 2) << "the hour is another";
    EXPECT_EQ(forgotten, 0);
}

TEST_F(LiveHostTest, MarksWhatLiesAsOldOnceNoAnswerFollows) {
    start();
    extension.isHeld = true;
    clock.jump(3 * hour);
    clock.settle();
    EXPECT_EQ(shown(), "Ada's");
    EXPECT_EQ(asOf(), "10:00");
    extension.release();
    clock.settle();
    EXPECT_EQ(asOf(), "");
}

TEST_F(LiveHostTest, ShowsTheSignInViewWhereNoTokensAreStored) {
    extension.answerWith(CredentialState::none, ServerContact::refused);
    start();
    EXPECT_EQ(shown(), "notLoggedIn");
    EXPECT_FALSE(host.state().isPlaceholder);
    EXPECT_EQ(trouble(), "none");
    clock.advance(hour - 1);
    EXPECT_EQ(extension.timelines, 1) << "asking again would not help";
}

TEST_F(LiveHostTest, ShowsTheSignInViewWhereTheSignInHasExpired) {
    start();
    extension.answerWith(CredentialState::expired, ServerContact::refused);
    clock.advance(hour);
    EXPECT_EQ(shown(), "notLoggedIn");
    EXPECT_EQ(trouble(), "signInExpired");
    EXPECT_EQ(forgotten, 1);
    clock.advance(hour - 1);
    EXPECT_EQ(extension.timelines, 2) << "asking again would not help";
    extension.signIn(2, 11, "Ada's");
    happens(SystemEvent::secretsChanged);
    EXPECT_EQ(shown(), "Ada's");
    EXPECT_EQ(trouble(), "none");
}

TEST_F(LiveHostTest, ForgetsEverythingAtASignOutWithoutAskingTheServer) {
    start();
    extension.answerWith(CredentialState::none, ServerContact::refused);
    happens(SystemEvent::secretsChanged);
    EXPECT_EQ(shown(), "notLoggedIn");
    EXPECT_EQ(forgotten, 1);
    EXPECT_EQ(extension.leaves, 1) << "it remembers pictures";
    EXPECT_EQ(extension.timelines, 1);
    extension.isFailing = true;
    clock.advance(hour);
    EXPECT_TRUE(host.state().isPlaceholder) << "nothing is kept that could come back";
}

TEST_F(LiveHostTest, ForgetsAtASignOutWhileAnAnswerIsAwaited) {
    start();
    extension.isHeld = true;
    host.askNow();
    clock.settle();
    ASSERT_EQ(extension.timelines, 2);
    extension.stored = {};
    happens(SystemEvent::secretsChanged);
    extension.release();
    clock.settle();
    EXPECT_EQ(shown(), "notLoggedIn");
    clock.advance(10);
    EXPECT_EQ(shown(), "notLoggedIn");
}

TEST_F(LiveHostTest, SaysByWhichKeychainThatIsWhoseItIsWhichIsShown) {
    events.version = "1";
    start();
    EXPECT_EQ(host.state().keychain, "") << "it was not known when this was asked for";
    events.happens(SystemEvent::secretsKnown);
    EXPECT_TRUE(runUntil([&] { return host.state().keychain == "1"; }));
    EXPECT_EQ(extension.timelines, 1);
    extension.signIn(2, 11, "Ada's");
    events.version = "2";
    happens(SystemEvent::secretsChanged);
    EXPECT_EQ(host.state().keychain, "2") << "her own tokens, renewed";
    EXPECT_EQ(forgotten, 0);
    extension.answerWith(CredentialState::none, ServerContact::refused);
    events.version = "3";
    happens(SystemEvent::secretsChanged);
    EXPECT_EQ(shown(), "notLoggedIn");
    EXPECT_EQ(host.state().keychain, "3");
    EXPECT_EQ(forgotten, 1);
}

TEST_F(LiveHostTest, KnowsAtOnceByWhichKeychainNobodyIsShown) {
    extension.isHeld = true;
    start();
    events.version = "1";
    events.happens(SystemEvent::secretsKnown);
    EXPECT_EQ(host.state().keychain, "1");
    EXPECT_EQ(extension.checks, 0);
}

TEST_F(LiveHostTest, SaysItByNoKeychainThatChangedWhileItLooked) {
    start();
    events.version = "1";
    extension.onCheck = [&] { events.version = "2"; };
    happens(SystemEvent::secretsChanged);
    EXPECT_EQ(host.state().keychain, "");
    extension.onCheck = nullptr;
    happens(SystemEvent::secretsChanged);
    EXPECT_EQ(host.state().keychain, "2");
}

TEST_F(LiveHostTest, SaysItByNoKeychainBeforeItIsKnownWhoseTokensCame) {
    extension.signIn(1, std::nullopt, "Ada's");
    start();
    extension.isHeld = true;
    host.askNow();
    clock.settle();
    extension.stored = {.state = CredentialState::stored, .tokens = 2};
    events.version = "2";
    happens(SystemEvent::secretsChanged);
    ASSERT_EQ(shown(), "Ada's");
    EXPECT_EQ(host.state().keychain, "");
    EXPECT_TRUE(runUntil([&] { return host.state().isPlaceholder; }));
    EXPECT_EQ(host.state().keychain, "2");
}

TEST_F(LiveHostTest, ForgetsAtASignOutThatAnExtensionWhichHangsDoesNotTellOf) {
    start();
    ASSERT_EQ(seen.back(), "Ada's");
    extension.answerWith(CredentialState::none, ServerContact::refused);
    extension.isFailingOnce = true;
    happens(SystemEvent::secretsChanged);
    EXPECT_EQ(seen.back(), "notLoggedIn");
    EXPECT_EQ(extension.timelines, 1) << "it is not left to the next timeline";
}

TEST_F(LiveHostTest, ShowsNobodysParcelsWhereNobodyCanSayWhoseTokensAreStored) {
    start();
    ASSERT_EQ(shown(), "Ada's");
    extension.isFailing = true;
    happens(SystemEvent::secretsChanged);
    EXPECT_TRUE(host.state().isPlaceholder);
    EXPECT_EQ(trouble(), "extensionFailed");
    EXPECT_EQ(forgotten, 1);
    extension.isFailing = false;
    clock.advance(60);
    EXPECT_EQ(shown(), "Ada's");
    EXPECT_EQ(trouble(), "none");
}

TEST_F(LiveHostTest, KeepsItsEntryWhereOnlySettingsChangeWhileTheExtensionFails) {
    start();
    happens(SystemEvent::secretsChanged);
    extension.isFailing = true;
    happens(SystemEvent::defaultsChanged);
    EXPECT_EQ(shown(), "Ada's");
    EXPECT_EQ(forgotten, 0);
}

TEST_F(LiveHostTest, ForgetsAPersonWhoseAccountWentWhereTheTokensCannotBeRead) {
    for (const auto& [state, trouble] : {std::pair(CredentialState::locked, "keychainLocked"),
                                         std::pair(CredentialState::unreadable, "keychainUnreadable")}) {
        SCOPED_TRACE(trouble);
        extension.signIn(1, 11, "Ada's");
        host.askNow();
        if (seen.empty()) start();
        clock.settle();
        ASSERT_EQ(shown(), "Ada's");
        // A keyring that is locked at once after a sign-out hides that nothing is in it.
        extension.stored = {.state = state};
        extension.outcome = {.credentials = extension.stored, .server = ServerContact::refused};
        const int before = forgotten;
        happens(SystemEvent::secretsChanged);
        EXPECT_EQ(shown(), "Shop Name");
        EXPECT_EQ(this->trouble(), trouble);
        EXPECT_EQ(forgotten, before + 1);
        happens(SystemEvent::defaultsChanged);
        EXPECT_EQ(forgotten, before + 1);
    }
    const int timelines = extension.timelines;
    extension.signIn(1, 11, "Ada's");
    happens(SystemEvent::secretsChanged);
    clock.advance(1);
    EXPECT_EQ(shown(), "Ada's");
    EXPECT_GT(extension.timelines, timelines);
}

TEST_F(LiveHostTest, KnowsAnAccountThatWasStoredWhileItAsked) {
    // A sign-in stores the tokens first.
    extension.outcome.credentials.account.reset();
    extension.isHeld = true;
    start();
    happens(SystemEvent::defaultsChanged);
    extension.release();
    clock.settle();
    ASSERT_EQ(shown(), "Ada's");
    extension.signIn(2, 11, "Ada's");
    happens(SystemEvent::secretsChanged);
    EXPECT_EQ(forgotten, 0) << "somebody renewed her tokens";
    EXPECT_EQ(shown(), "Ada's");
}

TEST_F(LiveHostTest, TakesALockedKeyringForNoSignOut) {
    start();
    extension.stored = {.state = CredentialState::locked, .account = extension.stored.account};
    happens(SystemEvent::secretsChanged);
    EXPECT_EQ(shown(), "Ada's");
    EXPECT_EQ(forgotten, 0);
}

TEST_F(LiveHostTest, AsksAtOnceWhereTheKeyringIsUnlocked) {
    start();
    const auto signedIn = extension.stored;
    for (const auto locked : {CredentialState::locked, CredentialState::unreadable}) {
        extension.answerWith(locked, ServerContact::refused);
        for (int count = 0; count < 4; ++count) {
            host.askNow();
            clock.settle();
        }
        ASSERT_NE(trouble(), "none");
        extension.signIn(signedIn.tokens, signedIn.account, "Ada's");
        const int timelines = extension.timelines;
        happens(SystemEvent::secretsChanged);
        EXPECT_EQ(extension.timelines, timelines + 1);
        EXPECT_EQ(trouble(), "none");
    }
    EXPECT_EQ(forgotten, 0);
}

TEST_F(LiveHostTest, AsksAtOnceAfterASignIn) {
    extension.answerWith(CredentialState::none, ServerContact::refused);
    start();
    extension.signIn(1, 11, "Ada's");
    happens(SystemEvent::secretsChanged);
    EXPECT_EQ(shown(), "Ada's");
    EXPECT_EQ(extension.timelines, 2);
}

TEST_F(LiveHostTest, NeverShowsOnePersonsParcelsToAnother) {
    start();
    extension.signIn(2, 22, "Bert's");
    extension.isHeld = true;
    happens(SystemEvent::secretsChanged);
    EXPECT_EQ(shown(), sample) << "before the server has answered";
    EXPECT_EQ(forgotten, 1);
    extension.release();
    clock.settle();
    EXPECT_EQ(shown(), "Bert's");
}

TEST_F(LiveHostTest, NeverShowsOnePersonsParcelsToAnotherWhoseServerFails) {
    start();
    extension.signIn(2, 22, "Bert's");
    extension.outcome.server = ServerContact::unreachable;
    host.askNow();
    clock.settle();
    EXPECT_EQ(shown(), sample);
    EXPECT_EQ(forgotten, 1);
}

TEST_F(LiveHostTest, TakesOtherTokensForAnotherPersonsWhereNobodySaysWhoseTheyAre) {
    extension.signIn(1, std::nullopt, "Ada's");
    start();
    extension.signIn(2, std::nullopt, "Bert's");
    happens(SystemEvent::secretsChanged);
    EXPECT_EQ(forgotten, 1);
    EXPECT_EQ(shown(), "Bert's");
}

TEST_F(UnnamedLiveHostTest, ThrowsAwayAnAnswerForTokensThatWereReplacedMeanwhile) {
    findOtherTokensDuringAFetch();
    seen.clear();
    extension.release();
    clock.advance(1);
    EXPECT_THAT(seen, ElementsAre(sample, "Bert's"));
}

TEST_F(FirstFetchTest, ShowsNobodyThePersonBeforeWhereItsFirstFetchIsStillThatPersons) {
    signInDuringTheFirstFetch(22);
    EXPECT_EQ(shown(), "Bert's");
    EXPECT_THAT(seen, Not(Contains("Ada's")));
}

TEST_F(FirstFetchTest, ShowsNobodyThePersonBeforeWhereNeitherIsNamed) {
    extension.signIn(1, std::nullopt, "Ada's");
    signInDuringTheFirstFetch(std::nullopt);
    EXPECT_EQ(shown(), "Bert's");
    EXPECT_THAT(seen, Not(Contains("Ada's")));
}

TEST_F(LiveHostTest, TakesItsFirstAnswerWhereOnlySettingsChangedMeanwhile) {
    extension.isHeld = true;
    start();
    happens(SystemEvent::defaultsChanged);
    extension.release();
    clock.settle();
    EXPECT_THAT(seen, Each("Ada's"));
    EXPECT_EQ(forgotten, 0);
}

TEST_F(LiveHostTest, TakesItsFirstAnswerWhereThatFetchRenewedThePair) {
    extension.signIn(1, std::nullopt, "Ada's");
    extension.outcome.hasRenewed = true;
    extension.outcome.credentials.tokens = 2;
    extension.isHeld = true;
    start();
    extension.stored.tokens = 2;
    happens(SystemEvent::secretsChanged);
    extension.release();
    clock.settle();
    EXPECT_THAT(seen, Each("Ada's"));
    EXPECT_EQ(forgotten, 0);
}

TEST_F(LiveHostTest, ForgetsAtOnceForAnotherWhileAnAnswerIsAwaited) {
    using Account = std::optional<std::uint64_t>;
    for (const auto& [before, after] :
         {std::pair<Account, Account>(11, 22), {11, std::nullopt}, {std::nullopt, 22}}) {
        extension.signIn(1, before, "Ada's");
        if (seen.empty()) start();
        host.askNow();
        clock.settle();
        ASSERT_EQ(shown(), "Ada's");
        extension.isHeld = true;
        host.askNow();
        clock.settle();
        extension.signIn(2, after, "Bert's");
        const int forgottenBefore = forgotten;
        happens(SystemEvent::secretsChanged);
        EXPECT_EQ(shown(), sample) << "the server may take its time";
        EXPECT_EQ(forgotten, forgottenBefore + 1);
        extension.release();
        clock.advance(1);
        EXPECT_EQ(shown(), "Bert's");
    }
}

TEST_F(UnnamedLiveHostTest, WaitsAMomentOnlyForAFetchThatMayHaveBroughtOtherTokens) {
    findOtherTokensDuringAFetch();
    EXPECT_EQ(shown(), "Ada's") << "it may be hers";
    runUntil([&] { return forgotten > 0; });
    EXPECT_EQ(shown(), sample);
    extension.release();
    clock.advance(1);
    EXPECT_EQ(shown(), "Bert's");
}

TEST_F(UnnamedLiveHostTest, ForgetsWhereAFetchFailsThatMayHaveBroughtOtherTokens) {
    findOtherTokensDuringAFetch();
    extension.isFailing = true;
    extension.release();
    clock.settle();
    EXPECT_EQ(shown(), sample);
    EXPECT_EQ(forgotten, 1);
}

TEST_F(LiveHostTest, ShowsPackagesAtOnceAfterAPairWasRenewed) {
    start();
    extension.outcome = {.credentials = {.state = CredentialState::stored, .tokens = 2, .account = 11},
                         .server = ServerContact::refused,
                         .hasRenewed = true};
    extension.shopName = "Ada's, renewed";
    clock.advance(hour);
    EXPECT_EQ(shown(), "Ada's, renewed");
    EXPECT_EQ(extension.timelines, 3);
    EXPECT_THAT(seen, ElementsAre("Ada's", "Ada's, renewed"));
    EXPECT_EQ(forgotten, 0);
}

TEST_F(LiveHostTest, KeepsItsEntryWhileItsOwnFetchRenewsAPairThatNobodyIsNamedFor) {
    extension.signIn(1, std::nullopt, "Ada's");
    start();
    extension.outcome = {.credentials = {.state = CredentialState::stored, .tokens = 2},
                         .server = ServerContact::refused,
                         .hasRenewed = true};
    extension.isHeld = true;
    host.askNow();
    clock.settle();
    extension.stored.tokens = 2;
    happens(SystemEvent::secretsChanged);
    EXPECT_EQ(shown(), "Ada's");
    extension.release();
    clock.advance(1);
    EXPECT_EQ(shown(), "Ada's");
    EXPECT_EQ(forgotten, 0);
    EXPECT_EQ(extension.timelines, 3);
}

TEST_F(LiveHostTest, AsksOnceForARenewedPairThatItHearsOfTwice) {
    start();
    extension.outcome.hasRenewed = true;
    extension.outcome.server = ServerContact::refused;
    extension.outcome.credentials.tokens = extension.stored.tokens = 2;
    clock.advance(hour);
    extension.outcome.credentials.tokens = 2;
    const int asked = extension.timelines;
    happens(SystemEvent::secretsChanged);
    EXPECT_EQ(extension.timelines, asked);
}

TEST_F(LiveHostTest, IsPatientWithAServerThatRenewsAndRefusesForEver) {
    start();
    extension.isRenewalOfUse = false;
    for (int count = 0; count < 5; ++count) {
        extension.outcome.server = ServerContact::refused;
        extension.outcome.hasRenewed = true;
        if (count == 0) host.askNow();
        clock.advance(count == 0 ? 0 : 2000);
    }
    EXPECT_EQ(shown(), "Ada's");
    EXPECT_EQ(trouble(), "serverFailing");
    EXPECT_LT(extension.timelines, 20);
}

TEST_F(LiveHostTest, AsksAtOnceWhenTheMachineHasReasons) {
    start();
    int expected = 1;
    for (const auto event : {SystemEvent::defaultsChanged, SystemEvent::networkReturned, SystemEvent::resumed,
                             SystemEvent::clockSet, SystemEvent::zoneChanged}) {
        happens(event);
        EXPECT_EQ(extension.timelines, ++expected) << static_cast<int>(event);
    }
}

TEST_F(LiveHostTest, TakesABurstOfChangesForOne) {
    start();
    for (int count = 0; count < 50; ++count) events.happens(SystemEvent::defaultsChanged);
    happens(SystemEvent::defaultsChanged);
    clock.advance(60);
    EXPECT_EQ(extension.timelines, 2);
    EXPECT_LE(extension.checks, 2);
}

TEST_F(LiveHostTest, AsksNothingOfTheServerWhereTheSameTokensAreWrittenAgain) {
    start();
    happens(SystemEvent::secretsChanged);
    EXPECT_EQ(extension.timelines, 1);
}

TEST_F(LiveHostTest, AsksAtMidnightAsTodayIsAnotherDayThen) {
    ambient.setTimeZone("Asia/Kolkata");
    start();
    clock.advance(8 * hour);
    host.askNow();
    clock.settle();
    const int before = extension.timelines;
    // 18:30 by Greenwich.
    clock.advance(hour / 2);
    EXPECT_EQ(extension.timelines, before + 1);
}

TEST_F(LiveHostTest, AsksInAnotherZoneWithAnExtensionOfThatZone) {
    start();
    happens(SystemEvent::zoneChanged);
    EXPECT_EQ(extension.leaves, 1);
    EXPECT_EQ(trouble(), "none");
}

TEST_F(LiveHostTest, DoesNotWaitForAWeekWhereTheClockWasSetBackByOne) {
    start();
    clock.jump(-7 * 24 * hour);
    happens(SystemEvent::clockSet);
    EXPECT_EQ(extension.timelines, 2);
    clock.advance(hour + 1);
    EXPECT_EQ(extension.timelines, 3);
}

TEST_F(LiveHostTest, GoesOnWhereTheClockIsSetForwardByAYearAndBackAgain) {
    start();
    int timelines = 1;
    for (const double year : {365 * 24 * hour, -365 * 24 * hour}) {
        clock.jump(year);
        happens(SystemEvent::clockSet);
        EXPECT_EQ(shown(), "Ada's");
        EXPECT_EQ(asOf(), "");
        EXPECT_EQ(extension.timelines, ++timelines);
        clock.advance(hour + 1);
        EXPECT_EQ(extension.timelines, ++timelines);
    }
}

TEST_F(LiveHostTest, AsksRightAfterASleepThatPassedItsDate) {
    start();
    clock.jump(10 * hour);
    clock.settle();
    EXPECT_EQ(extension.timelines, 2);
}

TEST_F(LiveHostTest, WakesOnlyWhenSomethingIsDue) {
    start();
    const int before = clock.waits;
    clock.advance(12 * hour);
    EXPECT_LE(clock.waits - before, 2 * 13);
}

TEST_F(LiveHostTest, GivesAReloadItsOwnAnswerAndNotOneThatWasUnderWay) {
    start();
    extension.isHeld = true;
    host.askNow();
    clock.settle();
    extension.shopName = "Ada's, later";
    std::optional<std::string> answer;
    platform::spawn(
        context,
        [](LiveHost& asked, std::optional<std::string>& shop) -> boost::asio::awaitable<void> {
            const auto state = co_await asked.reload();
            shop = shopNameIn(state.entry);
        }(host, answer),
        [](const std::exception_ptr&) {});
    clock.settle();
    EXPECT_FALSE(answer);
    extension.release();
    clock.settle();
    EXPECT_EQ(answer, "Ada's, later");
    EXPECT_EQ(extension.timelines, 3);
}

TEST_F(LiveHostTest, EndsWhileAnAnswerIsAwaited) {
    extension.isHeld = true;
    start();
    host.stop();
    clock.settle();
    EXPECT_EQ(clock.due(), std::nullopt);
    EXPECT_THAT(seen, IsEmpty());
}

}  // namespace
}  // namespace host
