// SPDX-License-Identifier: Apache-2.0

// What becomes of a sign-in when renewal, sign-in, sign-out and the end of processes meet.

#include <gmock/gmock.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <boost/json/object.hpp>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <thread>

#include "platform/Security/EmbeddedItemStore.hpp"
#include "tests/host/Person.hpp"
#include "tests/support/ChildProcess.hpp"
#include "tests/support/LoopbackServer.hpp"
#include "tests/support/SmallDisk.hpp"

namespace host {
namespace {

using platform::testing::BackgroundProgram;
using platform::testing::cannotMount;
using platform::testing::childrenOf;
using platform::testing::eventually;
using platform::testing::fillUp;
using platform::testing::httpReply;
using platform::testing::isAlive;
using platform::testing::longTests;
using platform::testing::LoopbackServer;
using platform::testing::ReceivedRequest;
using platform::testing::withSmallDisk;
using ::testing::AnyOf;
using ::testing::HasSubstr;

std::string pairOf(const std::string& name) {
    return name + "-access " + name + "-refresh";
}

std::string credentialsOf(const std::string& name) {
    return R"({"accessToken":")" + name + R"(-access","refreshToken":")" + name + R"(-refresh"})";
}

std::string renewedPair(const std::string& accessToken, const std::string& refreshToken) {
    return R"({"data":{"accessTokenRefresh":{"authPayload":{"accessToken":")" + accessToken +
           R"(","refreshToken":")" + refreshToken +
           R"(","__typename":"Auth"},"userErrors":[],"__typename":"AccessTokenRefreshPayload"},)"
           R"("__typename":"Mutation"}})";
}

// Refuses every query and renews every pair to "renewed", once it is told to.
class RenewingServer {
  public:
    explicit RenewingServer(bool isHeld) : isHeld_(isHeld) {}
    ~RenewingServer() { release(); }

    std::string baseURL() const { return "http://127.0.0.1:" + std::to_string(server_.port()); }
    bool waitForMutation() const {
        return eventually([this] { return mutations_ > 0; });
    }
    void release() { isHeld_ = false; }

  private:
    void serve(const ReceivedRequest& request, LoopbackServer::Peer& peer) {
        const bool isMutation = request.body.find("mutation RefreshAccessToken") != std::string::npos;
        if (isMutation) {
            ++mutations_;
            eventually([this] { return !isHeld_; }, std::chrono::seconds(60));
            peer.send(httpReply(200, renewedPair("renewed-access", "renewed-refresh")));
        } else {
            peer.send(httpReply(401, ""));
        }
        peer.close();
    }

    std::atomic<bool> isHeld_;
    std::atomic<int> mutations_ = 0;
    LoopbackServer server_{
        [this](const ReceivedRequest& request, LoopbackServer::Peer& peer) { serve(request, peer); }};
};

class SignIn : public Person {
  protected:
    std::string stored(const char* account, const char* accessible) const {
        platform::EmbeddedItemStore store(keychainFile());
        platform::SecResult result;
        const auto status = store.copyMatching(
            {{platform::kSecClass, std::string(platform::kSecClassGenericPassword)},
             {platform::kSecAttrService, "com.brightfen.pontal_" + std::string(accessible)},
             {platform::kSecAttrAccount, std::string(account)},
             {platform::kSecReturnData, true}},
            &result);
        if (status == platform::errSecItemNotFound) return "none";
        return status == platform::errSecSuccess ? std::get<platform::Data>(result).bytes
                                                 : std::to_string(status);
    }
    std::string pair(const char* accessible = "ck") const {
        return stored("accessToken", accessible) + " " + stored("refreshToken", accessible);
    }
    std::string userId() const {
        auto result = companion({"defaults", "read", "userId"});
        return result.status == 0 ? result.output.substr(0, result.output.size() - 1) : "none";
    }
    void signInAs(const std::string& name) const {
        const auto result = companion({"sign-in", "--user-id", name}, credentialsOf(name));
        EXPECT_EQ(result.status, 0) << result.errors;
    }
    ProgramRun timeline() const {
        auto run = program("vela-widget", {"timeline"});
        run.leadsGroup = true;
        return run;
    }
    void startAfresh() const { std::filesystem::remove_all(folder.path() / "data"); }

