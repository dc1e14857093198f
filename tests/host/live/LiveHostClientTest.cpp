// SPDX-License-Identifier: Apache-2.0

#include "host/reader/LiveHostClient.hpp"

#include <gmock/gmock.h>
#include <signal.h>

#include <fstream>

#include "platform/SystemEvents/KeychainVersion.hpp"
#include "tests/host/live/ReaderWorld.hpp"

namespace host {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// A live host that says what a test wants.
class LiveHostClientTest : public ReaderWorld {
  public:
    ~LiveHostClientTest() override {
        for (const int each : {socket_, peer_})
            if (each >= 0) ::close(each);
    }

  protected:
    LiveHostClientTest() {
        std::filesystem::create_directory(HostAddress::ofPerson().folder);
        std::filesystem::create_directory(data.path() / "vela");
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        const auto path = HostAddress::ofPerson().socket().string();
        std::memcpy(address.sun_path, path.data(), path.size());
        EXPECT_EQ(::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }

    void listen() const { EXPECT_EQ(::listen(socket_, 8), 0); }

    /// What the next reader is told.
    void tell(const std::string& bytes) {
        until([&] { return (peer_ = ::accept4(socket_, nullptr, nullptr, SOCK_NONBLOCK)) >= 0; });
        say(peer_, bytes);
    }
    /// Each reader that comes until that holds is told so.
    template <typename Condition>
    bool tellAllUntil(const std::string& bytes, Condition condition) {
        std::vector<int> peers;
        const bool holds = until([&] {
            const int peer = ::accept4(socket_, nullptr, nullptr, SOCK_NONBLOCK);
            if (peer >= 0) peers.push_back(peer);
            // It may have left by now.
            if (peer >= 0) (void)!::send(peer, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            return condition();
        });
        for (const int peer : peers) ::close(peer);
        return holds;
    }
    void tellMore(const std::string& bytes) const { say(peer_, bytes); }
    void hangUp() { ::close(std::exchange(peer_, -1)); }

    /// Notes what that reader shows.
    void followBy(std::shared_ptr<LiveHostClient> reader) {
        reader_ = std::move(reader);
        spawn(noting(reader_, views, gaps));
    }
    /// That reader shows what the host answers.
    void beginWith(const std::string& answer, std::shared_ptr<LiveHostClient> reader) {
        listen();
        followBy(std::move(reader));
        tell(answer);
        EXPECT_TRUE(until([&] { return views.size() == 1; }));
    }
    void leave() {
        reader_->close();
        clock.settle();
    }

    static boost::asio::awaitable<void> noting(std::shared_ptr<LiveHostClient> reader,
                                               std::vector<std::string>& seen,
                                               std::vector<std::string>& missed) {
        const std::function<void(const LiveState&)> note = [&](const LiveState& state) {
            seen.push_back(shopNameIn(state.entry));
        };
        const std::function<void(std::string_view)> noteGap = [&](std::string_view gap) {
            missed.emplace_back(gap);
        };
        co_await reader->follow(note, noteGap);
    }

    static boost::asio::awaitable<std::string> stateOf(std::shared_ptr<LiveHostClient> reader) {
        const auto state = co_await reader->state();
        co_return shopNameIn(state.entry);
    }

    static boost::asio::awaitable<std::string> reloadOf(std::shared_ptr<LiveHostClient> reader) {
        const auto state = co_await reader->reload();
        co_return shopNameIn(state.entry);
    }

    enum class Afterwards { stays, saysNoMore };

    /// What a reader makes of a host that says that.
    std::string madeOf(const std::string& bytes, Afterwards afterwards = Afterwards::stays) {
        listen();
        std::optional<std::string> text;
        const auto reader = client();
        spawn([](std::shared_ptr<LiveHostClient> asked,
                 std::optional<std::string>& result) -> boost::asio::awaitable<void> {
            try {
                result = co_await stateOf(asked);
            } catch (const LiveHostError& error) {
                result = error.what();
            }
        }(reader, text));
        tell(bytes);
        if (afterwards == Afterwards::saysNoMore) ::shutdown(peer_, SHUT_WR);
        until([&] { return text.has_value(); });
        hangUp();
        return text.value_or("nothing");
    }

    /// By the keychain as it is now.
    std::string keychain() const { return platform::keychainVersion(data.path() / "vela/keychain.sqlite"); }
    void change(const char* text) const { data.write("vela/keychain.sqlite", text); }
    std::string stateBy(const std::string& version) const {
        return R"("state":{"entry":{"date":"2026-01-31T10:00:00.000Z","state":"noPackages"},"keychain":")" +
               version + R"("}})";
    }
    /// What a host says to who begins to follow it.
    std::string answerOf(const std::string& state) const { return greeting + frameOf(R"({"id":1,)" + state); }
    std::shared_ptr<LiveHostClient> clientWith(std::chrono::milliseconds orderLimit) {
        LiveHostClient::Options options;
        options.ifMissing = LiveHostClient::IfMissing::leave;
        options.orderLimit = orderLimit;
        options.pauses = {std::chrono::milliseconds(5)};
        return std::make_shared<LiveHostClient>(context.get_executor(), std::move(options));
    }

    std::vector<std::string> views;
    std::vector<std::string> gaps;
    platform::testing::TemporaryFolder data;
    platform::testing::ScopedEnvironment dataEnvironment{{"XDG_DATA_HOME", data.path().string()},
                                                         {"VELA_KEYCHAIN", std::nullopt}};
    /// In the placeholder.
    const std::string nobody;
    const std::string greeting = frameOf(R"({"protocol":1})");
    const std::string noPackages =
        R"("state":{"entry":{"date":"2026-01-31T10:00:00.000Z","state":"noPackages"}}})";

  private:
    std::shared_ptr<LiveHostClient> reader_;
    int socket_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    int peer_ = -1;
};

