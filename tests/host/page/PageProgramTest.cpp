// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>
#include <signal.h>

#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/host/readers/LivePerson.hpp"
#include "tests/support/ProcessMemory.hpp"
#include "tests/support/WireClient.hpp"

namespace host {
namespace {

using platform::testing::answerOnTheWire;
using platform::testing::BackgroundProgram;
using platform::testing::eventually;
using platform::testing::WireClient;
using ::testing::AnyOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;

/// `vela-widget serve`, asked over the wire.
class PageProgramTest : public LivePerson {
  protected:
    PageProgramTest() {
        startSandbox();
        serve();
    }

    /// In place of the one before, if there is one.
    void serve() {
        serving_.reset();
        std::filesystem::remove(printed());
        // What it prints is read while it goes on.
        serving_ = std::make_unique<BackgroundProgram>(
            shell("exec vela-widget serve > '" + printed().string() + "'"));
        EXPECT_TRUE(eventually([&] { return contents(printed()).ends_with('\n'); }));
        address = contents(printed());
        address.pop_back();
        const auto colon = address.rfind(':');
        const auto slash = address.find('/', colon);
        std::from_chars(address.data() + colon + 1, address.data() + slash, port);
        path = address.substr(slash);
    }

    std::filesystem::path printed() const { return folder.path() / "printed"; }
    BackgroundProgram& serving() { return *serving_; }

    std::string request(std::string_view method, const std::string& target,
                        const std::string& fields = {}) const {
        return std::string(method) + " " + target + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
               "\r\n" + fields + "\r\n";
    }
    std::string page() const { return answerOnTheWire(port, request("GET", path)); }

    ProgramRun shell(std::string line) const {
        auto run = program("/bin/sh", {"-c", std::move(line)});
        run.environment["PATH"] = platform::testing::programFolder().string() + ":/usr/bin:/bin";
        return run;
    }

    std::string address;
    std::string path;
    unsigned short port = 0;

