// SPDX-License-Identifier: Apache-2.0

#include "host/widget/ExtensionSession.hpp"

#include <gmock/gmock.h>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/this_coro.hpp>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/protocol/EntryCoding.hpp"
#include "host/reader/LiveHostClient.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/Asio/Pause.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "tests/host/Misbehaviour.hpp"

namespace host {
namespace {

namespace asio = boost::asio;
using platform::testing::eventually;
using platform::testing::ScopedEnvironment;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Kind = ExtensionRequest::Kind;

const std::string answersAlways = "greet\nreceive\nanswer {}\nrepeat";

class ExtensionSessionTest : public Misbehaviour {
  protected:
    ExtensionSession::Options options() {
        ExtensionSession::Options options;
        options.extension = settings;
        options.restarts = {.pauses = {milliseconds(0)}};
        options.onNotice = [this](std::string_view notice) { notices.emplace_back(notice); };
        options.onOutputLine = [this](std::string_view line) { lines.emplace_back(line); };
        return options;
    }

    /// Runs `work` on a session whose extension behaves like that.
    template <typename Work>
    void with(const std::string& behaviour, ExtensionSession::Options options, Work work) {
        const ScopedEnvironment scope({{"VELA_TEST_BEHAVIOUR", behaviour}});
        platform::runToEnd(run(std::move(options), std::move(work)));
    }

    /// "answer", or how asking failed.
    static asio::awaitable<std::string> outcome(ExtensionSession& session, Kind kind = Kind::snapshot) {
        try {
            co_await session.ask({.kind = kind});
            co_return "answer";
        } catch (const ExtensionError& failure) {
            co_return failure.what();
        }
    }

    static asio::awaitable<std::string> urgentOutcome(ExtensionSession& session) {
        try {
            co_await session.askUrgently({.kind = Kind::credentials});
            co_return "answer";
        } catch (const ExtensionError& failure) {
            co_return failure.what();
        }
    }

    /// Whether it answers again; on a machine with much else to do another one may be given up before that.
    static asio::awaitable<bool> answersAgain(ExtensionSession& session, Kind kind = Kind::snapshot) {
        for (int attempt = 0; attempt < 20; ++attempt)
            if (co_await outcome(session, kind) == "answer") co_return true;
        co_return false;
    }

    /// In a hurry, and patient with everything else.
    ExtensionSession::Options urgent() {
        auto hurried = options();
        hurried.urgentPatience = milliseconds(1);
        hurried.localBudget = hurried.answerBudget = std::chrono::hours(1);
        hurried.extension.farewellLimit = milliseconds(100);
        return hurried;
    }
    static constexpr const char* answersOnceAndHangs = "greet\nreceive\nanswer {}\nreceive\nraise 19";

    static asio::awaitable<std::string> drawing(ExtensionSession& session,
                                                widget::WidgetState state = widget::NoPackages(),
                                                std::optional<milliseconds> pictureBudget = std::nullopt) {
        widget::DrawingRequest request = {
            .entry = {.date = platform::Date::sinceReferenceDate(0), .widgetState = std::move(state)},
            .family = platform::WidgetFamily::systemSmall,
            .pictureBudget = pictureBudget};
        request.format = widget::DrawingFormat::tree;
        try {
            co_return co_await session.draw(std::move(request));
        } catch (const ExtensionError& failure) {
            co_return failure.what();
        }
    }

    static widget::WidgetState withPicture() {
        return entryFromValue(platform::JSONSerialization::JSONObjectWithData(
                                  R"({"date":"2026-01-31T10:00:00.000Z","state":"loggedIn","packages":[)"
                                  R"({"progress":0,"deepLinkingUrl":"a:b","shopImage":"https://a.example/p",)"
                                  R"("shopName":"n","statusText":{"primary":"p"}}]})"))
            .widgetState;
    }

    /// Goes on with `line` only where `mark` was not met before.
    std::string once(const std::string& mark, const std::string& line) const {
        return "unless " + path(mark) + " " + line;
    }

