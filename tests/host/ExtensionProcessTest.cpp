// SPDX-License-Identifier: Apache-2.0

#include "host/widget/ExtensionProcess.hpp"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <limits>
#include <memory>
#include <thread>

#include "presentation/StoredPackage.hpp"
#include "tests/host/Person.hpp"
#include "tests/support/Awaited.hpp"
#include "tests/support/ChildProcess.hpp"
#include "tests/support/LoopbackServer.hpp"
#include "tests/support/ScopedEnvironment.hpp"

namespace host {
namespace {

namespace asio = boost::asio;
using platform::testing::eventually;
using platform::testing::httpReply;
using platform::testing::LoopbackServer;
using platform::testing::ReceivedRequest;
using platform::testing::ScopedEnvironment;

constexpr const char* nothing = R"({"data":{"__typename":"Query"}})";

class ExtensionProcessTest : public Person {
  protected:
    /// Started with the person's environment, asked by `test`, and ended.
    template <typename Test>
    void withExtension(const std::string& baseURL, Test test) {
        const ScopedEnvironment scope(
            {{"XDG_DATA_HOME", environment["XDG_DATA_HOME"]}, {"BASE_URL", baseURL}});
        const auto run = [this, &test]() -> asio::awaitable<void> {
            const auto executor = co_await asio::this_coro::executor;
            const auto extension = ExtensionProcess::start(
                executor, settings(), [this](std::string_view line) { lines.emplace_back(line); });
            co_await test(extension);
            co_await extension->end(patience());
        };
        platform::testing::awaited(run());
    }

    static ExtensionSettings settings() {
        return {.executable = platform::testing::programFolder() / "VelaWidgetExtension"};
    }

    /// Longer than any test takes.
    static platform::Deadline patience() { return platform::Deadline(std::chrono::hours(1)); }

    /// The one that this process has started.
    static pid_t extensionProcess() {
        const auto children = platform::testing::childrenOf(::getpid());
        EXPECT_EQ(children.size(), 1u);
        return children.empty() ? 0 : children.front();
    }

    static std::string baseURL(const LoopbackServer& server) {
        return "http://127.0.0.1:" + std::to_string(server.port());
    }

