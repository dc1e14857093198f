// SPDX-License-Identifier: Apache-2.0

// What a desktop shell starts.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/json/object.hpp>
#include <boost/json/value.hpp>

#include "platform/JSON/JSONSerialization.hpp"
#include "tests/host/readers/LivePerson.hpp"

namespace host {
namespace {

namespace json = boost::json;
using platform::testing::BackgroundProgram;
using platform::testing::eventually;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class PanelProgram : public LivePerson {
  protected:
    ProgramResult panel(std::vector<std::string> options = {}) const {
        options.insert(options.begin(), "panel");
        return widget(std::move(options));
    }
    static json::object parsed(const std::string& text) {
        return platform::JSONSerialization::JSONObjectWithData(text).as_object();
    }
    /// What tells what a shell shows from all else.
    struct Shown {
        std::string version;
        std::string keychain = "";
    };
    Shown shown() const {
        const auto object = parsed(panel().output);
        return {.version = std::string(object.at("version").as_string()),
                .keychain = std::string(object.at("keychain").as_string())};
    }

    /// One that waits for something else than that version; what it prints goes into a file.
    std::unique_ptr<BackgroundProgram> waiting(const Shown& after) const {
        ProgramRun run = {.program = "/bin/sh"};
        run.arguments = {"-c",
                         "exec \"$0\" panel --after \"$1\" --keychain \"$3\" > \"$2\"",
                         (platform::testing::programFolder() / "vela-widget").string(),
                         after.version,
                         printedFile().string(),
                         after.keychain};
        run.environment = environment;
        return std::make_unique<BackgroundProgram>(run);
    }
    /// Whether the host that runs now has had its answer.
    bool settled() const {
        std::ifstream entry(folder.path() / "run/vela-widget/entry.json");
        return fetches() == 2 &&
               std::string(std::istreambuf_iterator<char>(entry), {}).find("Fathom") != std::string::npos;
    }
};

TEST_F(PanelProgram, PrintsOneLineWithAVersion) {
    startSandbox();
    const auto result = panel();
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.output.find('\n'), result.output.size() - 1);
    const auto object = parsed(result.output);
    EXPECT_EQ(object.at("text"), "Fathom & Co.: Arriving today");
    EXPECT_EQ(object.at("version").as_string().size(), 64u);
    EXPECT_FALSE(object.contains("picture")) << "nobody has asked for one";
    EXPECT_EQ(panel().output, result.output);
    EXPECT_EQ(fetches(), 1u);
}

TEST_F(PanelProgram, AddsAPictureAndItsVersionIsThePicturesToo) {
    startSandbox();
    const auto light = parsed(panel({"--family", "systemMedium", "--scheme", "light"}).output);
    const auto dark = parsed(panel({"--family", "systemMedium", "--scheme", "dark"}).output);
    EXPECT_THAT(std::string(light.at("picture").as_string()),
                StartsWith("data:image/png;base64,iVBORw0KGgo"));
    EXPECT_NE(light.at("picture"), dark.at("picture"));
    EXPECT_NE(light.at("version"), dark.at("version"));
    EXPECT_FALSE(exists(folder.path() / "run/vela-widget/systemMedium-dark@2x.png")) << "it needs no file";
}

TEST_F(PanelProgram, WaitsForSomethingElseAndThenEnds) {
    startSandbox();
    const auto waiter = waiting(shown());
    EXPECT_FALSE(eventually([&] { return !printed().empty(); }, std::chrono::milliseconds(300)));
    companion({"sign-out"});
    EXPECT_TRUE(comesToPrint("Sign in to Vela")) << printed();
    EXPECT_EQ(waiter->waitForEnd(), 0);
}

TEST_F(PanelProgram, PrintsAtOnceWhatIsAnotherThanWasShown) {
    startSandbox();
    shown();
    EXPECT_THAT(panel({"--after", "of-yesterday"}).output, HasSubstr("Arriving today"));
}

TEST_F(PanelProgram, ShowsNoLessForHostsThatWereKilled) {
    startSandbox();
    const auto waiter = waiting(shown());
    for (std::size_t hosts = 1; hosts < 5; ++hosts) {
        const auto before = hostProcess();
        EXPECT_TRUE(eventually([&] { return fetches() == hosts; }));
        endHost(SIGKILL);
        EXPECT_TRUE(eventually([&] { return hostProcess() != before && fetches() == hosts + 1; }));
    }
    EXPECT_FALSE(eventually([&] { return !printed().empty(); }, std::chrono::milliseconds(300))) << printed();
    EXPECT_TRUE(platform::testing::isAlive(waiter->processIdentifier()));
}

TEST_F(PanelProgram, ShowsNothingOfAnotherPersonHoweverOftenItsHostWasKilledBefore) {
    startSandbox({"--delay", "2500"});
    const auto waiter = waiting(shown());
    EXPECT_TRUE(eventually([&] { return fetches() == 1; }));
    endHost(SIGKILL);
    EXPECT_TRUE(eventually([&] { return settled(); }));
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(companion({"sign-in", "--user-id", "67890"}, credentials).status, 0);
    EXPECT_TRUE(eventually([&] { return !printed().empty(); }));
    EXPECT_THAT(printed(), HasSubstr("Looking for your packages"));
    EXPECT_THAT(printed(), Not(HasSubstr("Fathom")));
}

TEST_F(PanelProgram, SaysThatNoHostCanBeHadAndDoesNotWaitForOne) {
    std::ofstream(folder.path() / "run/vela-widget") << "no folder";
    for (const auto* after : {"none", "of-yesterday"}) {
        const auto result = panel({"--after", after});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.errors, StartsWith("vela-widget: "));
    }
}

