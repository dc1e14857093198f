// SPDX-License-Identifier: Apache-2.0

// The live host and its readers as programs, beside a sandbox that counts.

#include <gmock/gmock.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>
#include <thread>

#include "tests/host/Person.hpp"
#include "tests/support/ProcessMemory.hpp"
#include "widget/SupportedFamilies.hpp"

namespace host {
namespace {

using platform::testing::BackgroundProgram;
using platform::testing::childrenOf;
using platform::testing::eventually;
using platform::testing::isAlive;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
namespace fs = std::filesystem;

class LiveProgram : public Person {
  public:
    ~LiveProgram() override {
        // Those that readers have started; one of several that began at once may still take the place.
        constexpr std::chrono::milliseconds patienceWithHost(400);
        for (pid_t left = hostProcess(); left > 0 && !host_; left = hostProcess()) {
            ::kill(left, SIGTERM);
            eventually([&] { return !isAlive(left); });
            std::this_thread::sleep_for(patienceWithHost);
        }
    }

  protected:
    LiveProgram() {
        fs::create_directory(folder.path() / "run");
        fs::permissions(folder.path() / "run", fs::perms::owner_all);
        environment["XDG_RUNTIME_DIR"] = (folder.path() / "run").string();
    }

    void startSandbox(std::vector<std::string> options = {}) {
        const auto ready = folder.path() / "ready";
        fs::remove(ready);
        options.insert(options.end(), {"--ready-file", ready.string()});
        sandbox_ = std::make_unique<BackgroundProgram>(program("vela-sandbox", std::move(options)));
        EXPECT_TRUE(eventually([&] { return exists(ready) && !is_empty(ready); }));
        std::getline(std::ifstream(ready), environment["BASE_URL"]);
    }
    void stopSandbox() { sandbox_.reset(); }

    void signInAtSandbox() {
        const auto printed = program("vela-sandbox", {"--print-credentials"}).run().output;
        EXPECT_EQ(companion({"sign-in", "--user-id", "12345"}, printed).status, 0);
    }

    void startHost(std::vector<std::string> options = {}) {
        options.insert(options.begin(), "run");
        host_ = std::make_unique<BackgroundProgram>(program("vela-widget", std::move(options)));
    }
    BackgroundProgram& host() { return *host_; }

    fs::path path(const std::string& name) const { return folder.path() / "run/vela-widget" / name; }
    std::string text(const std::string& name) const {
        std::ostringstream contents;
        contents << std::ifstream(path(name)).rdbuf();
        return contents.str();
    }
    bool comesToHold(const std::string& name, const std::string& words) const {
        return eventually([&] { return text(name).find(words) != std::string::npos; },
                          std::chrono::seconds(30));
    }

    /// 0 where none runs.
    pid_t hostProcess() const {
        pid_t process = 0;
        std::ifstream(path("host.lock")) >> process;
        return process;
    }

    /// How often packages were asked for.
    std::size_t fetches() const {
        const auto log =
            platform::JSONSerialization::JSONObjectWithData(program("vela-sandbox", {"events"}).run().output);
        std::size_t count = 0;
        for (const auto& request : log.at("requests").as_array())
            if (request.at("operation") == "TrackingWidget") ++count;
        return count;
    }

    /// The extension of that live host, once it has one.
    static pid_t extensionOf(pid_t process) {
        pid_t found = 0;
        eventually([&] {
            const auto children = childrenOf(process);
            if (!children.empty()) found = children.front();
            return found > 0;
        });
        // A signal to process 0 would be one to the test and all that it belongs to.
        if (found <= 0) throw std::runtime_error("the live host has no extension");
        return found;
    }

    /// How often the live host's memory holds it.
    int timesInMemory(const std::string& word) {
        return platform::testing::timesInMemory(host().processIdentifier(), word).value_or(-1);
    }

    static constexpr const char* someShop = "Fathom";

