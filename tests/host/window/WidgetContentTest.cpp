// SPDX-License-Identifier: Apache-2.0

#include "host/window/WidgetContent.hpp"

#include <gtest/gtest.h>

namespace host {
namespace {

const std::string twoPackages = R"({"size":{"width":338,"height":354},"items":[
    {"kind":"text","frame":{"x":70,"y":16,"width":83,"height":18},"text":"Fathom & Co."},
    {"kind":"rectangle","frame":{"x":0,"y":0,"width":1,"height":1}},
    {"kind":"text","frame":{"x":70,"y":149,"width":52,"height":18},"text":"Birthday"}],"links":[
    {"frame":{"x":16,"y":16,"width":306,"height":78},"url":"velaapp://order/1"},
    {"frame":{"x":16,"y":148,"width":306,"height":58.5},"url":"velaapp://delivery/2"}]})";

const std::string nothingToTrack = R"({"size":{"width":338,"height":158},"items":[
    {"kind":"text","frame":{"x":16,"y":72,"width":261,"height":22},"text":"You have no new orders to track"},
    {"kind":"text","frame":{"x":103,"y":114,"width":131,"height":20},"text":"Add order to track"}],
    "links":[{"frame":{"x":16,"y":94,"width":306,"height":48},"url":"velaapp://add_delivery"}]})";

const std::string signedOut = R"({"size":{"width":338,"height":158},"items":[
    {"kind":"text","frame":{"x":16,"y":50,"width":162,"height":44},"text":"Sign in to see"},
    {"kind":"text","frame":{"x":144,"y":114,"width":48,"height":20},"text":"Sign In"}],"links":[]})";

TEST(WidgetContent, SaysOfEachPackageItsOwnSentence) {
    const auto content = widgetContent(twoPackages, "Fathom & Co.: arriving today\nBirthday: delivered\n");
    ASSERT_EQ(content.size(), 2u);
    EXPECT_EQ(content[0].words, "Fathom & Co.: arriving today");
    EXPECT_EQ(content[0].link, "velaapp://order/1");
    EXPECT_EQ(content[1].words, "Birthday: delivered");
    EXPECT_EQ(content[1].frame, (drawing::Rect{{16, 148}, {306, 58.5}}));
}

TEST(WidgetContent, HasTextsBesideLinks) {
    const auto content =
        widgetContent(nothingToTrack, "You have no new orders to track\nAdd order to track\n");
    ASSERT_EQ(content.size(), 2u);
    EXPECT_EQ(content[0].words, "You have no new orders to track");
    EXPECT_EQ(content[0].link, std::nullopt);
    EXPECT_EQ(content[1].words, "Add order to track");
    EXPECT_EQ(content[1].link, "velaapp://add_delivery");
}

TEST(WidgetContent, LeadsSomewhereAsAWholeWhereItHasNoLinks) {
    const auto content = widgetContent(signedOut, "Sign in to see\nSign In\n", "velaapp://home_orders");
    ASSERT_EQ(content.size(), 1u);
    EXPECT_EQ(content[0].words, "Sign in to see. Sign In");
    EXPECT_EQ(content[0].link, "velaapp://home_orders");
    EXPECT_EQ(linkAt(content, {1, 1}), "velaapp://home_orders");
}

TEST(WidgetContent, SaysThatNothingIsKnownYet) {
    const auto content =
        widgetContent(R"({"size":{"width":10,"height":20},"items":[],"links":[]})", "Not yet known\n");
    ASSERT_EQ(content.size(), 1u);
    EXPECT_EQ(content[0], (WidgetSpot{.frame = {{0, 0}, {10, 20}}, .words = "Not yet known"}));
}

TEST(WidgetContent, NamesALinkThatNothingIsSaidOfByItsTexts) {
    const auto content = widgetContent(twoPackages, "");
    ASSERT_EQ(content.size(), 2u);
    EXPECT_EQ(content[0].words, "Fathom & Co.");
    EXPECT_EQ(content[1].words, "Birthday");
}

TEST(WidgetContent, FindsTheLinkUnderAPoint) {
    const auto content = widgetContent(twoPackages, "a\nb");
    EXPECT_EQ(linkAt(content, {16, 16}), "velaapp://order/1");
    EXPECT_EQ(linkAt(content, {321, 93}), "velaapp://order/1");
    EXPECT_EQ(linkAt(content, {322, 93}), std::nullopt);
    EXPECT_EQ(linkAt(content, {100, 120}), std::nullopt);
    EXPECT_EQ(linkAt(content, {100, 150}), "velaapp://delivery/2");
    EXPECT_EQ(linkAt({}, {0, 0}), std::nullopt);
}

TEST(WidgetContent, RefusesWhatIsNoTree) {
    const std::vector<const char*> wrong = {
        "",
        "[]",
        "{}",
        R"({"size":{"width":1}})",
        R"({"size":{"width":"1","height":1},"items":[],"links":[]})",
        R"({"size":{"width":1,"height":1},"items":{},"links":[]})",
        R"({"size":{"width":1,"height":1},"items":[],"links":[{"url":"a"}]})",
        R"({"size":{"width":1,"height":1},"items":[7],"links":[]})",
        R"({"size":{"width":1,"height":1},"items":[{"kind":"text"}],"links":[]})",
    };
    for (const auto* tree : wrong) EXPECT_THROW(widgetContent(tree, "words"), WidgetContentError) << tree;
}

}  // namespace
}  // namespace host
