// SPDX-License-Identifier: Apache-2.0

// The real programs, as a person calls them.

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <sstream>

#include "platform/Files/Descriptor.hpp"
#include "tests/host/Person.hpp"
#include "tests/host/readers/PseudoTerminal.hpp"
#include "tests/support/PrivateBus.hpp"
#include "tests/support/ScriptedService.hpp"

namespace host {
namespace {

namespace fs = std::filesystem;
using platform::testing::ScriptedService;
using ::testing::HasSubstr;
using ::testing::Not;

class DoctorProgram : public Person {
  protected:
    /// One of the members, by check.
    static std::map<std::string, std::string> saidIn(const ProgramResult& result, const char* member) {
        std::map<std::string, std::string> found;
        const auto object = platform::JSONSerialization::JSONObjectWithData(result.output);
        for (const auto& finding : object.at("findings").as_array())
            found[std::string(finding.at("check").as_string())] = finding.at(member).as_string();
        return found;
    }
    static std::map<std::string, std::string> verdicts(const ProgramResult& result) {
        auto found = saidIn(result, "verdict");
        const bool hasProblem = std::any_of(found.begin(), found.end(),
                                            [](const auto& finding) { return finding.second == "problem"; });
        EXPECT_EQ(result.status, hasProblem ? 1 : 0);
        return found;
    }
    void makeRuntimeFolder() {
        fs::create_directory(runtime);
        fs::permissions(runtime, fs::perms::owner_all);
        environment["XDG_RUNTIME_DIR"] = runtime.string();
    }