TEST_F(PanelProgram, TakesAHostThatHangsForNone) {
    startSandbox();
    shown();
    const auto host = hostProcess();
    ::kill(host, SIGSTOP);
    EXPECT_EQ(waiting({.version = "of-yesterday"})->waitForEnd(), 1);
    EXPECT_EQ(printed(), "");
    ::kill(host, SIGCONT);
    EXPECT_THAT(panel({"--after", "of-yesterday"}).output, HasSubstr("Arriving today"));
}

TEST_F(PanelProgram, SaysSoWhenNoHostCanBeHadAnyMore) {
    startSandbox();
    const auto waiter = waiting(shown());
    EXPECT_TRUE(eventually([&] { return fetches() == 1; }));
    const auto host = hostProcess();
    rename(folder.path() / "run/vela-widget", folder.path() / "elsewhere");
    std::ofstream(folder.path() / "run/vela-widget") << "no folder";
    ::kill(host, SIGKILL);
    EXPECT_EQ(waiter->waitForEnd(), 1);
    EXPECT_EQ(printed(), "");
}

TEST_F(PanelProgram, WaitsForAnotherKeychainWithoutAHost) {
    startSandbox();
    const auto keychain = shown().keychain;
    for (const auto& known : {keychain, std::string()}) {
        std::filesystem::remove(printedFile());
        ProgramRun run = {.program = "/bin/sh"};
        run.arguments = {"-c", "exec \"$0\" panel --without-host --keychain \"$1\" > \"$2\"",
                         (platform::testing::programFolder() / "vela-widget").string(), known,
                         printedFile().string()};
        run.environment = environment;
        BackgroundProgram waiter(run);
        EXPECT_FALSE(eventually([&] { return !printed().empty(); }, std::chrono::milliseconds(500)));
        EXPECT_EQ(companion({"sign-in", "--user-id", "67890"}, credentials).status, 0);
        EXPECT_EQ(waiter.waitForEnd(std::chrono::seconds(30)), 0);
        EXPECT_THAT(printed(), HasSubstr("Looking for your packages"));
        EXPECT_NE(std::string(parsed(printed()).at("keychain").as_string()), keychain);
    }
    EXPECT_THAT(panel({"--without-host", "--keychain", keychain}).output,
                HasSubstr("Looking for your packages"))
        << "it is another already";
    EXPECT_EQ(panel({"--without-host"}).status, 2);
}

TEST_F(PanelProgram, DrawsForThePersonsEyes) {
    startSandbox();
    const auto picture = [&](std::vector<std::string> options) {
        options.insert(options.begin(), {"--family", "systemMedium"});
        return parsed(panel(std::move(options)).output).at("picture");
    };
    const auto usual = picture({});
    EXPECT_EQ(picture({"--text-scaling", "1.01"}), usual) << "the usual size is the nearest";
    EXPECT_NE(picture({"--text-scaling", "1.25"}), usual);
    EXPECT_NE(picture({"--contrast", "increased"}), usual);
}

TEST_F(PanelProgram, EndsWithWhoeverReadsIt) {
    startSandbox();
    const auto mine = shown().version;
    ProgramRun run = {.program = "/bin/sh"};
    run.arguments = {"-c", "\"$0\" panel --after \"$1\" | true; echo done > \"$2\"",
                     (platform::testing::programFolder() / "vela-widget").string(), mine,
                     printedFile().string()};
    run.environment = environment;
    const BackgroundProgram pipeline(run);
    EXPECT_TRUE(comesToPrint("done"));
}

TEST_F(PanelProgram, RefusesWhatMakesNoSense) {
    EXPECT_EQ(panel({"--family", "systemHuge"}).status, 2);
    EXPECT_EQ(panel({"--scheme", "light"}).status, 2) << "without a family there is no picture";
    EXPECT_EQ(panel({"--family", "systemSmall", "--scale", "5"}).status, 2);
    EXPECT_EQ(panel({"--family", "systemSmall", "--text-scaling", "0.4"}).status, 2);
    EXPECT_EQ(panel({"--family", "systemSmall", "--contrast", "some"}).status, 2);
    environment["XDG_RUNTIME_DIR"] = "/nonexistent";
    const auto without = panel();
    EXPECT_EQ(without.status, 1);
    EXPECT_NE(without.errors, "");
}

}  // namespace
}  // namespace host
