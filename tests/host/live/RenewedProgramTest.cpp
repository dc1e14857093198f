// SPDX-License-Identifier: Apache-2.0

// A live host whose program is replaced while it runs, as an upgrade does, and what its readers see of it.

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>

#include <chrono>
#include <fstream>
#include <memory>
#include <sstream>

#include "host/reader/LiveHostClient.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "tests/host/Person.hpp"
#include "tests/support/ProcessMemory.hpp"
#include "tests/support/ScopedEnvironment.hpp"

namespace host {
namespace {

using platform::testing::BackgroundProgram;
using platform::testing::eventually;
using platform::testing::programFolder;
using platform::testing::ScopedEnvironment;
using ::testing::HasSubstr;
namespace fs = std::filesystem;

boost::asio::awaitable<bool> showsAPlaceholder() {
    LiveHostClient::Options options;
    options.ifMissing = LiveHostClient::IfMissing::leave;
    LiveHostClient client(co_await boost::asio::this_coro::executor, std::move(options));
    const auto state = co_await client.state();
    co_return state.isPlaceholder;
}

class RenewedProgram : public Person {
  protected:
    RenewedProgram() {
        fs::create_directory(folder.path() / "run");
        fs::permissions(folder.path() / "run", fs::perms::owner_all);
        environment["XDG_RUNTIME_DIR"] = (folder.path() / "run").string();
        fs::create_directory(bin);
        for (const auto* name : {"VelaWidgetExtension", "vela-companion"})
            fs::create_symlink(programFolder() / name, bin / name);
        put("vela-widget");
        startSandbox();
        const auto printed = program("vela-sandbox", {"--print-credentials"}).run().output;
        EXPECT_EQ(companion({"sign-in", "--user-id", "12345"}, printed).status, 0);
    }

    /// Our program's bytes in a file of their own.
    void put(const std::string& name) const {
        const auto beside = bin / "vela-widget.new";
        fs::copy_file(programFolder() / "vela-widget", beside);
        fs::rename(beside, bin / name);
    }

    void startSandbox() {
        const auto ready = folder.path() / "ready";
        sandbox =
            std::make_unique<BackgroundProgram>(program("vela-sandbox", {"--ready-file", ready.string()}));
        EXPECT_TRUE(eventually([&] { return exists(ready) && !is_empty(ready); }));
        std::getline(std::ifstream(ready), environment["BASE_URL"]);
    }

    void startHost(std::vector<std::string> options = {}) {
        options.insert(options.begin(), "run");
        host = std::make_unique<BackgroundProgram>(program((bin / "vela-widget").string(), options));
    }

    fs::path path(const std::string& name) const { return folder.path() / "run/vela-widget" / name; }
    std::string text(const fs::path& file) const {
        std::ostringstream contents;
        contents << std::ifstream(file).rdbuf();
        return contents.str();
    }
    bool showsTheShop() const { return text(path("entry.json")).find(someShop) != std::string::npos; }

    bool runs(const fs::path& file) const { return runs(file, host->processIdentifier()); }
    static bool runs(const fs::path& file, pid_t process) {
        struct stat wanted = {};
        struct stat running = {};
        const auto link = "/proc/" + std::to_string(process) + "/exe";
        return ::stat(file.c_str(), &wanted) == 0 && ::stat(link.c_str(), &running) == 0 &&
               wanted.st_ino == running.st_ino;
    }

    bool isInMemory(const std::string& word) const {
        return platform::testing::timesInMemory(host->processIdentifier(), word) != 0;
    }