    std::vector<std::string> notices;
    std::vector<std::string> lines;

  private:
    template <typename Work>
    static asio::awaitable<int> run(ExtensionSession::Options options, Work work) {
        ExtensionSession session(co_await asio::this_coro::executor, std::move(options));
        co_await work(session);
        co_return 0;
    }
};

TEST_F(ExtensionSessionTest, StartsNothingBeforeItIsAsked) {
    with("note " + path("started"), options(),
         [](ExtensionSession& session) -> asio::awaitable<void> { co_await session.end(); });
    EXPECT_FALSE(std::filesystem::exists(path("started")));
}

TEST_F(ExtensionSessionTest, AsksOneExtensionAsLongAsItAnswers) {
    with("print started\n" + answersAlways, options(),
         [](ExtensionSession& session) -> asio::awaitable<void> {
             for (int count = 0; count < 5; ++count) EXPECT_EQ(co_await outcome(session), "answer");
             co_await session.end();
         });
    EXPECT_THAT(lines, ElementsAre("started"));
    EXPECT_TRUE(isNothingLeft());
}

TEST_F(ExtensionSessionTest, IsServedAgainAfterItsExtensionEnded) {
    with("greet\nreceive\n" + once("mark", "raise 11") + "\nanswer {}", options(),
         [](ExtensionSession& session) -> asio::awaitable<void> {
             EXPECT_EQ(co_await outcome(session), "the extension ended by signal SIGSEGV before it answered");
             EXPECT_EQ(co_await outcome(session), "answer");
             co_await session.end();
         });
    EXPECT_TRUE(isNothingLeft());
}

TEST_F(ExtensionSessionTest, IsServedAgainAfterItsExtensionHung) {
    auto limited = options();
    limited.answerBudget = milliseconds(400);
    limited.extension.farewellLimit = milliseconds(100);
    with("greet\nreceive\n" + once("mark", "raise 19") + "\nanswer {}", limited,
         [](ExtensionSession& session) -> asio::awaitable<void> {
             EXPECT_EQ(co_await outcome(session), "the extension has not answered within 400 ms");
             EXPECT_TRUE(co_await answersAgain(session));
             co_await session.end();
         });
    EXPECT_TRUE(isNothingLeft());
}

TEST_F(ExtensionSessionTest, NamesTheServerWhereItsExtensionAnswersAllElse) {
    auto limited = options();
    limited.answerBudget = milliseconds(800);
    limited.extension.farewellLimit = milliseconds(100);
    for (const auto kind : {Kind::timeline, Kind::snapshot})
        // It is asked once, and then twice what is stored.
        with("print started\ngreet\nreceive\nreceive\nanswer {}\nreceive\nanswer {}", limited,
             [kind](ExtensionSession& session) -> asio::awaitable<void> {
                 EXPECT_EQ(co_await outcome(session, kind), "the server has not answered within 800 ms");
                 EXPECT_EQ(co_await outcome(session, Kind::credentials), "answer");
                 co_await session.end();
             });
    EXPECT_THAT(lines, ElementsAre("started", "started"));
    EXPECT_TRUE(isNothingLeft());
}

TEST(ExtensionSessionOptions, WaitForAQueryAndForTheRenewalAfterIt) {
    using std::chrono::seconds;
    EXPECT_GE(ExtensionSession::Options().answerBudget, seconds(120 + 3 + 60));
    EXPECT_GE(LiveHostClient::Options().reloadLimit, 2 * ExtensionSession::Options().answerBudget);
}

TEST_F(ExtensionSessionTest, WaitsLessForWhatNeedsNoServer) {
    auto limited = options();
    limited.localBudget = milliseconds(400);
    limited.extension.farewellLimit = milliseconds(100);
    with("greet\nreceive\n" + once("mark", "raise 19") + "\nanswer {}", limited,
         [](ExtensionSession& session) -> asio::awaitable<void> {
             EXPECT_EQ(co_await outcome(session, Kind::credentials),
                       "the extension has not answered within 400 ms");
             EXPECT_TRUE(co_await answersAgain(session, Kind::credentials));
             co_await session.end();
         });
}

TEST_F(ExtensionSessionTest, AsksAnotherWhatCannotWaitWhereOneHangs) {
    with(answersOnceAndHangs, urgent(), [](ExtensionSession& session) -> asio::awaitable<void> {
        EXPECT_EQ(co_await outcome(session), "answer");
        const ScopedEnvironment next({{"VELA_TEST_BEHAVIOUR", "print other\n" + answersAlways}});
        EXPECT_EQ(co_await urgentOutcome(session), "answer");
        EXPECT_EQ(co_await outcome(session), "answer") << "the other has taken its place";
        co_await session.end();
    });
    EXPECT_THAT(lines, ElementsAre("other"));
}

TEST_F(ExtensionSessionTest, KeepsOneThatIsBusyAndAnswersLate) {
    const auto busy = "greet\nreceive\nanswer {}\nreceive\nawait " + path("released") + "\nanswer {}\nnote " +
                      path("answered") + "\nreceive\nprint asked again\nanswer {}";
    const auto other =
        "greet\nreceive\nnote " + path("released") + "\nawait " + path("answered") + "\nanswer {}";
    with(busy, urgent(), [&](ExtensionSession& session) -> asio::awaitable<void> {
        EXPECT_EQ(co_await outcome(session), "answer");
        {
            const ScopedEnvironment next({{"VELA_TEST_BEHAVIOUR", other}});
            EXPECT_EQ(co_await urgentOutcome(session), "answer");
        }
        EXPECT_EQ(co_await outcome(session), "answer");
        co_await session.end();
    });
    EXPECT_THAT(lines, ElementsAre("asked again"));
}

TEST_F(ExtensionSessionTest, LeavesOneThatHangsAlsoWhereTheOtherFails) {
    with(answersOnceAndHangs, urgent(), [](ExtensionSession& session) -> asio::awaitable<void> {
        EXPECT_EQ(co_await outcome(session), "answer");
        {
            const ScopedEnvironment next({{"VELA_TEST_BEHAVIOUR", "greet\nreceive\nexit 3"}});
            EXPECT_EQ(co_await urgentOutcome(session),
                      "the extension ended with status 3 before it answered");
        }
        const ScopedEnvironment next({{"VELA_TEST_BEHAVIOUR", answersAlways}});
        EXPECT_EQ(co_await outcome(session), "answer");
    });
}

TEST_F(ExtensionSessionTest, AsksWhatCannotWaitWithoutThePauseThatIsDue) {
    auto paused = urgent();
    paused.restarts.pauses = {std::chrono::hours(1)};
    with("greet\nreceive\n" + once("mark", "exit 3") + "\nanswer {}\nrepeat", paused,
         [](ExtensionSession& session) -> asio::awaitable<void> {
             EXPECT_EQ(co_await outcome(session), "the extension ended with status 3 before it answered");
             EXPECT_EQ(co_await urgentOutcome(session), "answer");
             EXPECT_EQ(co_await outcome(session), "answer");
         });
}

TEST_F(ExtensionSessionTest, HurriesAFewTimesInAMinuteAtMost) {
    auto paused = urgent();
    paused.restarts.pauses = {std::chrono::hours(1)};
    with("print started\ngreet\nreceive\nexit 3", paused,
         [](ExtensionSession& session) -> asio::awaitable<void> {
             co_await outcome(session);
             for (std::size_t count = 0; count < ExtensionSession::mostHurriedStarts; ++count)
                 EXPECT_EQ(co_await urgentOutcome(session),
                           "the extension ended with status 3 before it answered");
             platform::spawn(
                 co_await asio::this_coro::executor,
                 [](ExtensionSession& asked) -> asio::awaitable<void> {
                     co_await urgentOutcome(asked);
                 }(session),
                 [](const std::exception_ptr&) {});
             co_await platform::pause(milliseconds(300));
         });
    EXPECT_EQ(lines.size(), 1 + ExtensionSession::mostHurriedStarts);
}

TEST_F(ExtensionSessionTest, GivesNoAnswerOfOneThatItWasLeftFor) {
    const auto asked = path("asked");
    with(answersOnceAndHangs, urgent(), [&](ExtensionSession& session) -> asio::awaitable<void> {
        EXPECT_EQ(co_await outcome(session), "answer");
        const ScopedEnvironment next({{"VELA_TEST_BEHAVIOUR", "greet\nreceive\nnote " + asked + "\nawait " +
                                                                  path("left") + "\nanswer {}"}});
        platform::spawn(
            co_await asio::this_coro::executor,
            [](ExtensionSession& left, std::string mark, std::string release) -> asio::awaitable<void> {
                while (!std::filesystem::exists(mark)) co_await platform::pause(milliseconds(5));
                left.leave();
                std::ofstream(release) << "";
            }(session, asked, path("left")),
            [](const std::exception_ptr&) {});
        EXPECT_EQ(co_await urgentOutcome(session), "the extension was hung up on");
    });
}

TEST_F(ExtensionSessionTest, PausesForLongerAfterEachFailureInARow) {
    auto paused = options();
    paused.restarts.pauses = {milliseconds(0), milliseconds(200), milliseconds(400)};
    std::vector<milliseconds> waits;
    with("greet\nreceive\nexit 3", paused, [&](ExtensionSession& session) -> asio::awaitable<void> {
        co_await outcome(session);
        for (int count = 0; count < 4; ++count) {
            const auto start = steady_clock::now();
            co_await outcome(session);
            waits.push_back(std::chrono::floor<milliseconds>(steady_clock::now() - start));
        }
    });
    for (const auto& [index, least] : std::vector<std::pair<std::size_t, int>>{{1, 199}, {2, 399}, {3, 399}})
        EXPECT_GE(waits[index], milliseconds(least)) << index;
}

TEST_F(ExtensionSessionTest, BeginsItsPausesAnewAfterAnAnswer) {
    auto paused = options();
    paused.restarts.pauses = {milliseconds(0), std::chrono::hours(1)};
    // Answers once, then ends: each failure is the first in a row.
    with("greet\nreceive\nanswer {}\nreceive\nexit 3", paused,
         [](ExtensionSession& session) -> asio::awaitable<void> {
             for (int count = 0; count < 3; ++count) {
                 EXPECT_EQ(co_await outcome(session), "answer");
                 EXPECT_NE(co_await outcome(session), "answer");
             }
         });
}

TEST_F(ExtensionSessionTest, CountsOneEndOnceHoweverManyWereWaiting) {
    auto paused = options();
    paused.restarts.pauses = {milliseconds(0), std::chrono::hours(1)};
    with("greet\nreceive\n" + once("mark", "exit 3") + "\nanswer {}", paused,
         [](ExtensionSession& session) -> asio::awaitable<void> {
             const auto executor = co_await asio::this_coro::executor;
             int failed = 0;
             for (int count = 0; count < 2; ++count)
                 asio::co_spawn(
                     executor,
                     [](ExtensionSession& asked, int& failures) -> asio::awaitable<void> {
                         if (co_await outcome(asked) != "answer") ++failures;
                     }(session, failed),
                     [](const std::exception_ptr&) {});
             EXPECT_NE(co_await outcome(session), "answer");
             // After three failures in a row it would be an hour.
             EXPECT_EQ(co_await outcome(session), "answer");
             EXPECT_EQ(failed, 2);
         });
}

TEST_F(ExtensionSessionTest, DrawsWithAnotherExtensionWhereOneEnds) {
    with("greet\nreceive\n" + once("mark", "raise 11") + "\ndraw {}", options(),
         [](ExtensionSession& session) -> asio::awaitable<void> {
             EXPECT_EQ(co_await drawing(session), "{}");
             co_await session.end();
         });
    EXPECT_THAT(notices,
                ElementsAre("the extension ended by signal SIGSEGV while drawing; starting it again"));
}

TEST_F(ExtensionSessionTest, GivesADrawingToNoOtherExtensionOnceItIsLeft) {
    with("print started\ngreet\nreceive\n" + once("mark", "sleep 3600000") + "\ndraw {}", options(),
         [this](ExtensionSession& session) -> asio::awaitable<void> {
             const auto leaveIt = [](ExtensionSession& left, std::string mark) -> asio::awaitable<void> {
                 while (!std::filesystem::exists(mark)) co_await platform::pause(milliseconds(5));
                 left.leave();
             };
             const auto executor = co_await asio::this_coro::executor;
             platform::spawn(executor, leaveIt(session, path("mark")), [](const std::exception_ptr&) {});
             EXPECT_EQ(co_await drawing(session), "the extension was hung up on");
         });
    EXPECT_THAT(notices, IsEmpty());
    EXPECT_THAT(lines, ::testing::SizeIs(::testing::Le(1)));
}

TEST_F(ExtensionSessionTest, StartsNoOftenerThanItsPolicyAllows) {
    auto bounded = options();
    bounded.restarts.most = 2;
    with("greet\nreceive\nexit 3", bounded, [](ExtensionSession& session) -> asio::awaitable<void> {
        EXPECT_EQ(co_await drawing(session), "the extension ended with status 3 while drawing");
        co_await session.end();
    });
    EXPECT_EQ(notices.size(), 2u);
    EXPECT_TRUE(isNothingLeft());
}

TEST_F(ExtensionSessionTest, GivesADrawingItsBudgetAndNoMore) {
    auto limited = options();
    limited.drawingBudget = milliseconds(500);
    limited.extension.drawingLimit = milliseconds(200);
    limited.extension.farewellLimit = milliseconds(50);
    // Where the machine stands still in between, both limits are met at once.
    for (int attempt = 0; attempt < 10 && notices.empty(); ++attempt)
        with("greet\nreceive\nsleep 3600000", limited,
             [](ExtensionSession& session) -> asio::awaitable<void> {
                 EXPECT_EQ(co_await drawing(session), "the extension has not answered within 500 ms");
             });
    EXPECT_THAT(notices, ElementsAre("the extension has not answered within 200 ms; starting it again"));
    EXPECT_TRUE(eventually(isNothingLeft));
}

/// Prints what it is told of a drawing's pictures.
const std::string drawsSlowly = "greet\nreceive\ntell pictureBudget\nsleep 300\ndraw {}\nrepeat";

TEST_F(ExtensionSessionTest, OfACommandWaitsForPicturesOnce) {
    auto limited = ExtensionSession::Options::forCommand(settings);
    limited.pictureBudget = milliseconds(1000);
    limited.onOutputLine = options().onOutputLine;
    with(drawsSlowly, limited, [](ExtensionSession& session) -> asio::awaitable<void> {
        for (int count = 0; count < 6; ++count) EXPECT_EQ(co_await drawing(session, withPicture()), "{}");
        co_await session.end();
    });
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_EQ(lines[0], "1000");
    EXPECT_LE(std::stoi(lines[1]), 700);
    EXPECT_LE(std::stoi(lines[2]), 400);
    EXPECT_EQ(lines[5], "0");
}

TEST_F(ExtensionSessionTest, TakesNothingFromPicturesForADrawingWithout) {
    auto limited = ExtensionSession::Options::forCommand(settings);
    limited.pictureBudget = milliseconds(1000);
    limited.onOutputLine = options().onOutputLine;
    with(drawsSlowly, limited, [](ExtensionSession& session) -> asio::awaitable<void> {
        for (int count = 0; count < 2; ++count) EXPECT_EQ(co_await drawing(session), "{}");
        co_await session.end();
    });
    EXPECT_THAT(lines, ElementsAre("1000", "1000"));
}

TEST_F(ExtensionSessionTest, WithoutAnEndGivesEveryDrawingTheWholeBudget) {
    auto endless = options();
    endless.pictureBudget = milliseconds(1000);
    with(drawsSlowly, endless, [](ExtensionSession& session) -> asio::awaitable<void> {
        for (int count = 0; count < 2; ++count) EXPECT_EQ(co_await drawing(session, withPicture()), "{}");
        co_await session.end();
    });
    EXPECT_THAT(lines, ElementsAre("1000", "1000"));
}

TEST_F(ExtensionSessionTest, WaitsForPicturesNoLongerThanItsAskerWants) {
    auto endless = options();
    endless.pictureBudget = milliseconds(1000);
    with(drawsSlowly, endless, [](ExtensionSession& session) -> asio::awaitable<void> {
        for (const int budget : {100, 5000, 0})
            EXPECT_EQ(co_await drawing(session, withPicture(), milliseconds(budget)), "{}");
        co_await session.end();
    });
    EXPECT_THAT(lines, ElementsAre("100", "1000", "0"));
}

TEST_F(ExtensionSessionTest, LeavesTimeForADrawingBesideItsPictures) {
    auto limited = options();
    limited.drawingBudget = limited.pictureBudget = std::chrono::seconds(60);
    with(drawsSlowly, limited, [](ExtensionSession& session) -> asio::awaitable<void> {
        EXPECT_EQ(co_await drawing(session, withPicture()), "{}");
        co_await session.end();
    });
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_LE(std::stoi(lines[0]), 60'000 * 16 / 25);
}

TEST_F(ExtensionSessionTest, LeavesNothingBehindWhenItIsDropped) {
    with("greet\nreceive\nanswer {}\nsleep 3600000", options(),
         [](ExtensionSession& session) -> asio::awaitable<void> {
             EXPECT_EQ(co_await outcome(session), "answer");
         });
    EXPECT_TRUE(eventually(isNothingLeft));
}

TEST_F(ExtensionSessionTest, TakesAnUploadThatNeverEndsForNoFailure) {
    with("greet\nreceive\nanswer {}\nreceive\nsleep 3600000", options(),
         [](ExtensionSession& session) -> asio::awaitable<void> {
             co_await session.finishUploads(milliseconds(100));
             EXPECT_EQ(co_await outcome(session, Kind::timeline), "answer");
             co_await session.finishUploads(milliseconds(100));
         });
    EXPECT_THAT(notices, IsEmpty());
    EXPECT_TRUE(eventually(isNothingLeft));
}

TEST_F(ExtensionSessionTest, OfACommandSharesOneDeadline) {
    settings.answerLimit = milliseconds(700);
    std::string first;
    std::string second;
    // A machine that stands still for long enough spends it all on the first.
    for (int attempt = 0; attempt < 10 && first != "answer"; ++attempt)
        with("greet\nreceive\nsleep 500\nanswer {}\nrepeat", ExtensionSession::Options::forCommand(settings),
             [&](ExtensionSession& session) -> asio::awaitable<void> {
                 first = co_await outcome(session);
                 second = co_await outcome(session);
             });
    EXPECT_EQ(first, "answer");
    EXPECT_EQ(second, "the extension has not answered within 700 ms");
}

TEST(RestartPolicy, GrowsUntilItsLastPause) {
    const auto pauses = RestartPolicy::patient().pauses;
    EXPECT_TRUE(std::is_sorted(pauses.begin(), pauses.end()));
    EXPECT_EQ(pauses.front(), milliseconds(0));
    EXPECT_EQ(pauses.back(), std::chrono::minutes(5));
    EXPECT_EQ(RestartPolicy::once().most, 1);
}

}  // namespace
}  // namespace host