    const fs::path runtime = folder.path() / "run";
};

TEST_F(DoctorProgram, FindsASignInAndAServerThatIsAway) {
    signIn();
    const auto result = widget({"doctor", "--json"});
    EXPECT_EQ(result.status, 1) << result.errors;
    const auto found = verdicts(result);
    EXPECT_EQ(found.at("extension"), "good");
    EXPECT_EQ(found.at("keyring"), "good");
    EXPECT_EQ(found.at("server"), "problem");
    EXPECT_EQ(result.output.find(accessToken), std::string::npos);
    EXPECT_EQ(result.errors.find(accessToken), std::string::npos);
}

TEST_F(DoctorProgram, FindsAServerThatAnswers) {
    const auto ready = folder.path() / "ready";
    const platform::testing::BackgroundProgram sandbox(
        program("vela-sandbox", {"--port", "0", "--ready-file", ready.string()}));
    ASSERT_TRUE(platform::testing::eventually([&] { return fs::exists(ready) && !fs::is_empty(ready); }));
    environment["BASE_URL"] = folder.read("ready").substr(0, folder.read("ready").find('\n'));
    // Nothing but advice is left, which is no failure.
    makeRuntimeFolder();
    const auto found = verdicts(widget({"doctor", "--json"}));
    EXPECT_EQ(found.at("server"), "good");
    EXPECT_EQ(found.at("keyring"), "advice");
}

TEST_F(DoctorProgram, SaysInALineEachWhatItFinds) {
    const auto result = widget({"doctor"});
    EXPECT_NE(result.output.find("good  extension: It starts and answers.\n"), std::string::npos)
        << result.output;
    EXPECT_NE(result.output.find("problem  server: http://127.0.0.1:9 cannot be reached"), std::string::npos);
}

TEST_F(DoctorProgram, BreaksItsLinesBetweenWordsOnATerminalAlone) {
    environment["PATH"] = "/usr/bin:/bin";
    const auto piped = widget({"doctor"});
    EXPECT_THAT(piped.output,
                HasSubstr("http://127.0.0.1:9 cannot be reached (Couldn't connect to server): look at "
                          "the network, and at PONTAL_URL by"));
    PseudoTerminal terminal;
    terminal.resize(24, 40);
    terminal.start({"vela-widget", "doctor"}, environment);
    EXPECT_EQ(terminal.end(), 1);
    std::istringstream lines(terminal.shown());
    std::string unwrapped;
    for (std::string line; std::getline(lines, line);) {
        line.erase(line.find('\r'));
        // The log's.
        if (line.starts_with("info: ")) continue;
        const bool isFurther = line.starts_with("  ");
        const bool isOneWord = line.find(' ', isFurther ? 2 : 0) == std::string::npos;
        EXPECT_TRUE(isOneWord || line.size() <= 40) << line;
        unwrapped += isFurther ? line.substr(1) : (unwrapped.empty() ? "" : "\n") + line;
    }
    EXPECT_THAT(unwrapped + "\n", HasSubstr(piped.output));
}

TEST_F(DoctorProgram, SaysWhatStopsTheExtension) {
    folder.write(fs::relative(defaultsFile(), folder.path()), "{}");
    fs::permissions(defaultsFile().parent_path(), fs::perms::all);
    const auto result = widget({"doctor"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("problem  settings: The shared defaults cannot be read ("));
    EXPECT_THAT(result.output, HasSubstr("chmod 700 " + defaultsFile().parent_path().string()));
    EXPECT_THAT(result.output, HasSubstr("problem  extension: It does not run ("));
    EXPECT_THAT(result.output, HasSubstr("first mend the settings"));
}

TEST_F(DoctorProgram, FindsSettingsThatAreNone) {
    folder.write(fs::relative(defaultsFile(), folder.path()), "{\"PONTAL_URL\": \"https://secret");
    const auto result = widget({"doctor", "--json"});
    const auto found = verdicts(result);
    EXPECT_EQ(found.at("settings"), "problem");
    EXPECT_EQ(found.at("extension"), "good");
    EXPECT_THAT(result.output, HasSubstr("move " + defaultsFile().string() + " out of the way"));
    EXPECT_THAT(result.output + result.errors, Not(HasSubstr("secret")));
}

TEST_F(DoctorProgram, FindsThatNothingCanBeStored) {
    // Where nobody can write, whoever the tests run as.
    environment["XDG_DATA_HOME"] = "/proc/self/nowhere";
    const auto result = widget({"doctor", "--json"});
    EXPECT_EQ(verdicts(result).at("settings"), "problem");
    EXPECT_THAT(saidIn(result, "sentence").at("settings"),
                HasSubstr("Nothing can be stored, no sign-in either ("));
}

TEST_F(DoctorProgram, FindsABundleOfWhichSomethingIsMissing) {
    const auto bundle = folder.path() / "bundle";
    fs::copy(platform::testing::programFolder().parent_path() / "share/vela-widget", bundle,
             fs::copy_options::recursive);
    environment["VELA_BUNDLE"] = bundle.string();
    EXPECT_EQ(verdicts(widget({"doctor", "--json"})).at("bundle"), "good");
    fs::remove(bundle / "Assets.catalogue");
    EXPECT_EQ(verdicts(widget({"doctor", "--json"})).at("bundle"), "problem");
}

TEST_F(DoctorProgram, FindsThatNothingCanBeDrawn) {
    EXPECT_EQ(verdicts(widget({"doctor", "--json"})).at("drawing"), "good");
    // An installation without its drawing half.
    const auto installed = folder.path() / "installed";
    fs::create_directories(installed / "bin");
    fs::create_directory_symlink(platform::testing::programFolder().parent_path() / "share",
                                 installed / "share");
    for (const char* name : {"vela-widget", "VelaWidgetExtension"})
        fs::copy(platform::testing::programFolder() / name, installed / "bin" / name);
    auto alone = program((installed / "bin/vela-widget").string(), {"doctor", "--json"});
    const auto found = verdicts(alone.run());
    EXPECT_EQ(found.at("extension"), "good");
    EXPECT_EQ(found.at("drawing"), "problem");
    EXPECT_EQ(found.at("links"), "problem");
}

TEST_F(DoctorProgram, FindsThatThereIsNoFontToDrawWith) {
    const auto bundle = folder.path() / "bundle";
    fs::copy(platform::testing::programFolder().parent_path() / "share/vela-widget", bundle,
             fs::copy_options::recursive);
    environment["VELA_BUNDLE"] = bundle.string();
    fs::remove(bundle / "fonts.conf");
    folder.write("bundle/fonts.conf", "<?xml version=\"1.0\"?><fontconfig></fontconfig>");
    const auto said = saidIn(widget({"doctor", "--json"}), "sentence").at("drawing");
    EXPECT_THAT(said, HasSubstr("there are no fonts on this machine"));
}

TEST_F(DoctorProgram, FindsALiveHostThatIsStopped) {
    makeRuntimeFolder();
    const platform::testing::BackgroundProgram host(program("vela-widget", {"run"}));
    // Signed once it listens.
    const auto lock = runtime / "vela-widget/host.lock";
    ASSERT_TRUE(platform::testing::eventually([&] { return fs::exists(lock) && !fs::is_empty(lock); }));
    EXPECT_EQ(verdicts(widget({"doctor", "--json"})).at("live host"), "good");
    host.sendSignal(SIGSTOP);
    const auto result = widget({"doctor"});
    host.sendSignal(SIGCONT);
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output,
                HasSubstr("problem  live host: No surface is served: the live host has not answered"));
    EXPECT_THAT(result.output, HasSubstr("kill -KILL " + std::to_string(host.processIdentifier())));
}

TEST_F(DoctorProgram, NamesNoProcessToBeEndedThatIsGone) {
    makeRuntimeFolder();
    fs::create_directory(runtime / "vela-widget");
    fs::permissions(runtime / "vela-widget", fs::perms::owner_all);
    // A door behind which nobody answers, and the lock of a host that has ended.
    const platform::Descriptor door(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
    const auto path = (runtime / "vela-widget/host.socket").string();
    ASSERT_LT(path.copy(address.sun_path, sizeof address.sun_path), sizeof address.sun_path);
    ASSERT_EQ(::bind(door, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(door, 5), 0);
    const pid_t gone = ::fork();
    if (gone == 0) ::_exit(0);
    ::waitpid(gone, nullptr, 0);
    fs::permissions(folder.write("run/vela-widget/host.lock", std::to_string(gone) + "\n"),
                    fs::perms::owner_read | fs::perms::owner_write);
    const auto said = saidIn(widget({"doctor", "--json"}), "sentence").at("live host");
    EXPECT_THAT(said, HasSubstr("No surface is served: the live host has not answered"));
    EXPECT_THAT(said, Not(HasSubstr("kill")));
}

TEST_F(DoctorProgram, FindsThatNothingOpensPages) {
    environment["PATH"] = folder.path().string();
    EXPECT_THAT(saidIn(widget({"doctor", "--json"}), "sentence").at("links"), HasSubstr("install xdg-utils"));
    fs::permissions(folder.write("xdg-open", "#!/bin/sh\n"), fs::perms::owner_all);
    EXPECT_EQ(verdicts(widget({"doctor", "--json"})).at("links"), "good");
}

TEST_F(DoctorProgram, StartsNoLiveHost) {
    makeRuntimeFolder();
    EXPECT_EQ(verdicts(widget({"doctor", "--json"})).at("live host"), "advice");
    EXPECT_TRUE(fs::is_empty(runtime));
}

TEST_F(DoctorProgram, AsksTheServiceManagerForTheSocket) {
    const platform::testing::PrivateBus bus;
    environment["DBUS_SESSION_BUS_ADDRESS"] = bus.address();
    const auto said = [&] { return saidIn(widget({"doctor", "--json"}), "sentence").at("units"); };
    EXPECT_THAT(said(), HasSubstr("no service manager"));
    ScriptedService manager(bus.address(), "org.freedesktop.systemd1");
    const auto answerWith = [&](const char* state) {
        manager.answer("GetUnitFileState", [state](sd_bus_message*, sd_bus_message* answer) {
            return sd_bus_message_append(answer, "s", state);
        });
    };
    answerWith("enabled");
    EXPECT_EQ(said(), "vela-widget.socket starts the live host.");
    answerWith("disabled");
    EXPECT_THAT(said(), HasSubstr("systemctl --user enable --now vela-widget.socket"));
    manager.answer("GetUnitFileState", [](sd_bus_message*, sd_bus_message*) { return -ENOENT; });
    EXPECT_THAT(said(), HasSubstr("is not installed"));
    manager.answer("GetUnitFileState", [](sd_bus_message*, sd_bus_message*) { return -EACCES; });
    EXPECT_THAT(said(), HasSubstr("no service manager"));
    manager.refuse("GetUnitFileState", "org.freedesktop.systemd1.NoSuchUnit");
    EXPECT_THAT(said(), HasSubstr("is not installed"));
    manager.refuse("GetUnitFileState", "org.freedesktop.systemd1.NoSuchUnitEver");
    EXPECT_THAT(said(), HasSubstr("no service manager"));
    manager.ignore("GetUnitFileState");
    EXPECT_THAT(said(), HasSubstr("no service manager"));
}

TEST_F(DoctorProgram, TakesARuleForAZone) {
    for (const auto& [zone, verdict] :
         {std::pair("CET-1CEST,M3.5.0,M10.5.0/3", "good"), std::pair("Mars/Olympus", "problem")}) {
        environment["TZ"] = zone;
        EXPECT_EQ(verdicts(widget({"doctor", "--json"})).at("zone"), verdict) << zone;
    }
}

TEST_F(DoctorProgram, SetupPrintsASnippetAndKnowsWhatItCannotSetUp) {
    const auto waybar = widget({"setup", "waybar"});
    EXPECT_EQ(waybar.status, 0);
    EXPECT_NE(waybar.output.find("bar --format waybar --follow"), std::string::npos);
    EXPECT_EQ(widget({"setup", "abacus"}).status, 2);
    EXPECT_EQ(widget({"setup"}).status, 2);
}

}  // namespace
}  // namespace host