    /// The companion, which says that it waits for the renewal by the time that this returns.
    std::unique_ptr<BackgroundProgram> waitingCompanion(const std::string& arguments,
                                                        const std::string& input = {}) const {
        auto run = program("/bin/sh", {"-c", "exec \"$0\" " + arguments + " 2> \"$1\"",
                                       (platform::testing::programFolder() / "vela-companion").string(),
                                       (folder.path() / "errors").string()});
        run.input = input;
        std::filesystem::remove(folder.path() / "errors");
        auto companion = std::make_unique<BackgroundProgram>(run);
        EXPECT_TRUE(eventually([&] {
            return std::filesystem::exists(folder.path() / "errors") &&
                   folder.read("errors").find("vela-companion: waiting until the tokens") !=
                       std::string::npos;
        }));
        return companion;
    }

    /// Runs the program and kills it with all that it has started, some time within `span`.
    void killWithin(
        const ProgramRun& run, std::chrono::microseconds span, const std::function<void()>& begin = [] {}) {
        const BackgroundProgram started(run);
        begin();
        std::this_thread::sleep_for(std::chrono::microseconds(
            std::uniform_int_distribution<long>(0, static_cast<long>(span.count()))(random)));
        const auto children = childrenOf(started.processIdentifier());
        started.sendSignalToGroup(SIGKILL);
        // Who is in the middle of a system call finishes that, and may have committed by it.
        for (const auto child : children) EXPECT_TRUE(eventually([&] { return !isAlive(child); }));
    }
    ProgramRun killable(std::vector<std::string> arguments, std::string input = {}) const {
        auto run = program("vela-companion", std::move(arguments));
        run.input = std::move(input);
        run.leadsGroup = true;
        return run;
    }

    const int kills = longTests() ? 500 : 12;
    std::mt19937 random{7};
};

