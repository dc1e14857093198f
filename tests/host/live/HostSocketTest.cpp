// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/HostSocket.hpp"

#include <gmock/gmock.h>
#include <unistd.h>

#include <thread>

#include "tests/host/live/ReaderWorld.hpp"
#include "tests/support/FileLimit.hpp"

namespace host {
namespace {

using platform::SystemEvent;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const std::string greeting = R"({"protocol":1})";

boost::asio::awaitable<std::string> drawn(
    LiveHostClient& reader, platform::WidgetFamily family,
    std::optional<std::chrono::milliseconds> pictureBudget = std::nullopt) {
    widget::DrawingRequest request = {.entry = {.date = platform::Date::now(), .widgetState = {}},
                                      .family = family,
                                      .pictureBudget = pictureBudget};
    co_return co_await reader.draw(std::move(request));
}

class HostSocketTest : public ReaderWorld {
  protected:
    /// The extension is at a drawing for `reader`, and goes on once it is no longer held; `bytes` get what
    /// comes of it.
    bool isKeptDrawing(LiveHostClient& reader, std::optional<std::string>& bytes) {
        extension.isDrawingHeld = true;
        spawn([](LiveHostClient& asked, std::optional<std::string>& result) -> boost::asio::awaitable<void> {
            result = co_await drawn(asked, platform::WidgetFamily::systemSmall);
        }(reader, bytes));
        return until([&] { return extension.drawings == 1; });
    }
};

boost::asio::awaitable<std::string> reloaded(LiveHostClient& reader) {
    const auto state = co_await reader.reload();
    co_return shopNameIn(state.entry);
}

boost::asio::awaitable<std::string> statusOf(LiveHostClient& reader) {
    const auto status = co_await reader.status();
    co_return status.version + " " + std::to_string(status.readers) + (status.pid == ::getpid() ? "" : "?") +
        (status.lastFetch ? " fetched" : " not fetched") + (status.nextFetch ? "" : "?");
}

TEST_F(HostSocketTest, ShowsEveryReaderTheStateNowAndAtEveryChange) {
    open();
    const auto early = follow(client());
    until([&] { return early->size() == 1; });
    start();
    const auto late = follow(client());
    until([&] { return early->size() == 2 && late->size() == 1; });
    extension.shopName = "Ada's, later";
    host.askNow();
    until([&] { return early->size() == 3 && late->size() == 2; });
    EXPECT_THAT(*early, ElementsAre("Shop Name", "Ada's", "Ada's, later"));
    EXPECT_THAT(*late, ElementsAre("Ada's", "Ada's, later"));
}

TEST_F(HostSocketTest, AsksOnceForAnyNumberOfReaders) {
    open();
    start();
    std::vector<Views> all;
    for (int count = 0; count < 20; ++count) all.push_back(follow(client()));
    EXPECT_TRUE(until([&] {
        return std::all_of(all.begin(), all.end(), [](const auto& views) { return !views->empty(); });
    }));
    EXPECT_EQ(extension.timelines, 1);
}

TEST_F(HostSocketTest, LastsAWeekWithTwentyReaders) {
    open();
    start();
    std::vector<Views> all;
    for (int count = 0; count < 20; ++count) all.push_back(follow(client()));
    until([&] {
        return std::all_of(all.begin(), all.end(), [](const auto& views) { return !views->empty(); });
    });
    for (int hours = 0; hours < 7 * 24; ++hours) {
        // A laptop that sleeps at night, and a network that is gone for a while each day.
        if (hours % 24 == 0) clock.jump(8 * hour), events.happens(SystemEvent::resumed);
        const bool isOffline = hours % 24 == 12;
        extension.outcome.server = isOffline ? ServerContact::unreachable : ServerContact::answered;
        if (hours % 24 == 13) events.happens(SystemEvent::networkReturned);
        clock.advance(hour);
        EXPECT_EQ(shown(), "Ada's");
    }
    EXPECT_LE(extension.timelines, 9 * 70);
    EXPECT_GE(extension.timelines, 7 * 24);
    const auto latest = host.version();
    EXPECT_TRUE(until([&] {
        return std::all_of(all.begin(), all.end(),
                           [&](const auto& views) { return views->size() >= latest; });
    }));
    EXPECT_EQ(door->readerCount(), 20u);
    EXPECT_EQ(forgotten, 0);
    EXPECT_THAT(failures(), IsEmpty());
}

TEST_F(HostSocketTest, DrawsOnceForAllWhoAskForTheSame) {
    open();
    start();
    std::vector<std::shared_ptr<LiveHostClient>> readers;
    for (int count = 0; count < 7; ++count) {
        readers.push_back(client());
        EXPECT_EQ(answer([&] { return drawn(*readers.back(), platform::WidgetFamily::systemSmall); }),
                  "picture of Ada's");
    }
    EXPECT_EQ(extension.drawings, 1);
    EXPECT_EQ(answer([&] { return drawn(*readers[0], platform::WidgetFamily::systemLarge); }),
              "picture of Ada's");
    EXPECT_EQ(extension.drawings, 2);
    extension.shopName = "Ada's, later";
    host.askNow();
    clock.settle();
    EXPECT_EQ(answer([&] { return drawn(*readers[0], platform::WidgetFamily::systemSmall); }),
              "picture of Ada's, later");
}

TEST_F(HostSocketTest, KeepsNobodyInAHurryWaitingForPictures) {
    using std::chrono::milliseconds;
    extension.pictureDelay = milliseconds(300);
    open();
    start();
    const auto reader = client();
    const auto answered = [&](std::optional<milliseconds> budget) {
        return answer([&] { return drawn(*reader, platform::WidgetFamily::systemSmall, budget); });
    };
    EXPECT_EQ(answered(milliseconds(10)), "picture of Ada's without");
    EXPECT_EQ(answered(milliseconds(20)), "picture of Ada's without");
    EXPECT_EQ(answered(milliseconds(10)), "picture of Ada's without") << "of which nothing is kept";
    EXPECT_EQ(extension.drawings, 3);
    EXPECT_EQ(answered(std::nullopt), "picture of Ada's with");
    EXPECT_EQ(answered(milliseconds(10)), "picture of Ada's with");
    EXPECT_EQ(extension.drawings, 4);
}

TEST_F(HostSocketTest, DrawsOneAfterAnotherOfThoseThatWaitForPicturesAndNothingOfWhoHasLeft) {
    extension.pictureDelay = std::chrono::milliseconds(0);
    open();
    start();
    extension.isDrawingHeld = true;
    std::vector<std::shared_ptr<LiveHostClient>> readers;
    for (const auto family : {platform::WidgetFamily::systemSmall, platform::WidgetFamily::systemLarge}) {
        readers.push_back(client());
        spawn([](LiveHostClient& asked, platform::WidgetFamily wanted) -> boost::asio::awaitable<void> {
            EXPECT_EQ(co_await drawn(asked, wanted), "picture of notLoggedIn");
        }(*readers.back(), family));
    }
    ASSERT_TRUE(until([&] { return extension.drawings > 0; }));
    // The other one waits for its turn, and nothing keeps one in a hurry.
    const auto hasty = client();
    spawn([](LiveHostClient& asked) -> boost::asio::awaitable<void> {
        co_await drawn(asked, platform::WidgetFamily::systemMedium, std::chrono::milliseconds(1));
    }(*hasty));
    ASSERT_TRUE(until([&] { return extension.drawings == 2; }));
    extension.pictureDelay.reset();
    extension.stored = {};
    happens(SystemEvent::secretsChanged);
    extension.release();
    // Two, and for each reader one of the sign-in view.
    EXPECT_TRUE(until([&] { return extension.drawings == 2 + 3; }));
    clock.settle();
    EXPECT_EQ(extension.drawings, 2 + 3);
    EXPECT_THAT(failures(), IsEmpty());
}

TEST_F(HostSocketTest, KeepsForAllWhatCameWithinItsBudget) {
    using std::chrono::milliseconds;
    extension.pictureDelay = milliseconds(0);
    open();
    start();
    for (const auto budget : {milliseconds(10'000), milliseconds(20'000), milliseconds(0)}) {
        const auto reader = client();
        EXPECT_EQ(answer([&] { return drawn(*reader, platform::WidgetFamily::systemSmall, budget); }),
                  "picture of Ada's with");
    }
    EXPECT_EQ(extension.drawings, 1);
}

TEST_F(HostSocketTest, DrawsAPlaceholderAsBars) {
    open();
    const auto reader = client();
    EXPECT_EQ(answer([&] { return drawn(*reader, platform::WidgetFamily::systemSmall); }),
              "bars of Shop Name");
    start();
    EXPECT_EQ(answer([&] { return drawn(*reader, platform::WidgetFamily::systemSmall); }),
              "picture of Ada's");
}

TEST_F(HostSocketTest, GivesNobodyADrawingOfOneWhoHasSignedOutMeanwhile) {
    open();
    start();
    const auto reader = client();
    std::optional<std::string> bytes;
    ASSERT_TRUE(isKeptDrawing(*reader, bytes));
    extension.stored = {};
    extension.isDrawingHeld = false;
    happens(SystemEvent::secretsChanged);
    until([&] { return bytes.has_value(); });
    EXPECT_EQ(bytes, "picture of notLoggedIn");
}

TEST_F(HostSocketTest, DrawsAgainWhatItsExtensionWasLeftOver) {
    open();
    start();
    const auto reader = client();
    std::optional<std::string> bytes;
    ASSERT_TRUE(isKeptDrawing(*reader, bytes));
    extension.isDrawingHeld = false;
    events.happens(SystemEvent::zoneChanged);
    until([&] { return bytes.has_value(); });
    EXPECT_EQ(bytes, "picture of Ada's");
    EXPECT_THAT(failures(), IsEmpty());
}

TEST_F(HostSocketTest, TellsAReaderWhyItCannotDraw) {
    open();
    start();
    const auto reader = client();
    extension.isFailing = true;
    EXPECT_EQ(answer([&] { return drawn(*reader, platform::WidgetFamily::systemSmall); }),
              "failed: the extension ended while drawing");
    extension.isFailing = false;
    EXPECT_EQ(answer([&] { return drawn(*reader, platform::WidgetFamily::systemSmall); }),
              "picture of Ada's");
}

TEST_F(HostSocketTest, ReloadsAndSaysHowItIs) {
    open();
    start();
    const auto reader = client();
    extension.shopName = "Ada's, later";
    EXPECT_EQ(answer([&] { return reloaded(*reader); }), "Ada's, later");
    EXPECT_EQ(extension.timelines, 2);
    EXPECT_EQ(answer([&] { return statusOf(*reader); }), "9.8.7 0 fetched");
    const auto views = follow(client());
    until([&] { return !views->empty(); });
    EXPECT_EQ(answer([&] { return statusOf(*reader); }), "9.8.7 1 fetched");
}

TEST_F(HostSocketTest, ShowsASignOutToEveryReader) {
    open();
    start();
    std::vector<Views> all;
    for (int count = 0; count < 20; ++count) all.push_back(follow(client()));
    until([&] {
        return std::all_of(all.begin(), all.end(), [](const auto& views) { return !views->empty(); });
    });
    extension.answerWith(CredentialState::none, ServerContact::refused);
    happens(SystemEvent::secretsChanged);
    EXPECT_TRUE(until([&] {
        return std::all_of(all.begin(), all.end(),
                           [](const auto& views) { return views->back() == "notLoggedIn"; });
    }));
}

TEST_F(HostSocketTest, TellsAReaderOfAnotherVersionSoInWords) {
    open();
    for (const std::string version : {"2", "0", "\"one\""}) {
        const int socket = rawReader();
        say(socket, frameOf(R"({"protocol":)" + version + "}"));
        const auto told = everythingFrom(socket);
        EXPECT_THAT(told, HasSubstr(greeting));
        EXPECT_THAT(told, HasSubstr("the live host (process " + std::to_string(::getpid()) + ") version 1"));
        ::close(socket);
    }
    EXPECT_TRUE(until([&] { return door->readerCount() == 0; }));
}

TEST_F(HostSocketTest, DropsAReaderThatTalksNonsenseAndNoOther) {
    open();
    start();
    const auto views = follow(client());
    until([&] { return !views->empty(); });
    const std::string tooLong = frameOf(std::string(HostSocket::longestQuestion + 1, ' '));
    for (const auto& nonsense :
         {std::string(64, '\xff'), frameOf("no json"), frameOf(greeting) + frameOf("[1]"),
          frameOf(greeting) + frameOf("{}", 1), frameOf(greeting) + tooLong.substr(0, 8)}) {
        const int socket = rawReader();
        say(socket, nonsense);
        everythingFrom(socket);
        ::close(socket);
        EXPECT_TRUE(until([&] { return door->readerCount() == 1; })) << nonsense.substr(0, 40);
    }
    extension.shopName = "Ada's, later";
    host.askNow();
    EXPECT_TRUE(until([&] { return views->size() == 2; }));
}

TEST_F(HostSocketTest, AnswersWhatItDoesNotUnderstandWithWords) {
    open();
    const int socket = rawReader();
    say(socket, frameOf(greeting) + frameOf(R"({"id":1,"request":"dance"})") +
                    frameOf(R"({"id":2,"request":"pictures","pictures":[{"family":"none"}]})") +
                    frameOf(R"({"id":3,"request":"draw","scale":"big"})"));
    ::shutdown(socket, SHUT_WR);
    const auto told = everythingFrom(socket);
    EXPECT_THAT(told, HasSubstr(R"("unknown request")"));
    EXPECT_THAT(told, HasSubstr("family must be a family of the widget's"));
    EXPECT_THAT(told, HasSubstr("scale must be a number"));
    ::close(socket);
}

TEST_F(HostSocketTest, DropsAReaderThatNeverReadsAndNoOther) {
    open();
    start();
    const int socket = rawReader();
    say(socket, frameOf(greeting) + frameOf(R"({"id":1,"request":"follow"})"));
    const auto views = follow(client());
    until([&] { return !views->empty() && door->readerCount() == 2; });
    // A state of some 100 kB, and as many as the system's own buffers and ours hold.
    std::size_t told = 1;
    for (int count = 0; count < 40 && door->readerCount() == 2; ++count) {
        extension.shopName = std::string(100'000, static_cast<char>('a' + count % 26));
        host.askNow();
        clock.settle();
        ++told;
        until([&] { return views->size() >= told; });
    }
    EXPECT_EQ(door->readerCount(), 1u);
    EXPECT_LT(told, 40u);
    EXPECT_EQ(views->size(), told);
    ::close(socket);
}

TEST_F(HostSocketTest, DropsAReaderThatAsksAndNeverReads) {
    HostSocket::Options options = {.version = "1", .started = platform::Date::now()};
    options.answerPatience = std::chrono::milliseconds(50);
    open(options);
    start();
    extension.shopName = std::string(400'000, 'x');
    host.askNow();
    clock.settle();
    const int socket = rawReader();
    const auto question = frameOf(R"({"id":1,"request":"follow"})");
    say(socket, frameOf(greeting));
    for (int count = 0; count < 20; ++count) say(socket, question);
    until([&] { return door->readerCount() == 1; });
    EXPECT_TRUE(until([&] { return door->readerCount() == 0; }));
    ::close(socket);
}

TEST_F(HostSocketTest, KeepsNothingForASlowReaderOfOneWhoHasSignedOut) {
    extension.shopName = std::string(400'000, 'x');
    HostSocket::Options options = {.version = "1", .started = platform::Date::now()};
    options.answerPatience = std::chrono::hours(1);
    open(options);
    start();
    const auto question = frameOf(R"({"id":1,"request":"follow"})");
    const int waiting = rawReader();
    say(waiting, frameOf(greeting) + question);
    const int following = rawReader();
    say(following, frameOf(greeting) + question);
    // It takes what it asked for, and then no more.
    std::size_t taken = 0;
    std::array<char, 4096> part;
    until([&] {
        const auto length = ::recv(following, part.data(), part.size(), MSG_DONTWAIT);
        taken += length > 0 ? static_cast<std::size_t>(length) : 0;
        return taken > 400'000;
    });
    extension.shopName = std::string(400'000, 'y');
    host.askNow();
    clock.settle();
    const auto views = follow(client());
    until([&] { return !views->empty(); });
    ASSERT_EQ(door->readerCount(), 3u);

    extension.answerWith(CredentialState::none, ServerContact::refused);
    happens(SystemEvent::secretsChanged);
    EXPECT_TRUE(until([&] { return door->readerCount() == 1; }));
    EXPECT_TRUE(until([&] { return views->back() == "notLoggedIn"; }));
    ::close(waiting);
    ::close(following);
}

TEST_F(HostSocketTest, OutlivesAHundredReadersThatComeAndGo) {
    open();
    start();
    for (int count = 0; count < 100; ++count) {
        const int socket = rawReader();
        ASSERT_GE(socket, 0);
        const auto all = frameOf(greeting) + frameOf(R"({"id":1,"request":"follow"})");
        // Some go in the middle of a word.
        say(socket, all.substr(0, all.size() - static_cast<std::size_t>(count % 30)));
        if (count % 3 == 0) clock.settle();
        ::close(socket);
    }
    const auto views = follow(client());
    EXPECT_TRUE(until([&] { return !views->empty() && door->readerCount() == 1; }));
}

TEST_F(HostSocketTest, AnswersNobodyElsesReader) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can be two users";
    open();
    start();
    // As if the folder kept nobody out.
    const auto path = HostAddress::ofPerson().socket();
    for (const auto& each : {path, path.parent_path(), folder.path()})
        std::filesystem::permissions(each, std::filesystem::perms::all);
    ASSERT_EQ(::seteuid(65534), 0);
    const int socket = rawReader(path);
    ASSERT_EQ(::seteuid(0), 0);
    ASSERT_GE(socket, 0);
    say(socket, frameOf(greeting) + frameOf(R"({"id":1,"request":"follow"})"));
    EXPECT_EQ(everythingFrom(socket), "");
    ::close(socket);
}

TEST_F(HostSocketTest, ShowsNothingToWhoComesOnceItsPlaceIsLost) {
    bool mayServe = true;
    open({.version = "9.8.7", .started = platform::Date::now(), .mayServe = [&] { return mayServe; }});
    const int early = rawReader();
    until([&] { return door->readerCount() == 1; });
    mayServe = false;
    EXPECT_EQ(everythingFrom(rawReader()), "");
    EXPECT_EQ(door->readerCount(), 1u);
    ::close(early);
}

TEST_F(HostSocketTest, RefusesOneReaderTooManyInWords) {
    open();
    std::vector<int> sockets;
    for (std::size_t count = 0; count < HostSocket::mostReaders; ++count) {
        sockets.push_back(rawReader());
        until([&] { return door->readerCount() == sockets.size(); });
    }
    const int last = rawReader();
    say(last, frameOf(greeting));
    EXPECT_THAT(everythingFrom(last), HasSubstr("the live host has 256 readers already"));
    ::close(last);
    for (const int socket : sockets) ::close(socket);
    EXPECT_TRUE(until([&] { return door->readerCount() == 0; }));
}

TEST_F(HostSocketTest, HasFewerReadersWhereFewFilesMayBeOpen) {
    {
        const platform::testing::FileLimit few(64);
        open();
    }
    std::vector<int> sockets;
    for (int count = 0; count < 32; ++count) {
        sockets.push_back(rawReader());
        until([&] { return door->readerCount() == sockets.size(); });
    }
    const int last = rawReader();
    say(last, frameOf(greeting));
    EXPECT_THAT(everythingFrom(last), HasSubstr("the live host has 32 readers already"));
    ::close(last);
    for (const int socket : sockets) ::close(socket);
    EXPECT_TRUE(until([&] { return door->readerCount() == 0; }));
}

TEST_F(HostSocketTest, GivesUpAReaderThatNeverGreetsOrNeverEndsItsQuestion) {
    HostSocket::Options options = {.version = "1", .started = platform::Date::now()};
    int idle = 0;
    options.questionPatience = options.idleLimit.emplace(std::chrono::milliseconds(200));
    options.onIdle = [&] { ++idle; };
    open(options);
    const auto question = frameOf(R"({"id":1,"request":"status"})");
    for (const std::string& said : {std::string(), std::string("\0\0", 2), frameOf(greeting).substr(0, 15),
                                    frameOf(greeting) + question.substr(0, 1),
                                    frameOf(greeting) + question.substr(0, question.size() - 1)}) {
        const int socket = rawReader();
        say(socket, said);
        EXPECT_EQ(everythingFrom(socket), frameOf(greeting));
        ::close(socket);
        EXPECT_TRUE(until([&] { return door->readerCount() == 0; }));
    }
    EXPECT_TRUE(until([&] { return idle > 0; }));
}

TEST_F(HostSocketTest, KeepsAReaderThatHasGreetedAndAsksNothing) {
    HostSocket::Options options = {.version = "1", .started = platform::Date::now()};
    options.questionPatience = std::chrono::milliseconds(50);
    open(options);
    const int socket = rawReader();
    say(socket, frameOf(greeting));
    until([&] { return door->readerCount() == 1; });
    EXPECT_FALSE(until([&] { return door->readerCount() == 0; }, std::chrono::seconds(1)));
    for (int count = 0; count < 2; ++count) say(socket, frameOf(R"({"id":7,"request":"unknown"})"));
    EXPECT_FALSE(until([&] { return door->readerCount() == 0; }, std::chrono::seconds(1)));
    ::shutdown(socket, SHUT_WR);
    EXPECT_THAT(everythingFrom(socket), HasSubstr("\"id\":7"));
    ::close(socket);
}

TEST_F(HostSocketTest, HearsAReaderWhoSpokeInTimeThoughItStoodStillItself) {
    HostSocket::Options options = {.version = "1", .started = platform::Date::now()};
    options.questionPatience = std::chrono::milliseconds(50);
    open(options);
    const int socket = rawReader();
    ASSERT_TRUE(until([&] { return door->readerCount() == 1; }));
    say(socket, frameOf(greeting) + frameOf(R"({"id":1,"request":"status"})"));
    std::this_thread::sleep_for(2 * options.questionPatience);
    ::shutdown(socket, SHUT_WR);
    EXPECT_THAT(everythingFrom(socket), HasSubstr("\"id\":1"));
    ::close(socket);
}

TEST_F(HostSocketTest, SaysWhenNobodyHasReadForAWhile) {
    int idle = 0;
    HostSocket::Options options = {.version = "1", .started = platform::Date::now()};
    options.idleLimit = std::chrono::milliseconds(60);
    options.onIdle = [&] { ++idle; };
    open(options);
    const auto reader = client();
    const auto views = follow(reader);
    ASSERT_TRUE(until([&] { return !views->empty(); }));
    // Nobody had read before it came, for a while perhaps.
    idle = 0;
    EXPECT_FALSE(until([&] { return idle > 0; }, std::chrono::seconds(1)));
    reader->close();
    EXPECT_TRUE(until([&] { return idle == 1; }));
}

TEST_F(HostSocketTest, IsFoundAgainAfterItEnded) {
    open();
    start();
    const auto reader = client();
    const auto views = follow(reader);
    until([&] { return !views->empty(); });
    close();
    EXPECT_EQ(answer([&] { return reloaded(*reader); }), "failed: no live host is running");
    extension.shopName = "Ada's, later";
    host.askNow();
    clock.settle();
    open();
    EXPECT_TRUE(until([&] { return views->back() == "Ada's, later"; }));
}

TEST_F(HostSocketTest, KeepsPicturesForAReaderAsLongAsItIsThere) {
    open();
    start();
    const auto reader = client();
    const PictureFile small = {.family = platform::WidgetFamily::systemSmall};
    spawn([](LiveHostClient& asked, PictureFile file) -> boost::asio::awaitable<void> {
        std::vector<PictureFile> wanted = {file};
        co_await asked.keepPictures(std::move(wanted));
    }(*reader, small));
    const auto path = place->claim().address().folder / "systemSmall-dark@2x.png";
    EXPECT_TRUE(until([&] { return std::filesystem::exists(path); }));
    reader->close();
    EXPECT_TRUE(until([&] { return !std::filesystem::exists(path); }));
}

}  // namespace
}  // namespace host