  private:
    std::unique_ptr<BackgroundProgram> serving_;
};

TEST_F(PageProgramTest, PrintsAnAddressThatShowsThePackages) {
    EXPECT_THAT(address, MatchesRegex("http://127\\.0\\.0\\.1:[0-9]+/[A-Za-z0-9_-]{32}/"));
    EXPECT_TRUE(eventually([&] { return page().find("class=\"all\"") != std::string::npos; }));
    const auto text = page();
    EXPECT_THAT(text,
                HasSubstr("Fathom &amp; Co.: arriving today, between 2 and 4 PM; 80 percent of the way"));
    EXPECT_THAT(text, HasSubstr("velaapp://order/5501"));
    EXPECT_THAT(text, HasSubstr("<!doctype html>"));
    EXPECT_THAT(text, HasSubstr("<button>Reload</button>"));
    EXPECT_THAT(text, Not(HasSubstr("{{")));
    EXPECT_EQ(fetches(), 1U);
}

TEST_F(PageProgramTest, KeepsItsTokenFromTheListOfProcesses) {
    const auto token = path.substr(1, path.size() - 2);
    for (const auto* file : {"cmdline", "environ"}) {
        const auto name = "/proc/" + std::to_string(serving().processIdentifier()) + "/" + file;
        EXPECT_EQ(contents(name).find(token), std::string::npos);
    }
}

TEST_F(PageProgramTest, TellsItsReadersOfASignOutAndHasNothingLeft) {
    ASSERT_TRUE(eventually([&] { return page().find("Fathom") != std::string::npos; }));
    WireClient reader(port);
    reader.say(request("GET", path + "events"));
    EXPECT_THAT(reader.hear("\n\n"), HasSubstr("Content-Type: text/event-stream"));
    EXPECT_EQ(companion({"sign-out"}).status, 0);
    EXPECT_THAT(reader.hear("\"holdsPackages\":false"), HasSubstr("\"holdsPackages\":false"));
    EXPECT_THAT(page(), Not(HasSubstr("Fathom")));
}

TEST_F(PageProgramTest, HoldsNothingInMemoryOfOneWhoHasSignedOut) {
    const auto times = [this](const std::string& word) {
        return platform::testing::timesInMemory(serving().processIdentifier(), word);
    };
    if (platform::testing::isMemorySanitized || !times("any"))
        GTEST_SKIP() << "its memory is closed to this process, or a sanitizer's";
    ASSERT_TRUE(eventually([&] { return page().find("Fathom") != std::string::npos; }));
    // It finds her packages with the host, in the first of all answers.
    serve();
    for (int count = 0; count < 3; ++count)
        ASSERT_TRUE(eventually([&] { return page().find("Fathom") != std::string::npos; }));
    EXPECT_GT(times("Fathom"), 0);
    EXPECT_EQ(companion({"sign-out"}).status, 0);
    ASSERT_TRUE(eventually([&] { return page().find("Fathom") == std::string::npos; }));
    for (const char* word : {"Fathom", "velaapp://order/5501", "Birthday present"})
        EXPECT_TRUE(eventually([&] { return times(word) == 0; })) << word << " " << *times(word);
}

TEST_F(PageProgramTest, EndsAtOnceWithReadersConnected) {
    WireClient reader(port), idle(port);
    reader.say(request("GET", path + "events"));
    reader.hear("\n\n");
    serving().sendSignal(SIGTERM);
    // Less than it gives a reader who says nothing.
    EXPECT_EQ(serving().waitForEnd(std::chrono::seconds(15)), 0);
    EXPECT_TRUE(idle.hasEnded());
    // Another state may have come before the end.
    EXPECT_THAT(reader.hearAll(), AnyOf("", EndsWith("\n\n")));
    EXPECT_TRUE(reader.hasEnded());
}

TEST_F(PageProgramTest, RefusesStrangersAndGarbageAndGoesOn) {
    EXPECT_THAT(answerOnTheWire(port, request("GET", "/")), HasSubstr(" 404 "));
    EXPECT_THAT(answerOnTheWire(port, request("GET", path, "Origin: http://evil.example\r\n")),
                HasSubstr(" 403 "));
    EXPECT_THAT(answerOnTheWire(port, "GET " + path + " HTTP/1.1\r\nHost: evil.example\r\n\r\n"),
                HasSubstr(" 421 "));
    EXPECT_THAT(answerOnTheWire(port, "GET " + path + " HTTP/1.0\r\n\r\n"), HasSubstr(" 421 "));
    EXPECT_THAT(answerOnTheWire(port, request("GET", path + std::string(40'000, 'x'))), HasSubstr(" 431 "));
    EXPECT_THAT(answerOnTheWire(port, std::string(100'000, '\0')), HasSubstr(" 400 "));
    EXPECT_THAT(page(), HasSubstr("<button>Reload</button>"));
    EXPECT_THAT(answerOnTheWire(port, request("HEAD", path)), EndsWith("\r\n\r\n"));
    EXPECT_THAT(page(), HasSubstr("HTTP/1.1 200 OK"));
}

TEST_F(PageProgramTest, SaysThatAPortIsTaken) {
    const auto result = widget({"serve", "--port", std::to_string(port)});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "vela-widget: port " + std::to_string(port) +
                                 " is in use by another program; name another one, or none for a free one\n");
    for (const auto* bad : {"-1", "65536", "http", ""})
        EXPECT_EQ(widget({"serve", "--port", bad}).status, 2) << bad;
}

TEST_F(PageProgramTest, SaysWhatItLacks) {
    environment["VELA_BUNDLE"] = folder.path().string();
    const auto result = widget({"serve"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, HasSubstr("page.html"));
    environment.erase("VELA_BUNDLE");
    environment.erase("XDG_RUNTIME_DIR");
    const auto homeless = widget({"serve"});
    EXPECT_EQ(homeless.status, 1);
    EXPECT_THAT(homeless.errors, HasSubstr("XDG_RUNTIME_DIR"));
    environment["XDG_RUNTIME_DIR"] = (folder.path() / "nowhere").string();
    const auto lost = widget({"serve"});
    EXPECT_EQ(lost.status, 1);
    EXPECT_THAT(lost.errors, HasSubstr("nowhere"));
    // Of nothing that is not served there is an address.
    EXPECT_EQ(result.output + homeless.output + lost.output, "");
}

}  // namespace
}  // namespace host
