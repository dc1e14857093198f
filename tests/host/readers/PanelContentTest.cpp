// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Panel/PanelContent.hpp"

#include <gmock/gmock.h>

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>

#include "host/widget/JSONLine.hpp"
#include "platform/Text/Text.hpp"
#include "tests/host/readers/LiveStates.hpp"
#include "tests/support/ZoneInForce.hpp"

namespace host {
namespace {

namespace json = boost::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

json::object panelOf(const LiveState& state) {
    return panelObject(state, someNoon);
}

TEST(PanelContent, SaysAllThatAShellShows) {
    const auto panel = panelOf(
        stateWith({{.name = "Tea", .secondary = "By 6 PM"},
                   {.name = "Books", .primary = "Delivered", .progress = 1, .link = "velaapp://order/2"}}));
    EXPECT_EQ(
        jsonLine(panel),
        R"({"asOf":null,"class":"arriving","hasTrouble":false,"isStale":false,"keptFor":86400,"keychain":null,)"
        R"("link":"velaapp://order/1","packages":[)"
        R"({"class":"arriving","link":"velaapp://order/1","percentage":60,)"
        R"("spoken":"Tea: in transit, by 6 PM; 60 percent of the way","text":"Tea: In transit"},)"
        R"({"class":"delivered","link":"velaapp://order/2","percentage":100,)"
        R"("spoken":"Books: delivered; all of the way","text":"Books: Delivered"}],)"
        R"("percentage":60,"remark":null,"shortText":"In transit",)"
        R"("spoken":"Tea: in transit, by 6 PM; 60 percent of the way","text":"Tea: In transit",)"
        R"("tooltip":"Tea: In transit\nBooks: Delivered"})"
        "\n");
}

TEST(PanelContent, HasTheSameMembersWhateverTheState) {
    std::vector<std::string> members;
    for (const auto& member : panelOf(stateWith({{.name = "Tea"}}))) members.emplace_back(member.key());
    for (const auto& state : {signedOutState(), emptyState(), unknownState(), stateWith({})}) {
        std::vector<std::string> others;
        for (const auto& member : panelOf(state)) others.emplace_back(member.key());
        EXPECT_EQ(others, members);
    }
}

TEST(PanelContent, SaysTheWidgetsOwnWordsWhereThereAreNoPackages) {
    const auto signedOut = panelOf(signedOutState());
    EXPECT_EQ(signedOut.at("text"), "Sign in to Vela");
    EXPECT_EQ(signedOut.at("spoken"), "Sign in to Vela");
    EXPECT_EQ(signedOut.at("tooltip"), "Sign in to track your orders in a glance");
    EXPECT_EQ(signedOut.at("link"), "velaapp://home_orders") << "it opens the app, as a widget does";
    EXPECT_EQ(panelOf(emptyState()).at("link"), "velaapp://add_delivery");
    const auto unknown = panelOf(unknownState());
    EXPECT_EQ(unknown.at("class"), "placeholder");
    EXPECT_EQ(unknown.at("packages"), json::array()) << "the sample is nobody's";
    EXPECT_THAT(jsonLine(unknown), Not(HasSubstr("Shop Name")));
}

TEST(PanelContent, SaysWhatIsWrongAndSinceWhen) {
    const platform::testing::ZoneInForce zone("UTC");
    auto state = stateWith({{.name = "Tea"}});
    state.asOf = someNoon;
    state.trouble = LiveTrouble::serverUnreachable;
    const auto panel = panelOf(state);
    EXPECT_EQ(panel.at("asOf"), json::value(platform::internetDateTime(someNoon)));
    EXPECT_EQ(panel.at("isStale"), true);
    EXPECT_EQ(panel.at("hasTrouble"), true);
    EXPECT_EQ(panel.at("remark"), "as of 12:00: the server cannot be reached");
    EXPECT_THAT(std::string(panel.at("tooltip").as_string()), HasSubstr("\nas of 12:00"));
}

TEST(PanelContent, FencesWhatIsWrittenFromRightToLeft) {
    const auto panel = panelOf(stateWith({{.name = "שוק הספרים"}}));
    EXPECT_EQ(panel.at("text"), "\u200E\u2068שוק הספרים\u2069: In transit");
}

TEST(PanelContent, TakesANameOfWhichNothingIsSeenForNone) {
    const auto panel = panelOf(stateWith({{.name = "\u200B\u2060"}}));
    EXPECT_EQ(panel.at("text"), "In transit");
    EXPECT_EQ(panel.at("packages").at(0).at("text"), "In transit");
}

TEST(PanelContent, KeepsWhateverAShopIsCalledOnItsLineAndShort) {
    for (const auto& name : hostileNames()) {
        const auto panel = panelOf(stateWith({{.name = name}, {.name = name}}));
        EXPECT_LT(panel.at("packages").as_array().front().at("spoken").as_string().size(), 1000u);
        for (const auto* member : {"text", "shortText", "spoken"}) {
            const std::string text(panel.at(member).as_string());
            EXPECT_TRUE(platform::isValidUTF8(text)) << name;
            EXPECT_EQ(text.find_first_of(std::string("\n\r\t\x1b\0\x7f", 6)), std::string::npos) << name;
            EXPECT_THAT(text, Not(HasSubstr("\u202E")));
        }
        EXPECT_LT(jsonLine(panel).size(), 20'000u);
    }
}

}  // namespace
}  // namespace host
