// SPDX-License-Identifier: Apache-2.0

// What becomes of a click on one of the widget's links: programs of the desktop's that note what they get.

#include <gmock/gmock.h>

#include <fstream>

#include "tests/host/Person.hpp"
#include "tests/host/notifications/RecordingService.hpp"
#include "tests/support/PrivateBus.hpp"

namespace host {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;

class ClickedLink : public Person {
  protected:
    ClickedLink() {
        std::filesystem::create_directories(handlers);
        environment["PATH"] = handlers.string() + ":/usr/bin:/bin";
        environment["HOME"] = folder.path().string();
        environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=/nonexistent";
        note("xdg-open", "printf '%s|' \"$#\" \"$1\" \"$VELA_LINK_HANDED_OVER\" >> " + opened.string());
        answer("");
    }

    void note(const char* program, const std::string& script) const {
        const auto path = handlers / program;
        std::ofstream(path) << "#!/bin/sh\n" << script << "\n";
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    }
    /// The desktop has this program for the app's links.
    void answer(const std::string& handler) const { note("xdg-mime", "echo " + handler); }
    std::string whatWasOpened() const {
        std::ifstream stream(opened);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    void deployWith(const std::string& info) {
        folder.write("bundle/Info.json", info);
        environment["VELA_BUNDLE"] = (folder.path() / "bundle").string();
    }

    const std::filesystem::path handlers = folder.path() / "handlers";
    const std::filesystem::path opened = folder.path() / "opened";
};

TEST_F(ClickedLink, OpensThePageOfTheAccountSite) {
    EXPECT_EQ(companion({"open", "velaapp://order/42"}).status, 0);
    EXPECT_EQ(whatWasOpened(), "1|http://127.0.0.1:9/order/42||");
}

TEST_F(ClickedLink, IsOneWordToWhatOpensIt) {
    EXPECT_EQ(companion({"open", "velaapp://order/$(id);`id`&'x'"}).status, 0);
    EXPECT_EQ(whatWasOpened(), "1|http://127.0.0.1:9/order/$(id);%60id%60&'x'||");
}

TEST_F(ClickedLink, IsLedToThePersonsSiteAheadOfTheDeploymentsAndTheServers) {
    deployWith(R"({"ACCOUNT_SITE_URL": "https://deployment.test/base/"})");
    const auto page = [&] { return companion({"open", "--print", "velaapp://home_orders"}).output; };
    EXPECT_EQ(page(), "https://deployment.test/base/orders\n");
    companion({"defaults", "write", "ACCOUNT_SITE_URL", "https://person.test"});
    EXPECT_EQ(page(), "https://person.test/orders\n");
    deployWith("{}");
    companion({"defaults", "delete", "ACCOUNT_SITE_URL"});
    EXPECT_EQ(page(), "http://127.0.0.1:9/orders\n");
}

TEST_F(ClickedLink, GoesToTheAppWhereThereIsOne) {
    answer("the-app.desktop");
    EXPECT_EQ(companion({"open", "velaapp://order/42"}).status, 0);
    EXPECT_EQ(whatWasOpened(), "1|velaapp://order/42|yes|");
}

TEST_F(ClickedLink, GoesToTheAppWithItsSchemeAsTheDesktopKnowsIt) {
    answer("the-app.desktop");
    for (const char* link : {"VELAAPP://order/Ab", "VelaApp://order/Ab"})
        EXPECT_EQ(companion({"open", link}).status, 0) << link;
    EXPECT_EQ(whatWasOpened(), "1|velaapp://order/Ab|yes|1|velaapp://order/Ab|yes|");
}

TEST_F(ClickedLink, IsForThePageWhereWhatIsNotedAsTheAppDoesNotTakeIt) {
    answer("an-app-that-was-removed.desktop");
    note("xdg-open", "printf '%s|' \"$1\" >> " + opened.string() + "; case $1 in velaapp:*) exit 3;; esac");
    EXPECT_EQ(companion({"open", "velaapp://order/42"}).status, 0);
    EXPECT_EQ(whatWasOpened(), "velaapp://order/42|http://127.0.0.1:9/order/42|");
    environment["BASE_URL"] = "https://account.vela.example";
    const auto result = companion({"open", "velaapp://order/42"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, HasSubstr("nothing was opened: it would be the order 42"));
}

TEST_F(ClickedLink, DoesNotGoInCircles) {
    answer("vela-companion.desktop");
    EXPECT_EQ(companion({"open", "velaapp://order/42"}).status, 0);
    answer("wrapper-of-ours.desktop");
    environment["VELA_LINK_HANDED_OVER"] = "yes";
    EXPECT_EQ(companion({"open", "velaapp://order/43"}).status, 0);
    EXPECT_EQ(whatWasOpened(), "1|http://127.0.0.1:9/order/42||1|http://127.0.0.1:9/order/43|yes|");
}

TEST_F(ClickedLink, IsToldWhereNoSiteIsConfigured) {
    environment["BASE_URL"] = "https://account.vela.example";
    const auto result = companion({"open", "velaapp://order/42"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, HasSubstr("the order 42, https://account.vela.example/order/42"));
    EXPECT_THAT(result.errors, HasSubstr("vela-companion defaults write ACCOUNT_SITE_URL"));
    EXPECT_EQ(whatWasOpened(), "");
}

TEST_F(ClickedLink, NeverGoesOverAnInsecureConnection) {
    for (const char* address :
         {"http://account.test", "http://127.account.test", "http://localhost.account.test",
          "ftp://account.test", "javascript:alert(1)//", "file:///etc"}) {
        environment["BASE_URL"] = address;
        const auto result = companion({"open", "velaapp://order/42"});
        EXPECT_EQ(result.status, 1) << address;
        EXPECT_THAT(result.errors, HasSubstr("is no https address")) << address;
    }
    EXPECT_EQ(whatWasOpened(), "");
}

TEST_F(ClickedLink, IsRefusedWithoutBeingRepeated) {
    for (const char* link : {"velaapp://order/bait/1", "bait", "bait://order/1", "velaapp://bait@order/1",
                             "http://bait.test/", "velaapp://order/bait\n", "https:bait"}) {
        const auto result = companion({"open", link});
        EXPECT_EQ(result.status, 1) << link;
        EXPECT_THAT(result.output + result.errors, Not(HasSubstr("bait"))) << link;
    }
    EXPECT_EQ(whatWasOpened(), "");
}

TEST_F(ClickedLink, IsNotLostWithoutATerminal) {
    const platform::testing::PrivateBus bus;
    RecordingService service(bus.address(), {});
    environment["DBUS_SESSION_BUS_ADDRESS"] = bus.address();
    environment["BASE_URL"] = "https://account.vela.example";
    EXPECT_EQ(companion({"open", "velaapp://order/a&b"}).status, 1);
    const auto shown = service.shown();
    ASSERT_THAT(shown, SizeIs(1));
    EXPECT_EQ(shown[0].title, "Vela");
    EXPECT_THAT(shown[0].text, HasSubstr("the order a%26b, https://account.vela.example/order/a%26b"));
}

TEST_F(ClickedLink, ShowsNoNotificationForWhatIsOnlyPrinted) {
    const platform::testing::PrivateBus bus;
    RecordingService service(bus.address(), {});
    environment["DBUS_SESSION_BUS_ADDRESS"] = bus.address();
    EXPECT_EQ(companion({"open", "--print", "bait"}).status, 1);
    EXPECT_THAT(service.shown(), SizeIs(0));
}

TEST_F(ClickedLink, SaysWhatIsMissingToOpenIt) {
    environment["PATH"] = (folder.path() / "nothing").string();
    const auto result = companion({"open", "velaapp://order/42"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, HasSubstr("of the package xdg-utils, cannot be started"));
}

}  // namespace
}  // namespace host