    static constexpr const char* someShop = "Fathom";
    fs::path bin = folder.path() / "bin";
    std::unique_ptr<BackgroundProgram> sandbox;
    std::unique_ptr<BackgroundProgram> host;
};

TEST_F(RenewedProgram, IsTheNewOneInTheSameProcessAndNoReaderSeesABlank) {
    const ScopedEnvironment own({{"XDG_RUNTIME_DIR", environment["XDG_RUNTIME_DIR"]}});
    startHost({"--family", "systemSmall"});
    const auto picture = path("systemSmall-dark@2x.png");
    ASSERT_TRUE(eventually([&] { return showsTheShop() && fs::exists(picture); }));
    // Whatever is shown from now on, the server has not said it again.
    sandbox.reset();
    put("vela-widget");

    int looks = 0;
    const auto looked = [&] {
        ++looks;
        EXPECT_TRUE(showsTheShop()) << "look " << looks;
        EXPECT_TRUE(fs::exists(picture)) << "look " << looks;
        EXPECT_FALSE(text(path("state.json")).empty()) << "look " << looks;
        EXPECT_FALSE(platform::runToEnd(showsAPlaceholder())) << "look " << looks;
        return runs(bin / "vela-widget");
    };
    EXPECT_TRUE(eventually([&] {
        try {
            return looked();
        } catch (const LiveHostMissing& missing) {
            ADD_FAILURE() << missing.what();
        } catch (const LiveHostEnded&) {
            // It became the other program between a question and its answer; readers ask again.
        }
        return false;
    }));
    for (int more = 0; more < 50; ++more) looked();

    host->sendSignal(SIGTERM);
    EXPECT_EQ(host->waitForEnd(), 0);
    EXPECT_FALSE(fs::exists(path("")));
}

TEST_F(RenewedProgram, GoesOnAsItIsWhereTheNewOneDoesNotRun) {
    startHost();
    ASSERT_TRUE(eventually([&] { return showsTheShop(); }));
    const auto broken = bin / "broken";
    std::ofstream(broken) << "no program at all";
    fs::permissions(broken, fs::perms::owner_all);
    fs::rename(broken, bin / "vela-widget");
    EXPECT_FALSE(eventually([&] { return runs(bin / "vela-widget"); }, std::chrono::seconds(4)));
    EXPECT_TRUE(showsTheShop());
    put("vela-widget");
    EXPECT_TRUE(eventually([&] { return runs(bin / "vela-widget"); }));
    EXPECT_TRUE(showsTheShop());
}

TEST_F(RenewedProgram, HoldsNothingOfAPersonWhoSignsOut) {
    if (platform::testing::isMemorySanitized) GTEST_SKIP() << "the sanitizers keep what is freed";
    startHost();
    ASSERT_TRUE(eventually([&] { return showsTheShop(); }));
    put("vela-widget");
    ASSERT_TRUE(eventually([&] { return runs(bin / "vela-widget"); }));
    ASSERT_TRUE(eventually([&] { return isInMemory(someShop); }));
    EXPECT_EQ(companion({"sign-out"}).status, 0);
    EXPECT_TRUE(eventually([&] { return !showsTheShop() && !isInMemory(someShop); }));
}

TEST_F(RenewedProgram, IsFollowedByAReaderThatWentOnShowing) {
    startHost();
    ASSERT_TRUE(eventually([&] { return showsTheShop(); }));
    const auto lines = folder.path() / "lines";
    ProgramRun reader = {.program = "/bin/sh"};
    reader.arguments = {"-c", "exec \"$0\" bar --format plain --follow > \"$1\"",
                        (programFolder() / "vela-widget").string(), lines.string()};
    reader.environment = environment;
    BackgroundProgram bar(reader);
    ASSERT_TRUE(eventually([&] { return !text(lines).empty(); }));
    put("vela-widget");
    ASSERT_TRUE(eventually([&] { return runs(bin / "vela-widget"); }));
    EXPECT_EQ(companion({"sign-out"}).status, 0);
    EXPECT_TRUE(eventually([&] { return text(lines).find("ign in") != std::string::npos; })) << text(lines);
    EXPECT_FALSE(showsTheShop());
}

TEST_F(RenewedProgram, IsStartedByAReaderOfTheOldOne) {
    const auto lines = folder.path() / "lines";
    ProgramRun reader = {.program = "/bin/sh"};
    reader.arguments = {"-c", "exec \"$0\" bar --format plain --follow > \"$1\"",
                        (bin / "vela-widget").string(), lines.string()};
    reader.environment = environment;
    BackgroundProgram bar(reader);
    const auto process = [&] {
        pid_t number = 0;
        std::ifstream(path("host.lock")) >> number;
        return number;
    };
    ASSERT_TRUE(eventually([&] { return showsTheShop(); }));
    const auto first = process();
    ASSERT_GT(first, 1);
    put("vela-widget");
    ::kill(first, SIGKILL);
    ASSERT_TRUE(eventually([&] { return process() > 0 && process() != first && showsTheShop(); }));
    const auto second = process();
    EXPECT_TRUE(runs(bin / "vela-widget", second));
    // It would start a third.
    bar.sendSignal(SIGTERM);
    EXPECT_TRUE(bar.waitForEnd());
    ASSERT_GT(second, 1);
    ::kill(second, SIGTERM);
    EXPECT_TRUE(eventually([&] { return !fs::exists(path("")); }));
}

}  // namespace
}  // namespace host