TEST_F(SignIn, SurvivesTheEndOfItsHostInTheMiddleOfARenewal) {
    struct Row {
        const char* what;
        std::function<void(const BackgroundProgram&)> end;
    };
    const std::vector<Row> rows = {
        {"Ctrl-C", [](const auto& host) { host.sendSignalToGroup(SIGINT); }},
        {"Ctrl-\\", [](const auto& host) { host.sendSignalToGroup(SIGQUIT); }},
        {"terminated", [](const auto& host) { host.sendSignalToGroup(SIGTERM); }},
        {"the terminal closed", [](const auto& host) { host.sendSignalToGroup(SIGHUP); }},
        {"Ctrl-C three times",
         [](const auto& host) {
             for (int time = 0; time < 3; ++time) host.sendSignalToGroup(SIGINT);
         }},
        {"the host killed", [](const auto& host) { host.sendSignal(SIGKILL); }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        startAfresh();
        RenewingServer server(true);
        environment["BASE_URL"] = server.baseURL();
        signInAs("old");
        BackgroundProgram host(timeline());
        ASSERT_TRUE(server.waitForMutation());
        const auto extensions = childrenOf(host.processIdentifier());
        ASSERT_EQ(extensions.size(), 1u);
        row.end(host);
        EXPECT_TRUE(host.waitForEnd());
        EXPECT_TRUE(isAlive(extensions.front())) << "the person waits for her prompt";
        EXPECT_EQ(pair(), pairOf("old"));
        server.release();
        EXPECT_TRUE(eventually([&] { return pair() == pairOf("renewed"); })) << pair();
    }
}

// The server's word is taken as it stands: the pair that it has spent is worth nothing any more.
TEST_F(SignIn, OutlivesARenewedTokenThatNoRequestCanCarry) {
    std::mutex mutex;
    std::vector<std::string> bodies;
    const LoopbackServer server([&](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
        const bool isMutation = request.body.find("mutation RefreshAccessToken") != std::string::npos;
        const std::lock_guard lock(mutex);
        if (isMutation) bodies.push_back(request.body);
        const bool isSecond = bodies.size() > 1;
        peer.send(isMutation ? httpReply(200, isSecond ? renewedPair("good", "good-refresh")
                                                       : renewedPair("bad\\n", "next-refresh"))
                             : httpReply(401, ""));
        peer.close();
    });
    environment["BASE_URL"] = "http://127.0.0.1:" + std::to_string(server.port());
    signInAs("old");
    widget({"timeline"});
    EXPECT_EQ(pair(), "bad\n next-refresh");
    widget({"timeline"});
    EXPECT_EQ(pair(), "good good-refresh");
    const std::lock_guard lock(mutex);
    ASSERT_EQ(bodies.size(), 2u);
    EXPECT_THAT(bodies[0], HasSubstr("old-refresh"));
    EXPECT_THAT(bodies[1], HasSubstr("next-refresh"));
}

TEST_F(SignIn, IsNotUndoneByARenewalThatBeganBeforeIt) {
    RenewingServer server(true);
    environment["BASE_URL"] = server.baseURL();
    signInAs("old");
    BackgroundProgram host(timeline());
    ASSERT_TRUE(server.waitForMutation());
    const auto signIn = waitingCompanion("sign-in --user-id new", credentialsOf("new"));
    EXPECT_EQ(pair(), pairOf("old"));
    server.release();
    EXPECT_EQ(signIn->waitForEnd(), 0) << folder.read("errors");
    host.waitForEnd();
    EXPECT_EQ(pair(), pairOf("new"));
    EXPECT_EQ(userId(), "new");
}

TEST_F(SignIn, IsNotResurrectedByARenewalThatBeganBeforeTheSignOut) {
    for (int round = 0; round < (longTests() ? 60 : 5); ++round) {
        startAfresh();
        RenewingServer server(true);
        environment["BASE_URL"] = server.baseURL();
        signInAs("old");
        BackgroundProgram host(timeline());
        ASSERT_TRUE(server.waitForMutation());
        const auto signOut = waitingCompanion("sign-out");
        EXPECT_EQ(pair(), pairOf("old"));
        server.release();
        EXPECT_EQ(signOut->waitForEnd(), 0) << folder.read("errors");
        host.waitForEnd();
        EXPECT_EQ(pair(), "none none") << "round " << round;
    }
}

TEST_F(SignIn, IsOneWholeWhereTwoHappenAtOnce) {
    for (int round = 0; round < (longTests() ? 100 : 8); ++round) {
        std::optional<ProgramResult> results[2];
        const char* names[] = {"first", "second"};
        std::thread other([&] {
            results[0] = companion({"sign-in", "--user-id", names[0]}, credentialsOf(names[0]));
        });
        results[1] = companion({"sign-in", "--user-id", names[1]}, credentialsOf(names[1]));
        other.join();
        for (const auto& result : results) EXPECT_EQ(result->status, 0) << result->errors;
        EXPECT_THAT(pair(), AnyOf(pairOf("first"), pairOf("second")));
        EXPECT_EQ(pair(), pairOf(userId()));
    }
}

TEST_F(SignIn, KeepsRenewalsOffUntilItIsDone) {
    signInAs("old");
    for (const std::vector<std::string>& command :
         std::vector<std::vector<std::string>>{{"sign-in", "--user-id", "new"}, {"sign-out"}}) {
        platform::EmbeddedItemStore store(keychainFile());
        // Another process's write, at which the command has to wait in the middle of its own.
        auto write = store.beginTransaction();
        ASSERT_EQ(store.copyMatching({{platform::kSecClass, std::string(platform::kSecClassGenericPassword)},
                                      {platform::kSecAttrAccount, std::string("another")}},
                                     nullptr),
                  platform::errSecItemNotFound);
        std::optional<ProgramResult> result;
        std::thread changing([&] { result = companion(command, credentialsOf("new")); });
        const auto isKeptOff = [&] {
            return store.lock(platform::SecItemHold::shared)->tryAcquire() ==
                   platform::errSecInteractionNotAllowed;
        };
        EXPECT_TRUE(eventually(isKeptOff));
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        EXPECT_TRUE(isKeptOff()) << command.front();
        write.reset();
        changing.join();
        EXPECT_EQ(result->status, 0) << result->errors;
        EXPECT_FALSE(isKeptOff());
    }
}

TEST_F(SignIn, GivesUpAfterSeventySecondsAndChangesNothing) {
    if (!longTests()) GTEST_SKIP() << "it takes 70 seconds";
    signInAs("old");
    platform::EmbeddedItemStore store(keychainFile());
    const auto renewal = store.lock(platform::SecItemHold::shared);
    ASSERT_EQ(renewal->tryAcquire(), platform::errSecSuccess);
    auto run = program("vela-companion", {"sign-out"});
    run.limit = std::chrono::seconds(120);
    const auto result = run.run();
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, HasSubstr("nothing was changed, try again"));
    EXPECT_EQ(pair(), pairOf("old"));
}

TEST_F(SignIn, IsRenewedAlthoughAnotherRenewalNeverEnds) {
    RenewingServer server(false);
    environment["BASE_URL"] = server.baseURL();
    signInAs("old");
    // As one holds it whose process is stopped.
    platform::EmbeddedItemStore store(keychainFile());
    const auto renewal = store.lock(platform::SecItemHold::shared);
    ASSERT_EQ(renewal->tryAcquire(), platform::errSecSuccess);
    EXPECT_EQ(widget({"timeline"}).status, 0);
    EXPECT_EQ(pair(), pairOf("renewed"));
}

TEST_F(SignIn, ForgetsNobodyWhenTheDefaultsCannotBeWritten) {
    signInAs("old");
    std::filesystem::remove_all(defaultsFile().parent_path());
    folder.write(std::filesystem::relative(defaultsFile().parent_path(), folder.path()), "no folder");
    const auto result = companion({"sign-in", "--user-id", "new"}, credentialsOf("new"));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(pair(), pairOf("old"));
}

