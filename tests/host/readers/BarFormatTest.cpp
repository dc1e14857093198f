// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Bar/BarFormat.hpp"

#include <gtest/gtest.h>

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>

#include "platform/JSON/JSONSerialization.hpp"
#include "platform/Text/Text.hpp"
#include "tests/host/readers/LiveStates.hpp"
#include "tests/support/ZoneInForce.hpp"

namespace host {
namespace {

namespace json = boost::json;

std::string output(const LiveState& state, BarFormat format, bool isJSON = false) {
    return barOutput(barContent(state, 0, someNoon),
                     {.format = format, .isJSON = isJSON, .companion = "/usr/bin/it's", .widget = "/w"});
}

json::value parsed(const std::string& text) {
    try {
        return platform::JSONSerialization::JSONObjectWithData(text);
    } catch (const platform::JSONError& error) {
        ADD_FAILURE() << error.what() << " in " << text;
        return json::object();
    }
}

std::string member(const json::value& object, const char* key) {
    const auto* value = object.is_object() ? object.get_object().if_contains(key) : nullptr;
    return value && value->is_string() ? std::string(value->get_string()) : "";
}

/// Nothing but text, entities and the tags that we set ourselves.
void expectMarkup(const std::string& markup) {
    for (std::size_t index = 0; index < markup.size(); ++index) {
        const auto rest = std::string_view(markup).substr(index);
        const auto beginsWithOneOf = [&](std::initializer_list<std::string_view> words) {
            for (const auto word : words)
                if (rest.starts_with(word)) return true;
            return false;
        };
        const bool isOurs = (rest[0] != '<' || beginsWithOneOf({"<b>", "</b>", "<i>", "</i>"})) &&
                            (rest[0] != '&' || beginsWithOneOf({"&amp;", "&lt;", "&gt;", "&quot;", "&#39;"}));
        EXPECT_TRUE(isOurs) << markup;
    }
}

void expectOneLineOfText(const std::string& text, std::string_view what) {
    EXPECT_TRUE(text.ends_with('\n')) << what;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << what << text;
    EXPECT_TRUE(platform::isValidUTF8(text)) << what;
    for (const char each : std::string_view(text).substr(0, text.size() - 1)) {
        const auto byte = static_cast<unsigned char>(each);
        EXPECT_TRUE(byte >= 0x20 && byte != 0x7F) << what << text;
    }
}

std::vector<LiveState> hostileStates() {
    std::vector<LiveState> states;
    for (const auto& name : hostileNames()) {
        states.push_back(stateWith({{.name = name, .secondary = name}}));
        states.push_back(stateWith({{.name = "Tea", .primary = name}, {.name = name}}));
    }
    return states;
}

TEST(WaybarOutput, IsALineOfJSONWithEverythingThatWaybarReads) {
    EXPECT_EQ(output(stateWith({{.name = "Tea & Co", .secondary = "Standard"}}), BarFormat::waybar),
              R"({"alt":"arriving","class":["arriving"],"percentage":60,"text":"Tea &amp; Co: In transit",)"
              R"("tooltip":"<b>Tea &amp; Co</b>: In transit, Standard"})"
              "\n");
    EXPECT_EQ(output(signedOutState(), BarFormat::waybar),
              R"({"alt":"signed-out","class":["signed-out"],"percentage":0,"text":"Sign in to Vela",)"
              R"("tooltip":"Sign in to track your orders in a glance"})"
              "\n");
}

TEST(WaybarOutput, MarksWhatIsOldAndWhatIsWrong) {
    const platform::testing::ZoneInForce zone("UTC");
    auto state = stateWith({{.name = "Tea"}});
    state.asOf = someNoon;
    state.trouble = LiveTrouble::serverUnreachable;
    const auto text = output(state, BarFormat::waybar);
    EXPECT_NE(text.find(R"("class":["arriving","stale","trouble"])"), std::string::npos) << text;
    EXPECT_NE(text.find(R"(\n\n<i>as of 12:00: the server cannot be reached</i>)"), std::string::npos)
        << text;
}

TEST(WaybarOutput, IsJSONAndMarkupWhateverTheNames) {
    for (const auto& state : hostileStates()) {
        const auto text = output(state, BarFormat::waybar);
        expectOneLineOfText(text, "waybar: ");
        const auto object = parsed(text);
        expectMarkup(member(object, "text"));
        expectMarkup(member(object, "tooltip"));
        EXPECT_FALSE(member(object, "text").empty());
    }
}

TEST(I3barOutput, IsTheProtocolsHeaderAndAnArrayOfArrays) {
    const auto content = barContent(stateWith({{.name = "Tea"}}), 0, someNoon);
    EXPECT_EQ(barOpening(BarFormat::i3bar), "{\"version\":1,\"click_events\":true}\n[\n");
    EXPECT_EQ(barOutput(content, {.format = BarFormat::i3bar, .isFollowing = true}),
              R"([{"full_text":"Tea: In transit","markup":"pango","name":"vela","short_text":"In transit"}],)"
              "\n");
    const auto once = "[\n" + barOutput(content, {.format = BarFormat::i3bar}) + barClosing(BarFormat::i3bar);
    EXPECT_TRUE(parsed(once).is_array());
}

TEST(I3barOutput, IsUrgentWhereSomebodyHasToAct) {
    EXPECT_NE(output(stateWith({{.name = "Tea", .primary = "Ready for pickup"}}), BarFormat::i3bar)
                  .find(R"("urgent":true)"),
              std::string::npos);
    auto state = emptyState();
    state.trouble = LiveTrouble::serverFailing;
    EXPECT_NE(output(state, BarFormat::i3bar).find(R"("color":"#909090")"), std::string::npos);
}

TEST(I3barOutput, IsJSONAndMarkupWhateverTheNames) {
    for (const auto& state : hostileStates()) {
        const auto text = output(state, BarFormat::i3bar);
        expectOneLineOfText(text, "i3bar: ");
        const auto array = parsed(text);
        ASSERT_TRUE(array.is_array());
        for (const auto& block : array.get_array()) {
            expectMarkup(member(block, "full_text"));
            expectMarkup(member(block, "short_text"));
        }
    }
}

TEST(I3blocksOutput, IsTextShortTextAndColour) {
    EXPECT_EQ(output(stateWith({{.name = "Tea <3"}}), BarFormat::i3blocks),
              "Tea <3: In transit\nIn transit\n");
    auto state = emptyState();
    state.trouble = LiveTrouble::serverFailing;
    EXPECT_EQ(output(state, BarFormat::i3blocks),
              "You have no new orders to track\nYou have no new orders to track\n#909090\n");
    EXPECT_EQ(barOutput(barContent(state, 0, someNoon), {.format = BarFormat::i3blocks, .isFollowing = true}),
              "You have no new orders to track\n");
}

TEST(I3blocksOutput, HasNoLineOfANamesOwn) {
    for (const auto& state : hostileStates()) {
        const auto text = output(state, BarFormat::i3blocks);
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2) << text;
        const auto object = parsed(output(state, BarFormat::i3blocks, true));
        expectMarkup(member(object, "full_text"));
    }
}

TEST(PolybarOutput, OpensTheLinkAndWalksOn) {
    EXPECT_EQ(output(stateWith({{.name = "Tea"}}), BarFormat::polybar),
              R"(%{A1:'/usr/bin/it'\''s' open 'velaapp\://order/1':}Tea: In transit%{A})"
              "\n");
    EXPECT_EQ(output(stateWith({{.name = "Tea"}, {.name = "Books"}}), BarFormat::polybar),
              R"(%{A1:'/usr/bin/it'\''s' open 'velaapp\://order/1':}%{A4:'/w' bar --previous:})"
              R"(%{A5:'/w' bar --next:}Tea: In transit%{A}%{A}%{A})"
              "\n");
    EXPECT_EQ(output(signedOutState(), BarFormat::polybar),
              R"(%{A1:'/usr/bin/it'\''s' open 'velaapp\://home_orders':}Sign in to Vela%{A})"
              "\n");
}

TEST(PolybarOutput, HasNoTagsButItsOwn) {
    for (const auto& state : hostileStates()) {
        auto text = output(state, BarFormat::polybar);
        expectOneLineOfText(text, "polybar: ");
        for (std::size_t tag = text.find("%{"); tag != std::string::npos; tag = text.find("%{", tag + 1))
            EXPECT_TRUE(text.compare(tag + 2, 1, "A") == 0 && (text[tag + 3] == '}' || text[tag + 4] == ':'))
                << text;
    }
}

TEST(TmuxOutput, HasNoFormatsAndNoStyles) {
    EXPECT_EQ(output(stateWith({{.name = "#[fg=red]#(x)"}}), BarFormat::tmux),
              "##[fg=red]##(x): In transit\n");
    for (const auto& state : hostileStates()) {
        const auto text = output(state, BarFormat::tmux);
        expectOneLineOfText(text, "tmux: ");
        for (std::size_t index = 0; index < text.size(); ++index) {
            if (text[index] != '#') continue;
            EXPECT_EQ(text[++index], '#') << text;
        }
    }
}

TEST(GenmonOutput, IsTextTooltipAndCommand) {
    EXPECT_EQ(output(stateWith({{.name = "Tea & Co"}}), BarFormat::genmon),
              "<txt>Tea &amp; Co: In transit</txt><tool><b>Tea &amp; Co</b>: In transit</tool>"
              R"(<txtclick>'/usr/bin/it'\''s' open 'velaapp://order/1'</txtclick>)"
              "\n");
}

TEST(GenmonOutput, HasNoElementsOfANamesOwn) {
    for (const auto& state : hostileStates()) {
        const auto text = output(state, BarFormat::genmon);
        const auto end = text.find("</txt>");
        ASSERT_NE(end, std::string::npos);
        expectMarkup(text.substr(5, end - 5));
        EXPECT_EQ(text.find("<txt>", 1), std::string::npos) << text;
        EXPECT_EQ(text.find("<txtclick>"), text.rfind("<txtclick>")) << text;
        EXPECT_TRUE(platform::isValidUTF8(text));
    }
}

TEST(PlainOutput, IsALineOfText) {
    for (const auto& state : hostileStates()) expectOneLineOfText(output(state, BarFormat::plain), "plain: ");
}

TEST(BarOutput, BoundsTextsThatNobodyCouldRead) {
    for (const auto& [name, format] : barFormats) {
        const auto state =
            stateWith({{.name = std::string(10'000, 'x'), .primary = std::string(10'000, 'y')}});
        EXPECT_LT(output(state, format).size(), 1'000u) << name;
    }
}

}  // namespace
}  // namespace host