    std::vector<std::string> lines;
};

TEST_F(ExtensionProcessTest, AnswersPlaceholderAndDeclaration) {
    withExtension("http://127.0.0.1:9", [](auto extension) -> asio::awaitable<void> {
        const ExtensionRequest declaration = {.kind = ExtensionRequest::Kind::declaration};
        const auto first = co_await extension->ask(declaration, patience());
        EXPECT_EQ(first.body.at("declaration").at("kind"), "TrackingWidget");
        const ExtensionRequest placeholder = {.kind = ExtensionRequest::Kind::placeholder};
        const auto second = co_await extension->ask(placeholder, patience());
        EXPECT_EQ(second.body.at("entry").at("state"), "loggedIn");
    });
}

TEST_F(ExtensionProcessTest, DrawsForWhoIsInAHurryWhilePicturesAreAwaitedForAnother) {
    std::atomic<bool> isReleased = false;
    const LoopbackServer pictures([&isReleased](const ReceivedRequest&, LoopbackServer::Peer& peer) {
        eventually([&isReleased] { return isReleased.load(); }, std::chrono::seconds(60));
        peer.close();
    });
    const auto drawing = [&pictures](std::chrono::milliseconds budget) {
        using presentation::StoredPackage;
        widget::DrawingRequest request = {
            .entry = {platform::Date::now(),
                      widget::LoggedIn{{std::make_shared<StoredPackage>(StoredPackage::Values{
                          .shopName = "Shop",
                          .deepLinkingUrl = *platform::URL::parse("velaapp://order/1"),
                          .progress = 0.5F,
                          .shopImage = pictures.url("/shop.png"),
                          .statusText = {.primary = "In transit"},
                      })}}},
            .family = platform::WidgetFamily::systemSmall};
        request.pictureBudget = budget;
        return ExtensionRequest::rendering(std::move(request));
    };
    withExtension("http://127.0.0.1:9", [&](auto extension) -> asio::awaitable<void> {
        const auto executor = co_await asio::this_coro::executor;
        asio::steady_timer pause(executor);
        const auto until = [&pause](auto condition) -> asio::awaitable<void> {
            while (!condition()) {
                pause.expires_after(std::chrono::milliseconds(5));
                co_await pause.async_wait(asio::use_awaitable);
            }
        };
        std::optional<Message> patient;
        asio::co_spawn(executor,
                       platform::testing::keepResult(
                           extension->ask(drawing(std::chrono::seconds(30)), patience()), patient),
                       asio::detached);
        co_await until([&pictures] { return !pictures.requests().empty(); });
        const auto hurried = co_await extension->ask(drawing(std::chrono::milliseconds(0)), patience());
        EXPECT_FALSE(hurried.attachment.empty());
        EXPECT_FALSE(patient.has_value()) << "one kept the other waiting";
        isReleased = true;
        co_await until([&patient] { return patient.has_value(); });
        EXPECT_FALSE(patient->attachment.empty());
    });
}

TEST_F(ExtensionProcessTest, ServesSeveralTimelinesAtOnce) {
    // No reply goes out before every query has come in: served one after another, none would end.
    constexpr std::size_t count = 5;
    std::atomic<const LoopbackServer*> self = nullptr;
    const LoopbackServer server([&self](const ReceivedRequest&, LoopbackServer::Peer& peer) {
        eventually([&] {
            const LoopbackServer* known = self;
            return known && known->requests().size() >= count;
        });
        peer.send(httpReply(200, nothing));
    });
    self = &server;
    withExtension(baseURL(server), [](auto extension) -> asio::awaitable<void> {
        const auto executor = co_await asio::this_coro::executor;
        std::vector<std::optional<Message>> replies(count);
        const ExtensionRequest request = {.kind = ExtensionRequest::Kind::timeline};
        for (std::size_t index = 1; index < count; ++index)
            asio::co_spawn(executor,
                           platform::testing::keepResult(extension->ask(request, patience()), replies[index]),
                           asio::detached);
        replies[0] = co_await extension->ask(request, patience());
        asio::steady_timer pause(executor);
        while (!std::all_of(replies.begin(), replies.end(),
                            [](const auto& reply) { return reply.has_value(); })) {
            pause.expires_after(std::chrono::milliseconds(5));
            co_await pause.async_wait(asio::use_awaitable);
        }
        for (const auto& reply : replies)
            EXPECT_EQ(reply->body.at("timeline").at("entries").at(0).at("state"), "noPackages");
    });
    EXPECT_EQ(server.requests().size(), count);
}

TEST_F(ExtensionProcessTest, ReusesItsConnectionAndSurvivesOneThatWasClosedInBetween) {
    const LoopbackServer server([](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
        peer.send(httpReply(200, nothing));
        if (request.connection == 0 && request.target() == "/graphql") return;
        peer.close();
    });
    withExtension(baseURL(server), [](auto extension) -> asio::awaitable<void> {
        const ExtensionRequest request = {.kind = ExtensionRequest::Kind::snapshot};
        for (int time = 0; time < 4; ++time) {
            const auto reply = co_await extension->ask(request, patience());
            EXPECT_EQ(reply.body.at("entry").at("state"), "noPackages");
        }
    });
}

TEST_F(ExtensionProcessTest, PassesEveryPrintedLineOnBeforeItEnds) {
    const LoopbackServer server(httpReply(200, nothing));
    withExtension(baseURL(server), [](auto extension) -> asio::awaitable<void> {
        const ExtensionRequest request = {.kind = ExtensionRequest::Kind::snapshot};
        co_await extension->ask(request, patience());
    });
    EXPECT_EQ(lines, (std::vector<std::string>{"Failed to fetch item accessToken with reason itemNotFound",
                                               "Failed to fetch item accessToken with reason itemNotFound",
                                               "Failed to fetch item session with reason itemNotFound"}));
}

TEST_F(ExtensionProcessTest, FailsWhatWasAskedWhenTheExtensionDies) {
    const LoopbackServer server([](const ReceivedRequest&, LoopbackServer::Peer& peer) { peer.stall(); });
    withExtension(baseURL(server), [&](auto extension) -> asio::awaitable<void> {
        std::thread killer([&server, process = extensionProcess()] {
            server.waitForRequests(1);
            ::kill(process, SIGKILL);
        });
        // The second is asked of one that is known to be dead.
        for (int time = 0; time < 2; ++time) {
            bool hasEnded = false;
            try {
                const ExtensionRequest request = {.kind = ExtensionRequest::Kind::timeline};
                co_await extension->ask(request, patience());
            } catch (const ExtensionEnded&) {
                hasEnded = true;
            }
            EXPECT_TRUE(hasEnded);
        }
        killer.join();
    });
}

TEST(ExtensionSettings, GiveACommandLongerThanATransferMayTake) {
    const ExtensionSettings settings;
    EXPECT_EQ(settings.answerLimit, std::chrono::seconds(150));
    EXPECT_EQ(settings.farewellLimit, std::chrono::seconds(1));
    EXPECT_EQ(settings.renewalLimit, std::chrono::seconds(10));
}

TEST_F(ExtensionProcessTest, SaysSoWhenThereIsNoExtensionToStart) {
    asio::io_context context;
    const ExtensionSettings nowhere = {.executable = "/nowhere/VelaWidgetExtension"};
    EXPECT_THROW(ExtensionProcess::start(context.get_executor(), nowhere, nullptr), ExtensionError);
}

TEST_F(ExtensionProcessTest, EndsByItselfOnceItsHostHangsUp) {
    const LoopbackServer server([](const ReceivedRequest&, LoopbackServer::Peer& peer) { peer.stall(); });
    const ScopedEnvironment scope(
        {{"XDG_DATA_HOME", environment["XDG_DATA_HOME"]}, {"BASE_URL", baseURL(server)}});
    asio::io_context context;
    // Half the time after which its request would end.
    auto farewell = settings();
    farewell.farewellLimit = std::chrono::seconds(30);
    auto extension = ExtensionProcess::start(context.get_executor(), farewell, [](std::string_view) {});
    const auto ask = [](std::shared_ptr<ExtensionProcess> process) -> asio::awaitable<void> {
        const ExtensionRequest request = {.kind = ExtensionRequest::Kind::timeline};
        try {
            co_await process->ask(request, patience());
        } catch (const ExtensionError&) {
        }
    };
    asio::co_spawn(context, ask(extension), asio::detached);
    ASSERT_TRUE(eventually([&] {
        context.poll();
        return !server.requests().empty();
    }));
    std::optional<std::optional<int>> status;
    asio::co_spawn(context, platform::testing::keepResult(extension->end(patience()), status),
                   asio::detached);
    context.run();
    EXPECT_EQ(status, std::optional(std::optional(0))) << "it had to be killed";
}

TEST_F(ExtensionProcessTest, EndsAtASignalWhenNothingMustBeFinished) {
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
        const LoopbackServer server([](const ReceivedRequest&, LoopbackServer::Peer& peer) { peer.stall(); });
        withExtension(baseURL(server), [&](auto extension) -> asio::awaitable<void> {
            std::thread sender([&server, signal, process = extensionProcess()] {
                server.waitForRequests(1);
                ::kill(process, signal);
            });
            const ExtensionRequest request = {.kind = ExtensionRequest::Kind::timeline};
            try {
                co_await extension->ask(request, patience());
                ADD_FAILURE() << "signal " << signal;
            } catch (const ExtensionError&) {
            }
            sender.join();
        });
    }
}

TEST_F(ExtensionProcessTest, DoesNotWaitForeverForAServerThatNeverAnswersARenewal) {
    if (!platform::testing::longTests()) GTEST_SKIP() << "it takes ten seconds";
    signIn();
    const LoopbackServer server([](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
        if (request.body.find("mutation") != std::string::npos) peer.stall();
        peer.send(httpReply(401, ""));
        peer.close();
    });
    withExtension(baseURL(server), [&](auto extension) -> asio::awaitable<void> {
        std::thread sender([&server, process = extensionProcess()] {
            server.waitForRequests(2);
            ::kill(process, SIGTERM);
        });
        const ExtensionRequest request = {.kind = ExtensionRequest::Kind::timeline};
        try {
            co_await extension->ask(request, patience());
            ADD_FAILURE();
        } catch (const ExtensionError&) {
        }
        sender.join();
    });
}

/// The extension with a socket that a test writes to as it likes.
class HostileHost : public Person {
  protected:
    HostileHost() {
        std::array<int, 2> sockets;
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()), 0);
        socket_ = sockets[0];
        std::string program = (platform::testing::programFolder() / "VelaWidgetExtension").string();
        std::string option = "--host-socket=3";
        std::array<char*, 3> arguments = {program.data(), option.data(), nullptr};
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, sockets[1], 3);
        const ScopedEnvironment scope({{"XDG_DATA_HOME", environment["XDG_DATA_HOME"]}});
        EXPECT_EQ(::posix_spawn(&process_, program.c_str(), &actions, nullptr, arguments.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        ::close(sockets[1]);
    }

    void say(std::string_view bytes) const {
        EXPECT_EQ(::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }
    void sayFrame(const std::string& body) const {
        const auto size = static_cast<char>(body.size());
        say(std::string("\0\0\0", 3) + size + std::string("\0\0\0\0", 4) + body);
    }
    std::string heardFrame() const {
        std::array<unsigned char, 8> prefix = {};
        EXPECT_EQ(::recv(socket_, prefix.data(), prefix.size(), MSG_WAITALL), 8);
        std::string body(std::size_t{prefix[2]} << 8 | prefix[3], '\0');
        EXPECT_EQ(::recv(socket_, body.data(), body.size(), MSG_WAITALL), static_cast<ssize_t>(body.size()));
        return body;
    }

    /// The status with which it ends once this host has gone.
    int ending() {
        ::shutdown(socket_, SHUT_WR);
        int status = -1;
        ::waitpid(process_, &status, 0);
        ::close(socket_);
        return status;
    }

    int socket_ = -1;
    pid_t process_ = 0;
};

TEST_F(HostileHost, IsAnsweredWhateverNumbersItSends) {
    sayFrame(R"({"protocol":1})");
    EXPECT_EQ(heardFrame(), R"({"protocol":1})");
    const std::pair<const char*, const char*> rows[] = {
        {"1000000000000000", R"({"finished":true,"id":1})"},
        {"9223372036854775807", R"({"finished":true,"id":1})"},
        {"18446744073709551615", R"({"finished":true,"id":1})"},
        {"1e15", R"({"finished":true,"id":1})"},
        {"1e300", R"({"finished":true,"id":1})"},
        {"-1", R"({"finished":true,"id":1})"},
        {"-9223372036854775808", R"({"finished":true,"id":1})"},
        {"\"1\"", R"({"error":"limit must be a number","id":1})"},
    };
    for (const auto& [limit, answer] : rows) {
        sayFrame(R"({"id":1,"request":"finishUploads","limit":)" + std::string(limit) + "}");
        EXPECT_EQ(heardFrame(), answer) << limit;
    }
    for (const std::string scale : {"0", "-1", "1e300", "4.1", "null"}) {
        sayFrame(R"({"id":2,"request":"render","entry":{},"scale":)" + scale + "}");
        EXPECT_TRUE(heardFrame().starts_with(R"({"error":"scale must be)")) << scale;
    }
    EXPECT_EQ(ending(), 0);
}

TEST(ExtensionRequest, ReadsALimitAsTheNearestThatItMayBe) {
    const auto limit = [](const boost::json::value& value) {
        return ExtensionRequest::fromObject({{"request", "finishUploads"}, {"limit", value}}).limit;
    };
    EXPECT_EQ(limit(0), std::chrono::milliseconds(0));
    EXPECT_EQ(limit(1500), std::chrono::milliseconds(1500));
    EXPECT_EQ(limit(-1), std::chrono::milliseconds(0));
    for (const boost::json::value& value : {boost::json::value(1e15), boost::json::value(1e300),
                                            boost::json::value(std::numeric_limits<std::int64_t>::max()),
                                            boost::json::value(std::numeric_limits<std::uint64_t>::max())})
        EXPECT_EQ(limit(value), ExtensionRequest::longestLimit);
    EXPECT_THROW(limit("1"), ProtocolError);
}

TEST_F(HostileHost, IsLeftInPeaceWhenItTalksNonsense) {
    say("GET / HTTP/1.1\r\n\r\n");
    EXPECT_EQ(ending(), 0);
}

TEST_F(HostileHost, IsLeftWhenItSpeaksAnotherVersion) {
    sayFrame(R"({"protocol":2})");
    EXPECT_EQ(ending(), 0);
}

TEST_F(HostileHost, IsLeftWhenItEndsInTheMiddleOfAFrame) {
    sayFrame(R"({"protocol":1})");
    say(std::string("\0\1\0\0\x10\0\0\0{", 9));
    EXPECT_EQ(ending(), 0);
}

TEST_F(ExtensionProcessTest, NamesTheSignalThatEndedIt) {
    const LoopbackServer server([](const ReceivedRequest&, LoopbackServer::Peer& peer) { peer.stall(); });
    withExtension(baseURL(server), [&](auto extension) -> asio::awaitable<void> {
        std::thread killer([&server, process = extensionProcess()] {
            server.waitForRequests(1);
            ::kill(process, SIGKILL);
        });
        std::string words;
        try {
            const ExtensionRequest request = {.kind = ExtensionRequest::Kind::timeline};
            co_await extension->ask(request, patience());
        } catch (const ExtensionEnded& ended) {
            words = ended.what();
        }
        killer.join();
        EXPECT_EQ(words, "the extension ended by signal SIGKILL before it answered");
        EXPECT_EQ(lines.size(), 3u) << "what it said is passed on first";
    });
}

TEST(VelaWidgetExtension, RefusesToRunWithoutAHost) {
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {}, {"--host-socket=99"}, {"--host-socket=x"}, {"--host-socket=0"}, {"--nonsense"}}) {
        ProgramRun run = {.program = "VelaWidgetExtension"};
        run.arguments = arguments;
        EXPECT_EQ(run.run().status, 2);
    }
    ProgramRun help = {.program = "VelaWidgetExtension"};
    help.arguments = {"--help"};
    EXPECT_EQ(help.run().status, 0);
}

}  // namespace
}  // namespace host