TEST_F(SignIn, ChangesNothingOfAnotherWhereTheDefaultsHaveNoRoom) {
    const auto suite = defaultsFile().parent_path();
    for (const std::vector<std::string>& former :
         std::vector<std::vector<std::string>>{{"sign-in"}, {"sign-in", "--user-id", "old"}}) {
        startAfresh();
        std::filesystem::create_directories(suite);
        const int code = withSmallDisk(suite, "64k", [&] {
            EXPECT_EQ(companion(former, credentialsOf("old")).status, 0);
            const auto formerId = userId();
            fillUp(suite);
            const auto result = companion({"sign-in", "--user-id", "new"}, credentialsOf("new"));
            EXPECT_EQ(result.status, 1);
            EXPECT_THAT(result.errors, HasSubstr("No space left on device"));
            EXPECT_EQ(pair(), pairOf("old"));
            EXPECT_EQ(userId(), formerId);
            for (const auto& entry : std::filesystem::directory_iterator(suite))
                EXPECT_THAT(entry.path().filename(), AnyOf("filler", "preferences.json"));
            return HasFailure() ? 1 : 0;
        });
        if (code == cannotMount) GTEST_SKIP() << "no disk of one's own may be mounted here";
        EXPECT_EQ(code, 0);
    }
}

TEST_F(SignIn, SaysWhyTheKeychainIsRefused) {
    signInAs("old");
    std::filesystem::permissions(keychainFile(), std::filesystem::perms(0644));
    for (const char* command : {"sign-in", "sign-out"}) {
        const auto result = companion({command}, credentialsOf("new"));
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(
            result.errors,
            HasSubstr("keychain.sqlite is not trusted: other users can read it; mend it with: chmod 600"));
    }
}

TEST_F(SignIn, HoldsTheOldOrTheNewPairAfterAKillAtAnyInstantOfASignIn) {
    signInAs("1");
    std::string former = "1";
    for (int round = 0; round < kills; ++round) {
        const std::string name = std::to_string(round % 10);
        killWithin(killable({"sign-in", "--user-id", name}, credentialsOf(name)),
                   std::chrono::milliseconds(30));
        const auto found = pair();
        ASSERT_THAT(found, AnyOf(pairOf(former), pairOf(name))) << "round " << round;
        if (found != pairOf(former)) former = name;
        ASSERT_THAT(userId(), AnyOf(former, "none")) << "round " << round;
    }
    signInAs("after");
    EXPECT_EQ(pair(), pairOf("after"));
}

TEST_F(SignIn, IsWholeOrGoneAfterAKillAtAnyInstantOfASignOut) {
    for (int round = 0; round < kills; ++round) {
        if (pair() == "none none") signInAs("old");
        killWithin(killable({"sign-out"}), std::chrono::milliseconds(30));
        ASSERT_THAT(pair(), AnyOf(pairOf("old"), "none none")) << "round " << round;
    }
}

TEST_F(SignIn, HoldsTheOldOrTheNewPairAfterAKillAtAnyInstantOfARenewal) {
    signInAs("old");
    for (int round = 0; round < kills; ++round) {
        RenewingServer server(false);
        environment["BASE_URL"] = server.baseURL();
        if (pair() != pairOf("old")) signInAs("old");
        killWithin(timeline(), std::chrono::milliseconds(15), [&] { server.waitForMutation(); });
        ASSERT_THAT(pair(), AnyOf(pairOf("old"), pairOf("renewed"))) << "round " << round;
    }
}

TEST_F(SignIn, LosesNoTokenByAKillAtAnyInstantOfItsMove) {
    const LoopbackServer server(httpReply(200, R"({"data":{"__typename":"Query"}})"));
    environment["BASE_URL"] = "http://127.0.0.1:" + std::to_string(server.port());
    for (int round = 0; round < kills; ++round) {
        if (stored("accessToken", "ck") != "none" || round == 0) {
            const auto result = companion({"sign-in", "--legacy"}, credentialsOf("old"));
            ASSERT_EQ(result.status, 0) << result.errors;
        }
        killWithin(timeline(), std::chrono::milliseconds(60));
        const std::string moved = stored("accessToken", "ck") + " " + stored("accessToken", "ak");
        ASSERT_THAT(moved, AnyOf("old-access none", "none old-access")) << "round " << round;
        ASSERT_EQ(stored("refreshToken", "ak"), "old-refresh") << "round " << round;
    }
}

}  // namespace
}  // namespace host