  private:
    std::unique_ptr<BackgroundProgram> sandbox_;
    std::unique_ptr<BackgroundProgram> host_;
};

TEST_F(LiveProgram, SevenReadersThatStartItThemselvesCostOneFetch) {
    startSandbox();
    signInAtSandbox();
    std::vector<std::unique_ptr<BackgroundProgram>> readers;
    for (int count = 0; count < 6; ++count)
        readers.push_back(std::make_unique<BackgroundProgram>(program("vela-widget", {"show", "--live"})));
    const auto last = widget({"show", "--live"});
    EXPECT_EQ(last.status, 0) << last.errors;
    EXPECT_THAT(last.output, HasSubstr(someShop));
    for (const auto& reader : readers) EXPECT_EQ(reader->waitForEnd(std::chrono::seconds(30)), 0);
    EXPECT_EQ(fetches(), 1u);
}

TEST_F(LiveProgram, IsStartedWithNothingOfItsReadersAndEndsByItself) {
    startSandbox();
    signInAtSandbox();
    ProgramRun reader = {.program = "/bin/sh"};
    reader.arguments = {"-c", "exec 9<\"$1\" 8>\"$2\"; \"$0\" show --live >/dev/null",
                        (platform::testing::programFolder() / "vela-widget").string(), "/etc/passwd",
                        (folder.path() / "open").string()};
    reader.environment = environment;
    EXPECT_EQ(reader.run().status, 0);
    const pid_t started = hostProcess();
    ASSERT_TRUE(isAlive(started));
    EXPECT_EQ(::getsid(started), started);
    EXPECT_EQ(fs::read_symlink("/proc/" + std::to_string(started) + "/cwd"), "/");
    for (const auto& each : fs::directory_iterator("/proc/" + std::to_string(started) + "/fd")) {
        const auto target = fs::read_symlink(each.path()).string();
        EXPECT_THAT(target, Not(HasSubstr("passwd")));
        EXPECT_THAT(target, Not(HasSubstr("open")));
    }
    std::string words;
    std::getline(std::ifstream("/proc/" + std::to_string(started) + "/cmdline"), words);
    EXPECT_THAT(words, HasSubstr(std::string("--idle-exit\0", 12) + "600"));
}

TEST_F(LiveProgram, FindsWhatItsReaderNamesFromWhereThatWorks) {
    startSandbox();
    signInAtSandbox();
    const auto programs = platform::testing::programFolder();
    fs::create_directory(folder.path() / "here");
    fs::create_directory_symlink(programs, folder.path() / "here/programs");
    fs::create_directory_symlink(programs.parent_path() / "share/vela-widget", folder.path() / "here/bundle");
    environment["VELA_BUNDLE"] = "bundle";
    ProgramRun reader = {.program = "/bin/sh"};
    reader.arguments = {"-c", "cd \"$0\" && exec programs/vela-widget show --live",
                        (folder.path() / "here").string()};
    reader.environment = environment;
    const auto shown = reader.run();
    EXPECT_EQ(shown.status, 0) << shown.errors;
    EXPECT_THAT(shown.output, HasSubstr(someShop));
    std::ostringstream variables;
    variables << std::ifstream("/proc/" + std::to_string(hostProcess()) + "/environ").rdbuf();
    EXPECT_THAT(variables.str(), HasSubstr("VELA_BUNDLE=" + (folder.path() / "here/bundle").string()));
}

TEST_F(LiveProgram, EndsOnceNobodyHasReadForAWhile) {
    startSandbox();
    startHost({"--idle-exit", "1"});
    EXPECT_EQ(host().waitForEnd(std::chrono::seconds(30)), 0);
    EXPECT_FALSE(fs::exists(path("")));
}

TEST_F(LiveProgram, IsOneAndTheOtherSaysWhich) {
    startSandbox();
    startHost();
    ASSERT_TRUE(eventually([&] { return hostProcess() > 0; }));
    const auto second = widget({"run"});
    EXPECT_EQ(second.status, 1);
    EXPECT_THAT(second.errors, HasSubstr("a live host is running already, process " +
                                         std::to_string(host().processIdentifier())));
    EXPECT_TRUE(isAlive(host().processIdentifier()));
}

TEST_F(LiveProgram, ShowsPackagesOfARenewedPairAtOnce) {
    startSandbox({"--scenario", "expired-token"});
    signInAtSandbox();
    startHost();
    EXPECT_TRUE(comesToHold("entry.json", "loggedIn"));
    EXPECT_THAT(text("state.json"), HasSubstr(R"("trouble":null)"));
    EXPECT_EQ(fetches(), 2u);
}

TEST_F(LiveProgram, ShowsASignInAndASignOutByItself) {
    startSandbox();
    startHost({"--family", "systemSmall"});
    EXPECT_TRUE(comesToHold("entry.json", "notLoggedIn"));
    signInAtSandbox();
    EXPECT_TRUE(comesToHold("entry.json", someShop));
    EXPECT_TRUE(eventually([&] { return fs::exists(path("systemSmall-dark@2x.png")); }));
    const pid_t extension = extensionOf(host().processIdentifier());
    const auto picture = text("systemSmall-dark@2x.png");
    EXPECT_EQ(companion({"sign-out"}).status, 0);
    EXPECT_TRUE(comesToHold("widget.txt", "Sign in"));
    EXPECT_THAT(text("entry.json"), HasSubstr("notLoggedIn"));
    for (const auto& each : fs::directory_iterator(path(""))) {
        const auto contents = text(each.path().filename());
        EXPECT_THAT(contents, Not(HasSubstr(someShop))) << each.path();
        EXPECT_NE(contents, picture) << each.path();
    }
    EXPECT_TRUE(eventually([&] { return !isAlive(extension); })) << "it remembers pictures";
    EXPECT_TRUE(eventually([&] { return fs::exists(path("systemSmall-dark@2x.png")); }));
    EXPECT_EQ(widget({"show", "--live"}).output.find(someShop), std::string::npos);
}

TEST_F(LiveProgram, ReloadsForAPersonAndForASignal) {
    startSandbox();
    signInAtSandbox();
    startHost();
    ASSERT_TRUE(comesToHold("entry.json", someShop));
    EXPECT_EQ(widget({"reload"}).status, 0);
    EXPECT_EQ(fetches(), 2u);
    host().sendSignal(SIGUSR1);
    EXPECT_TRUE(eventually([&] { return fetches() == 3; }));
}

TEST_F(LiveProgram, KeepsWhatItHasWhereTheServerIsGone) {
    startSandbox();
    signInAtSandbox();
    startHost();
    ASSERT_TRUE(comesToHold("entry.json", someShop));
    stopSandbox();
    const auto reload = widget({"reload"});
    EXPECT_EQ(reload.status, 1);
    EXPECT_EQ(reload.errors, "vela-widget: the server cannot be reached\n");
    EXPECT_THAT(text("entry.json"), HasSubstr(someShop));
    EXPECT_THAT(text("state.json"), HasSubstr("serverUnreachable"));
    const auto shown = widget({"show", "--live"});
    EXPECT_EQ(shown.status, 0);
    EXPECT_THAT(shown.output, HasSubstr(someShop));
    EXPECT_THAT(shown.output, HasSubstr("the server cannot be reached"));
}

TEST_F(LiveProgram, ShowsTheSignInViewWhereTheSignInHasExpired) {
    startSandbox({"--scenario", "signed-out"});
    signInAtSandbox();
    startHost();
    EXPECT_TRUE(comesToHold("state.json", "signInExpired"));
    EXPECT_THAT(text("entry.json"), HasSubstr("notLoggedIn"));
}

TEST_F(LiveProgram, HealsAfterItsExtensionIsKilledInAnyPhase) {
    startSandbox({"--delay", "300"});
    signInAtSandbox();
    startHost({"--family", "systemSmall", "--family", "systemLarge", "--scheme", "all"});
    const pid_t process = host().processIdentifier();
    // While the first answer is awaited.
    ::kill(extensionOf(process), SIGKILL);
    EXPECT_TRUE(comesToHold("entry.json", someShop));
    // While pictures are drawn, and when nothing is done.
    for (const int microseconds : {0, 20'000, 100'000, 400'000}) {
        ::usleep(static_cast<unsigned>(microseconds));
        const auto children = childrenOf(process);
        if (!children.empty()) ::kill(children.front(), SIGKILL);
        EXPECT_THAT(text("entry.json"), HasSubstr(someShop));
    }
    // While another answer is awaited.
    host().sendSignal(SIGUSR1);
    ::kill(extensionOf(process), SIGKILL);
    EXPECT_THAT(text("entry.json"), HasSubstr(someShop));
    EXPECT_TRUE(isAlive(process));
    EXPECT_TRUE(comesToHold("state.json", R"("trouble":null)"));
    EXPECT_EQ(widget({"reload"}).status, 0);
}

TEST_F(LiveProgram, IsReplacedAfterItWasKilledInAnyPhase) {
    startSandbox({"--delay", "200"});
    signInAtSandbox();
    for (const int microseconds : {0, 3'000, 30'000, 150'000, 1'000'000}) {
        startHost({"--family", "systemSmall"});
        const pid_t process = host().processIdentifier();
        ::usleep(static_cast<unsigned>(microseconds));
        const auto extensions = childrenOf(process);
        host().sendSignal(SIGKILL);
        host().waitForEnd(std::chrono::seconds(10));
        for (const pid_t extension : extensions)
            EXPECT_TRUE(eventually([&] { return !isAlive(extension); })) << microseconds;
        const auto shown = widget({"show", "--live"});
        EXPECT_EQ(shown.status, 0) << shown.errors;
        EXPECT_THAT(shown.output, HasSubstr(someShop)) << microseconds;
        const pid_t successor = hostProcess();
        EXPECT_NE(successor, process);
        ::kill(successor, SIGTERM);
        EXPECT_TRUE(eventually([&] { return !fs::exists(path("")); })) << microseconds;
    }
}

TEST_F(LiveProgram, EndsCleanlyOnASignal) {
    startSandbox({"--delay", "500"});
    signInAtSandbox();
    fs::create_directory(folder.path() / "out");
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGTERM, SIGTERM, SIGTERM}) {
        startHost({"--family", "systemSmall", "--output", (folder.path() / "out").string()});
        // As early as there is anything to be left behind.
        ASSERT_TRUE(eventually([&] { return fs::exists(path("host.lock")); }));
        host().sendSignal(signal);
        EXPECT_EQ(host().waitForEnd(std::chrono::seconds(30)), 0);
        EXPECT_FALSE(fs::exists(path("")));
        EXPECT_TRUE(fs::is_empty(folder.path() / "out"));
    }
}

TEST_F(LiveProgram, EndsWhereItsPlaceIsGone) {
    startSandbox();
    signInAtSandbox();
    for (const char* gone : {"host.lock", ""}) {
        startHost();
        ASSERT_TRUE(comesToHold("host.lock", "\n"));
        // The host may be writing into it meanwhile.
        EXPECT_TRUE(eventually([&] {
            std::error_code error;
            fs::remove_all(path(gone), error);
            return !error;
        }));
        EXPECT_EQ(host().waitForEnd(std::chrono::seconds(30)), 0) << gone;
        fs::remove_all(path(""));
    }
}

TEST_F(LiveProgram, WritesItsFilesWhereThePersonSays) {
    startSandbox();
    signInAtSandbox();
    startHost({"--output", (folder.path() / "new/out").string(), "--scale", "1.5", "--scheme", "all"});
    const auto out = folder.path() / "new/out";
    EXPECT_TRUE(eventually([&] {
        return fs::exists(out / "systemMedium-light@1.5x.png") &&
               fs::exists(out / "systemMedium-dark@1.5x.png");
    }));
    ASSERT_TRUE(comesToHold("entry.json", someShop));
    EXPECT_TRUE(eventually([&] { return folder.read("new/out/entry.json") == text("entry.json"); }));
    EXPECT_THAT(folder.read("new/out/widget.txt"), HasSubstr(someShop));
}

TEST_F(LiveProgram, LeavesNothingOfAPersonWhoSignsOutAfterItWasKilled) {
    startSandbox();
    signInAtSandbox();
    const auto out = folder.path() / "out";
    const auto signOut = [&] { EXPECT_EQ(companion({"sign-out"}).status, 0); };
    for (const auto& change : {std::function<void()>(signOut), {[&] { signInAtSandbox(); }}}) {
        signInAtSandbox();
        startHost({"--family", "systemSmall", "--output", out.string()});
        ASSERT_TRUE(comesToHold("entry.json", someShop));
        ASSERT_TRUE(eventually([&] { return fs::exists(out / "systemSmall-dark@2x.png"); }));
        folder.write("run/vela-widget/notifications.json", "{}");
        folder.write("out/notes", "the person's own");
        host().sendSignal(SIGKILL);
        host().waitForEnd(std::chrono::seconds(10));
        ASSERT_THAT(text("entry.json"), HasSubstr(someShop));
        change();
        EXPECT_FALSE(fs::exists(path("")));
        EXPECT_EQ(std::distance(fs::directory_iterator(out), {}), 1) << "beside the person's own";
    }
}

TEST_F(LiveProgram, LeavesNothingOfAPersonWhoSignsOutWhileItIsStopped) {
    startSandbox({"--delay", "1000"});
    signInAtSandbox();
    const auto out = folder.path() / "out";
    startHost({"--family", "systemSmall", "--output", out.string(), "--notify"});
    ASSERT_TRUE(comesToHold("entry.json", someShop));
    ASSERT_TRUE(eventually([&] { return fs::exists(out / "systemSmall-dark@2x.png"); }));
    const pid_t process = host().processIdentifier();
    // So that an answer of the person's waits for it when it goes on.
    const auto before = fetches();
    host().sendSignal(SIGUSR1);
    ASSERT_TRUE(eventually([&] { return fetches() > before; }));
    host().sendSignal(SIGSTOP);
    std::this_thread::sleep_for(std::chrono::milliseconds(1200));
    const auto signOut = companion({"sign-out"});
    EXPECT_EQ(signOut.status, 0);
    EXPECT_THAT(signOut.errors, HasSubstr("(process " + std::to_string(process) + ") is stopped"));
    const auto hasWords = [&] { return fs::exists(path("")) || !fs::is_empty(out); };
    EXPECT_FALSE(hasWords());
    EXPECT_TRUE(eventually([&] { return hasWords() || !isAlive(process); }));
    EXPECT_FALSE(hasWords()) << "it has written again";
    EXPECT_EQ(host().waitForEnd(std::chrono::seconds(10)), 0);
    EXPECT_THAT(widget({"show", "--live"}).output, HasSubstr("Sign in"));
}

TEST_F(LiveProgram, KeepsItsFilesThroughASignOutThatItSeesItself) {
    startSandbox();
    signInAtSandbox();
    startHost({"--output", (folder.path() / "out").string()});
    ASSERT_TRUE(comesToHold("entry.json", someShop));
    EXPECT_EQ(companion({"sign-out"}).status, 0);
    EXPECT_TRUE(comesToHold("entry.json", "notLoggedIn"));
    EXPECT_TRUE(isAlive(host().processIdentifier()));
    EXPECT_EQ(hostProcess(), host().processIdentifier());
}

TEST_F(LiveProgram, ClearsTheFolderOfAPredecessorThatWasKilled) {
    startSandbox();
    signInAtSandbox();
    startHost({"--output", (folder.path() / "out").string()});
    ASSERT_TRUE(comesToHold("entry.json", someShop));
    ASSERT_TRUE(eventually([&] { return fs::exists(folder.path() / "out/entry.json"); }));
    host().sendSignal(SIGKILL);
    host().waitForEnd(std::chrono::seconds(10));
    // Any reader that starts one, and it need not know of that folder.
    EXPECT_THAT(widget({"show", "--live"}).output, HasSubstr(someShop));
    EXPECT_TRUE(fs::is_empty(folder.path() / "out"));
}

TEST_F(LiveProgram, ShowsNoReaderWhatAHostThatWasKilledHasLeft) {
    startSandbox();
    signInAtSandbox();
    startHost();
    ASSERT_TRUE(comesToHold("entry.json", someShop));
    host().sendSignal(SIGKILL);
    host().waitForEnd(std::chrono::seconds(10));
    EXPECT_EQ(widget({"reload"}).errors, "vela-widget: no live host is running\n");
    EXPECT_EQ(companion({"sign-out"}).status, 0);
    EXPECT_THAT(widget({"show", "--live"}).output, Not(HasSubstr(someShop)));
}

TEST_F(LiveProgram, TakesFamiliesWithCommasAndSeveralTimes) {
    startSandbox();
    startHost({"--family", "systemSmall,accessoryInline", "--family", "systemLarge"});
    EXPECT_TRUE(eventually([&] {
        return fs::exists(path("systemSmall-dark@2x.png")) &&
               fs::exists(path("accessoryInline-dark@2x.png")) && fs::exists(path("systemLarge-dark@2x.png"));
    }));
    const auto refused = widget({"run", "--family", "systemSmall,systemHuge"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.errors, HasSubstr("--family: systemHuge not in {"));
    EXPECT_THAT(widget({"run", "--family", "systemSmall", "systemLarge"}).errors,
                HasSubstr("\"systemLarge\" was not expected"));
}

TEST_F(LiveProgram, KeepsPicturesOfAllFamiliesThatTheWidgetOffers) {
    startSandbox();
    startHost({"--family", "all"});
    for (const auto family : widget::supportedFamilies)
        EXPECT_TRUE(eventually([&] {
            return fs::exists(path(std::string(platform::description(family)) + "-dark@2x.png"));
        })) << platform::description(family);
    EXPECT_FALSE(fs::exists(path("accessoryCircular-dark@2x.png")));
}

TEST_F(LiveProgram, SaysWhyItHasNoPlace) {
    environment.erase("XDG_RUNTIME_DIR");
    for (const auto& arguments : {std::vector<std::string>{"run"}, {"reload"}, {"show", "--live"}}) {
        const auto result = widget(arguments);
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.errors, HasSubstr("XDG_RUNTIME_DIR is not set")) << arguments[0];
        EXPECT_EQ(result.output, "");
    }
    environment["XDG_RUNTIME_DIR"] = (folder.path() / "run").string();
    EXPECT_EQ(widget({"reload"}).errors, "vela-widget: no live host is running\n");
}

TEST_F(LiveProgram, KnowsNoToken) {
    if (platform::testing::isMemorySanitized) GTEST_SKIP() << "a sanitizer's memory is too large to be read";
    startSandbox();
    signIn();
    startHost();
    ASSERT_TRUE(comesToHold("entry.json", "state"));
    EXPECT_EQ(timesInMemory(accessToken), 0);
    EXPECT_EQ(timesInMemory(refreshToken), 0);
}

TEST_F(LiveProgram, HasNothingInMemoryOfOneWhoHasSignedOut) {
    if (platform::testing::isMemorySanitized) GTEST_SKIP() << "a sanitizer keeps what is freed";
    startSandbox();
    signInAtSandbox();
    startHost({"--family", "systemSmall"});
    ASSERT_TRUE(comesToHold("entry.json", someShop));
    for (int count = 0; count < 3; ++count) {
        EXPECT_EQ(widget({"show", "--live"}).status, 0);
        EXPECT_EQ(widget({"reload"}).status, 0);
    }
    EXPECT_GT(timesInMemory(someShop), 0);
    EXPECT_EQ(companion({"sign-out"}).status, 0);
    ASSERT_TRUE(comesToHold("widget.txt", "Sign in"));
    for (const char* word : {someShop, "velaapp://order/5501", "Birthday present"})
        EXPECT_TRUE(eventually([&] { return timesInMemory(word) == 0; })) << word << timesInMemory(word);
}

}  // namespace
}  // namespace host
