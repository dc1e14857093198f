// SPDX-License-Identifier: Apache-2.0

#include "host/page/PageDocument.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/host/readers/LiveStates.hpp"
#include "tests/support/FixedAmbient.hpp"

namespace host {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class PageDocumentTest : public ::testing::Test {
  protected:
    static std::string document(const LiveState& state, std::string_view frame = "{{contents}}",
                                PageChoices choices = {}) {
        const PageContents contents = {
            .state = state,
            .revision = 7,
            .choices = choices,
            .widgets = {{platform::WidgetFamily::systemSmall, "<svg>light</svg>", "<svg>dark</svg>"},
                        {platform::WidgetFamily::systemLarge, "<svg>large</svg>"},
                        {platform::WidgetFamily::accessoryInline, "<svg>inline</svg>"}}};
        return pageDocument(frame, contents, someNoon);
    }

    static std::size_t count(const std::string& text, std::string_view part) {
        std::size_t found = 0;
        for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
        return found;
    }

    platform::testing::FixedAmbient ambient;
};

TEST_F(PageDocumentTest, ListsEveryPackageAsALinkWithASentence) {
    const auto text = document(stateWith(
        {{.name = "Fathom & Co.", .primary = "Arriving today", .secondary = "2 PM", .progress = 0.8F},
         {.name = "Souk", .primary = "Delivered", .progress = 0, .link = "velaapp://delivery/2?a=b&c=d"}}));
    EXPECT_THAT(text, HasSubstr("<a href=\"velaapp://order/1\" rel=\"noreferrer\"><span class=\"spoken\">"
                                "Fathom &amp; Co.: arriving today, 2 PM; 80 percent of the way</span>"));
    EXPECT_THAT(text, HasSubstr("href=\"velaapp://delivery/2?a=b&amp;c=d\""));
    EXPECT_EQ(count(text, "<li>"), 2U);
}

TEST_F(PageDocumentTest, PartsWhatIsDoneOfAPackageFromWhatIsNot) {
    const auto bar = [](float progress) {
        const auto text = document(stateWith({{.name = "Shop", .progress = progress}}));
        const auto begin = text.find("<rect");
        return text.substr(begin, text.find("</svg>", begin) - begin);
    };
    EXPECT_EQ(bar(0), "<rect class=\"track\" x=\"0%\" width=\"100%\" height=\"4\"/>");
    EXPECT_EQ(bar(0.8F),
              "<rect class=\"done\" width=\"80%\" height=\"4\"/>"
              "<rect class=\"track\" x=\"80%\" width=\"20%\" height=\"4\"/>");
    EXPECT_EQ(bar(1),
              "<rect class=\"done\" width=\"100%\" height=\"4\"/>"
              "<rect class=\"track\" x=\"100%\" width=\"0%\" height=\"4\"/>");
}

TEST_F(PageDocumentTest, CutsWhateverAShopIsCalled) {
    const std::string longName(80'000, 'n');
    const auto shown =
        document(stateWith({{.name = longName, .primary = longName, .secondary = longName + "s"}}));
    EXPECT_LT(shown.size(), document(stateWith({{.name = "Shop"}})).size() + 2000);
    EXPECT_THAT(shown, HasSubstr(">" + std::string(119, 'n') + "…</span>"));
}

TEST_F(PageDocumentTest, ShowsEachSchemeAndSaysWhatCouldNotBeDrawn) {
    const auto text = document(signedOutState());
    EXPECT_THAT(text, HasSubstr("data-part=\"systemSmall light\"><svg>light</svg>"));
    EXPECT_THAT(text, HasSubstr("data-part=\"systemSmall dark\"><svg>dark</svg>"));
    EXPECT_THAT(text, HasSubstr("data-part=\"accessoryInline\"><svg>inline</svg>"));
    EXPECT_THAT(text,
                HasSubstr("data-part=\"systemLarge dark\"><p class=\"undrawn\">It cannot be drawn now.</p>"));
}

TEST_F(PageDocumentTest, ListsNothingOfNobody) {
    for (const auto& state : {signedOutState(), emptyState(), unknownState()}) {
        EXPECT_FALSE(holdsPackages(state));
        EXPECT_THAT(document(state), Not(HasSubstr("<li>")));
    }
    EXPECT_TRUE(holdsPackages(stateWith({{.name = "Shop"}})));
}

TEST_F(PageDocumentTest, KeepsToTheMarkupWhateverAShopIsCalled) {
    for (const auto& name : hostileNames()) {
        const auto text = document(stateWith({{.name = name, .primary = name, .secondary = name}}));
        EXPECT_EQ(count(text, "<"),
                  count(document(stateWith({{.name = "x", .primary = "x", .secondary = "x"}})), "<"))
            << name;
        for (const char control : std::string("\x00\x07\x1b\x7f", 4))
            EXPECT_EQ(text.find(control), std::string::npos) << name;
    }
    const auto text = document(stateWith({{.name = "{{contents}}"}}), "{{contents}}{{revision}}");
    EXPECT_THAT(text, HasSubstr(">{{contents}}</span>"));
}

TEST_F(PageDocumentTest, MakesNoLinkOfWhatABrowserWouldRun) {
    for (const auto* link :
         {"javascript:alert(1)", "data:text/html,x", "vbscript:x", "file:///etc/passwd", "blob:x"})
        EXPECT_THAT(document(stateWith({{.name = "Shop", .link = link}})), Not(HasSubstr("href"))) << link;
}

TEST_F(PageDocumentTest, SaysWhatIsWrongAndThatItIsLooking) {
    auto state = stateWith({{.name = "Shop"}});
    EXPECT_EQ(document(state, "{{remark}}"), "");
    state.trouble = LiveTrouble::serverUnreachable;
    EXPECT_EQ(document(state, "{{remark}}"), "The server cannot be reached.");
    EXPECT_EQ(document(unknownState(), "{{remark}}"), "Looking for your packages.");
}

TEST_F(PageDocumentTest, HasTheChoicesThatTheAddressSays) {
    const auto state = signedOutState();
    EXPECT_THAT(document(state, "{{scheme}}{{schemes}}"), HasSubstr("value=\"system\" selected"));
    const auto choices = PageChoices::fromQuery("scheme=dark&textSize=xLarge");
    EXPECT_EQ(document(state, "{{scheme}} {{textSize}} {{reload}} {{revision}}", choices),
              "dark xLarge reload?scheme=dark&amp;textSize=xLarge 7");
    EXPECT_THAT(document(state, "{{textSizes}}", choices),
                HasSubstr("<option value=\"xLarge\" data-factor=\"1.12\" selected>large</option>"));
}

}  // namespace
}  // namespace host