TEST_F(LiveHostClientTest, UnderstandsALiveHost) {
    EXPECT_EQ(madeOf(answerOf(noPackages)), "noPackages");
}

TEST_F(LiveHostClientTest, SaysThatTheLiveHostSpeaksAnotherVersion) {
    EXPECT_EQ(madeOf(frameOf(R"({"protocol":2})")),
              "the live host speaks version 2 of the protocol and this program version 1: end the live host, "
              "so that one of this program's version can begin");
    EXPECT_THAT(madeOf(frameOf(R"({"hello":"there"})")), StartsWith("the live host speaks another version"));
}

TEST_F(LiveHostClientTest, DoesNotLookAgainForAHostOfAnotherVersion) {
    listen();
    const auto seen = follow(client());
    tell(frameOf(R"({"protocol":2})"));
    EXPECT_TRUE(until([&] { return !failures().empty(); }));
    EXPECT_THAT(failures(), ElementsAre(StartsWith("the live host speaks version 2")));
}

TEST_F(LiveHostClientTest, PassesOnWhatTheHostRefuses) {
    EXPECT_EQ(madeOf(greeting + frameOf(R"({"error":"the live host has 256 readers already"})")),
              "the live host has 256 readers already");
    EXPECT_EQ(madeOf(greeting + frameOf(R"({"id":1,"error":"no \u001b[2J"})")), "no  [2J");
}

TEST_F(LiveHostClientTest, TakesNothingOnTrust) {
    EXPECT_EQ(madeOf(greeting + frameOf(R"({"id":1})")), "the live host's answer has no state");
    EXPECT_THAT(madeOf(greeting + frameOf(R"({"id":1,"state":{"entry":{"date":"noon"}}})")),
                StartsWith("the live host's answer cannot be used: "));
    EXPECT_THAT(madeOf(greeting + frameOf("no json")), HasSubstr("JSON"));
    for (const auto& said : {greeting, greeting + frameOf(R"({"id":7,)" + noPackages)})
        EXPECT_EQ(madeOf(said, Afterwards::saysNoMore), "the live host has ended");
}

TEST_F(LiveHostClientTest, WaitsForNoAnswerForEver) {
    listen();
    LiveHostClient::Options options;
    options.ifMissing = LiveHostClient::IfMissing::leave;
    options.answerLimit = std::chrono::milliseconds(100);
    const auto reader = std::make_shared<LiveHostClient>(context.get_executor(), std::move(options));
    EXPECT_EQ(answer([&] { return stateOf(reader); }),
              "failed: the live host has not answered within 100 ms");
}

TEST_F(LiveHostClientTest, WaitsForAReloadInItsOwnTime) {
    listen();
    LiveHostClient::Options options;
    options.answerLimit = std::chrono::milliseconds(50);
    options.reloadLimit = std::chrono::milliseconds(100);
    const auto reader = std::make_shared<LiveHostClient>(context.get_executor(), std::move(options));
    EXPECT_EQ(answer([&] { return reloadOf(reader); }),
              "failed: the live host has not answered within 100 ms");
}

TEST_F(LiveHostClientTest, FindsTheHostAgainAsOftenAsItEnds) {
    listen();
    followBy(client());
    for (std::size_t count = 1; count <= 3; ++count) {
        tell(answerOf(noPackages) + frameOf("{" + noPackages));
        EXPECT_TRUE(until([&] { return views.size() == 2 * count; }));
        hangUp();
        EXPECT_TRUE(until([&] { return gaps.size() >= count; }));
    }
    EXPECT_THAT(gaps, Contains("the live host has ended"));
    leave();
}

TEST_F(LiveHostClientTest, TellsOfAHostThatIsSilentAndComesBackToWhoTakesItsPlace) {
    listen();
    LiveHostClient::Options options;
    options.ifMissing = LiveHostClient::IfMissing::leave;
    options.followLimit = std::chrono::milliseconds(100);
    options.pauses = {std::chrono::milliseconds(5)};
    followBy(std::make_shared<LiveHostClient>(context.get_executor(), std::move(options)));
    EXPECT_TRUE(until([&] { return gaps.size() == 2; }));
    EXPECT_THAT(gaps, Each("the live host has not answered within 100 ms"));
    EXPECT_TRUE(tellAllUntil(answerOf(noPackages), [&] { return !views.empty(); }));
    leave();
}

TEST_F(LiveHostClientTest, GivesUpWhatWasShownOnceTheKeychainIsAnotherAndNoHostSaysWhy) {
    beginWith(answerOf(stateBy(keychain())), clientWith(std::chrono::hours(1)));
    hangUp();
    EXPECT_TRUE(until([&] { return !gaps.empty(); }));
    EXPECT_THAT(views, ElementsAre("noPackages")) << "what was shown stays";
    change("another");
    EXPECT_TRUE(until([&] { return views.size() == 2; }));
    EXPECT_EQ(views.back(), nobody);
    leave();
}

TEST_F(LiveHostClientTest, GivesUpAHostThatDoesNotSayWhatAnotherKeychainMeans) {
    listen();
    followBy(clientWith(std::chrono::milliseconds(100)));
    const auto before = keychain();
    tell(answerOf(stateBy(before)));
    EXPECT_TRUE(until([&] { return views.size() == 1; }));
    change("another");
    EXPECT_TRUE(until([&] { return !gaps.empty(); }));
    EXPECT_THAT(views, ElementsAre("noPackages", nobody));
    EXPECT_EQ(gaps.front(), "the live host does not say who is signed in");
    hangUp();
    const auto gapsBefore = gaps.size();
    tell(answerOf(stateBy(before)));
    EXPECT_TRUE(until([&] { return gaps.size() > gapsBefore; }));
    hangUp();
    EXPECT_THAT(views, ElementsAre("noPackages", nobody, nobody))
        << "it is still of before, as of a host that was told to go on";
    tell(answerOf(stateBy(before)) + frameOf("{" + stateBy(keychain())));
    EXPECT_TRUE(until([&] { return views.back() == "noPackages"; }));
    leave();
}

TEST_F(LiveHostClientTest, ShowsWhatAHostSaysOfAKeychainBeforeItIsSeenHere) {
    listen();
    change("before");
    followBy(clientWith(std::chrono::hours(1)));
    const auto file = data.path() / "vela/keychain.sqlite";
    const auto put = [&](const char* name) {
        // Through another name, as one file does not take the place of itself.
        std::filesystem::create_hard_link(data.path() / name, data.path() / "next");
        std::filesystem::rename(data.path() / "next", file);
    };
    std::filesystem::create_hard_link(file, data.path() / "before");
    data.write("after", "after all");
    put("after");
    const auto after = keychain();
    put("before");
    tell(answerOf(stateBy(after)));
    EXPECT_FALSE(until([&] { return !views.empty(); }, std::chrono::seconds(1)));
    put("after");
    EXPECT_TRUE(until([&] { return !views.empty(); }));
    EXPECT_THAT(views, ElementsAre("noPackages"));
    EXPECT_THAT(gaps, ElementsAre());
    leave();
}

TEST_F(LiveHostClientTest, BelievesAHostThatSaysWhatAnotherKeychainMeans) {
    beginWith(answerOf(stateBy(keychain())), clientWith(std::chrono::milliseconds(500)));
    change("another");
    tellMore(frameOf("{" + stateBy(keychain())));
    EXPECT_FALSE(until([&] { return !gaps.empty(); }, std::chrono::seconds(1)));
    EXPECT_THAT(views, ElementsAre("noPackages", "noPackages"));
    leave();
}

TEST_F(LiveHostClientTest, CaresNothingForAKeychainThatIsNotTheHosts) {
    beginWith(answerOf(stateBy(platform::keychainVersion("keyring", ""))),
              clientWith(std::chrono::milliseconds(20)));
    change("another");
    EXPECT_FALSE(until([&] { return !gaps.empty(); }, std::chrono::seconds(1)));
    EXPECT_THAT(views, ElementsAre("noPackages"));
    leave();
}

TEST_F(LiveHostClientTest, WatchesAKeychainThatItsHostHadNotSeenYet) {
    beginWith(answerOf(noPackages), clientWith(std::chrono::hours(1)));
    hangUp();
    EXPECT_TRUE(until([&] { return !gaps.empty(); }));
    change("another");
    EXPECT_TRUE(until([&] { return views.size() == 2; }));
    EXPECT_EQ(views.back(), nobody);
    leave();
}

TEST_F(LiveHostClientTest, GoesOnWithoutAPlaceForAHostOnceThereWasOne) {
    beginWith(answerOf(stateBy(keychain())), clientWith(std::chrono::hours(1)));
    const platform::testing::ScopedEnvironment nowhere({{"XDG_RUNTIME_DIR", "/nowhere"}});
    hangUp();
    EXPECT_TRUE(until([&] { return gaps.size() > 2; }));
    EXPECT_THAT(gaps.back(), HasSubstr("XDG_RUNTIME_DIR, /nowhere, cannot be used"));
    change("another");
    EXPECT_TRUE(until([&] { return views.size() == 2; }));
    EXPECT_EQ(views.back(), nobody);
    leave();
    EXPECT_TRUE(failures().empty());
}

TEST_F(LiveHostClientTest, DoesNotWaitForTheReloadOfAHostThatLetsNobodyIn) {
    listen();
    const auto reader = clientWith(std::chrono::milliseconds(100));
    EXPECT_EQ(answer([&]() -> boost::asio::awaitable<std::string> {
                  const auto state = co_await reader->reload();
                  co_return shopNameIn(state.entry);
              }),
              "failed: the live host has not answered within 100 ms");
}

TEST_F(LiveHostClientTest, AsksTheSuccessorOfAHostThatEndsInThisMoment) {
    listen();
    std::optional<std::string> text;
    const auto reader = client();
    spawn([](std::shared_ptr<LiveHostClient> asked,
             std::optional<std::string>& result) -> boost::asio::awaitable<void> {
        try {
            const auto state = co_await asked->settledState(std::chrono::hours(1));
            result = shopNameIn(state.entry);
        } catch (const LiveHostError& error) {
            result = error.what();
        }
    }(reader, text));
    tell(greeting);
    hangUp();
    const std::string placeholder =
        R"("state":{"entry":{"date":"2026-01-31T10:00:00.000Z","state":"noPackages"},"isPlaceholder":true}})";
    tell(answerOf(placeholder));
    until([] { return false; }, std::chrono::seconds(1));
    hangUp();
    tell(answerOf(noPackages));
    EXPECT_TRUE(until([&] { return text.has_value(); }));
    EXPECT_EQ(text, "noPackages");
    hangUp();
}

TEST_F(LiveHostClientTest, StartsAnotherHostWhereTheFirstEndsBeforeItListens) {
    const auto program = folder.path() / "program";
    folder.write("program", "#!/bin/sh\necho >> \"${0%/*}/starts\"\n");
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    LiveHostClient::Options options;
    options.program = program;
    options.patience = std::chrono::seconds(3);
    const auto reader = std::make_shared<LiveHostClient>(context.get_executor(), std::move(options));
    EXPECT_EQ(answer([&] { return stateOf(reader); }),
              "failed: the live host that was started does not listen; see what vela-widget run says");
    EXPECT_EQ(folder.read("starts"), "\n\n\n") << "and no more than a few";
}

TEST_F(LiveHostClientTest, WaitsLongerForAHostThatIsOnItsWay) {
    const auto program = folder.path() / "program";
    folder.write("program", "#!/bin/sh\necho $$ > \"${0%/*}/started\"\nexec sleep 3600\n");
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    LiveHostClient::Options options;
    options.program = program;
    options.patience = std::chrono::milliseconds(40);
    options.startLimit = std::chrono::hours(1);
    const auto reader = std::make_shared<LiveHostClient>(context.get_executor(), std::move(options));
    std::optional<std::string> text;
    spawn([](std::shared_ptr<LiveHostClient> asked,
             std::optional<std::string>& result) -> boost::asio::awaitable<void> {
        try {
            result = co_await stateOf(asked);
        } catch (const LiveHostError& error) {
            result = error.what();
        }
    }(reader, text));
    pid_t process = 0;
    ASSERT_TRUE(until([&] { return bool(std::ifstream(folder.path() / "started") >> process); }));
    EXPECT_FALSE(until([&] { return text.has_value(); }, std::chrono::seconds(1))) << *text;
    listen();
    tell(answerOf(noPackages));
    EXPECT_TRUE(until([&] { return text.has_value(); }));
    EXPECT_EQ(text, "noPackages");
    hangUp();
    ASSERT_GT(process, 1);
    ::kill(process, SIGKILL);
}

TEST_F(LiveHostClientTest, WaitsNotForEverForAHostThatRunsAndDoesNotListen) {
    const auto program = folder.path() / "program";
    folder.write("program", "#!/bin/sh\nexec sleep 5\n");
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    LiveHostClient::Options options;
    options.program = program;
    options.patience = std::chrono::milliseconds(40);
    options.startLimit = std::chrono::milliseconds(200);
    const auto reader = std::make_shared<LiveHostClient>(context.get_executor(), std::move(options));
    EXPECT_EQ(answer([&] { return stateOf(reader); }),
              "failed: the live host that was started does not listen; see what vela-widget run says");
}

TEST_F(LiveHostClientTest, SaysThatNoHostCouldBeStarted) {
    for (const auto& [program, words] : std::vector<std::pair<std::string, std::string>>{
             {"/nowhere/vela-widget", "cannot start /nowhere/vela-widget: No such file or directory"},
             {"/bin/false",
              "the live host that was started does not listen; see what vela-widget run says"}}) {
        LiveHostClient::Options options;
        options.program = program;
        options.patience = std::chrono::milliseconds(100);
        const auto reader = std::make_shared<LiveHostClient>(context.get_executor(), std::move(options));
        EXPECT_EQ(answer([&] { return stateOf(reader); }), "failed: " + words);
    }
}

}  // namespace
}  // namespace host
