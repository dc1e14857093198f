// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Terminal/FollowView.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/Text/Text.hpp"
#include "tests/host/readers/LiveStates.hpp"
#include "tests/support/ZoneInForce.hpp"

namespace host {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::StartsWith;

std::vector<PackageWords> tenPackages() {
    std::vector<PackageWords> packages;
    for (int count = 0; count < 10; ++count)
        packages.push_back({.name = "Shop " + std::to_string(count), .secondary = "Standard"});
    return packages;
}

FollowScreen screenOf(const LiveState& state, const FollowView& view, std::size_t columns, std::size_t rows) {
    return followScreen(state, view, {.columns = columns, .links = TerminalLinks::hyperlinks}, rows,
                        someNoon);
}

/// As a terminal shows it.
std::string visible(const std::string& line) {
    std::string text;
    for (std::size_t index = 0; index < line.size(); ++index) {
        if (line[index] != '\x1b') {
            text += line[index];
        } else if (line[index + 1] == ']') {
            index = line.find("\x1b\\", index) + 1;
        } else {
            index = line.find_first_of("mK", index);
        }
    }
    return text;
}

TEST(FollowScreen, ShowsPackagesWithTheChosenOneMarked) {
    const auto screen = screenOf(stateWith({{.name = "Tea"}, {.name = "Books"}}), {.chosen = 1}, 40, 12);
    std::vector<std::string> lines;
    for (const auto& line : screen.lines) lines.push_back(visible(line));
    EXPECT_EQ(lines,
              (std::vector<std::string>{"  Tea", "  In transit", "  █████████████████████▋░░░░░░░░░░░░░░", "",
                                        "> Books", "  In transit", "  █████████████████████▋░░░░░░░░░░░░░░",
                                        "", "", "", "", "  Enter opens, r reloads, ? shows…  2/2"}));
}

TEST(FollowScreen, HasALineForEachPackageWhereThereIsLittleRoom) {
    const auto screen = screenOf(stateWith(tenPackages()), {.chosen = 6}, 20, 5);
    EXPECT_EQ(screen.lines.size(), 5u);
    EXPECT_EQ(screen.lines[3], "> Shop 6: In transit");
    EXPECT_THAT(screen.lines[4], HasSubstr("7/10"));
}

TEST(FollowScreen, FitsEveryScreenAndShowsTheChosenPackage) {
    auto packages = tenPackages();
    for (const auto& name : hostileNames())
        packages.push_back({.name = name, .primary = name, .secondary = name});
    for (const std::size_t columns : {1, 2, 5, 10, 20, 39, 80, 300})
        for (const std::size_t rows : {1, 2, 5, 8, 9, 24, 100})
            for (std::size_t chosen = 0; chosen < packages.size(); chosen += 3) {
                const auto screen = screenOf(stateWith(packages), {.chosen = chosen}, columns, rows);
                ASSERT_EQ(screen.lines.size(), rows);
                std::size_t marked = 0;
                for (const auto& line : screen.lines) {
                    // Of a narrower one the terminal cuts what is too much.
                    EXPECT_TRUE(columns < 10 || platform::terminalColumns(visible(line)) <= columns) << line;
                    if (line.starts_with("> ")) ++marked;
                }
                EXPECT_EQ(marked, rows > 1 ? 1u : 0u)
                    << columns << " columns, " << rows << " rows, chosen " << chosen;
            }
}

TEST(FollowScreen, MovesNoMoreThanItHasTo) {
    const auto state = stateWith(tenPackages());
    const auto down = screenOf(state, {.chosen = 5, .top = 0}, 60, 20);
    EXPECT_EQ(down.top, 2u);
    EXPECT_EQ(screenOf(state, {.chosen = 3, .top = down.top}, 60, 20).top, 2u) << "still on the screen";
    EXPECT_EQ(screenOf(state, {.chosen = 1, .top = down.top}, 60, 20).top, 1u);
}

TEST(FollowScreen, SaysWhatIsWrongAndSinceWhen) {
    const platform::testing::ZoneInForce zone("UTC");
    auto state = stateWith({{.name = "Tea"}});
    state.asOf = someNoon;
    state.trouble = LiveTrouble::serverUnreachable;
    EXPECT_THAT(screenOf(state, {}, 80, 24).lines.back(),
                HasSubstr("as of 12:00: the server cannot be reached"));
    EXPECT_THAT(screenOf(state, {.note = "Copied"}, 80, 24).lines.back(), HasSubstr("Copied"));
}

TEST(FollowScreen, ShowsStatesWithoutPackages) {
    EXPECT_THAT(screenOf(signedOutState(), {}, 80, 24).lines, Contains(HasSubstr("Sign in to Vela")));
    EXPECT_THAT(screenOf(emptyState(), {}, 80, 24).lines,
                Contains(HasSubstr("You have no new orders to track")));
    EXPECT_THAT(screenOf(unknownState(), {}, 80, 24).lines, Contains(HasSubstr("Looking for your packages")));
}

TEST(FollowScreen, TellsWhoIsSignedOutHowToSignIn) {
    EXPECT_THAT(screenOf(signedOutState(), {}, 80, 24).lines.back(), HasSubstr("vela-companion sign-in"));
    for (const auto& state : {emptyState(), unknownState(), stateWith({{.name = "Tea"}})})
        EXPECT_THAT(screenOf(state, {}, 80, 24).lines.back(), HasSubstr("Enter opens"));
    auto expired = signedOutState();
    expired.trouble = LiveTrouble::signInExpired;
    EXPECT_THAT(screenOf(expired, {}, 80, 24).lines.back(), HasSubstr("the sign-in has expired"));
}

TEST(LinkShown, IsTheChosenPackagesElseThePrompts) {
    const auto packages = stateWith({{.name = "Tea"}, {.name = "Books", .link = "velaapp://order/books"}});
    EXPECT_EQ(linkShown(packages, 1), "velaapp://order/books");
    EXPECT_EQ(linkShown(packages, 2), std::nullopt);
    EXPECT_EQ(linkShown(signedOutState(), 0), "velaapp://home_orders");
    EXPECT_EQ(linkShown(emptyState(), 3), "velaapp://add_delivery");
    EXPECT_EQ(linkShown(unknownState(), 0), std::nullopt);
}

TEST(FollowScreen, ListsItsKeys) {
    EXPECT_THAT(screenOf(stateWith({{.name = "Tea"}}), {.showsHelp = true}, 80, 24).lines,
                Contains(StartsWith("  y, c")));
}

TEST(FollowScreen, HasAllOfItsHelpOnASmallScreenToo) {
    const auto screen = screenOf(stateWith({{.name = "Tea"}}), {.showsHelp = true}, 80, 5);
    EXPECT_EQ(screen.helpEnd, 0u);
    EXPECT_EQ(screen.lines[0], "  Up, Down, j, k    choose a package  y, c              copy its link");
    EXPECT_EQ(screen.lines[3], "  Enter, o          open it           q, Esc, Ctrl-C    quit");
    EXPECT_THAT(screen.lines[4], HasSubstr("Enter opens"));
}

TEST(FollowScreen, ScrollsTheHelpThatItHasNoRoomFor) {
    const auto state = stateWith({{.name = "Tea"}});
    const auto first = screenOf(state, {.showsHelp = true}, 40, 8);
    EXPECT_EQ(first.helpEnd, 1u);
    EXPECT_THAT(first.lines[0], StartsWith("  Up, Down, j, k    choose a package"));
    EXPECT_THAT(first.lines[7], StartsWith("  Down for more"));
    const auto last = screenOf(state, {.showsHelp = true, .helpTop = 7}, 40, 8);
    EXPECT_EQ(last.helpTop, 1u);
    EXPECT_EQ(last.lines[6], "  q, Esc, Ctrl-C    quit");
    EXPECT_THAT(last.lines[7], StartsWith("  Enter opens"));
}

TEST(FollowScreen, CutsNoWordOfItsHelpWhereverThereIsRoomForOne) {
    for (const std::size_t columns : {20, 25, 35, 36, 37, 71, 72, 73, 80})
        for (const std::size_t rows : {2, 3, 5, 8, 9, 10, 24}) {
            FollowView view = {.showsHelp = true};
            std::string all;
            for (std::size_t end = 0; view.helpTop <= end; ++view.helpTop) {
                const auto screen = screenOf(stateWith({{.name = "Tea"}}), view, columns, rows);
                ASSERT_EQ(screen.lines.size(), rows);
                ASSERT_EQ(screen.helpTop, view.helpTop);
                end = screen.helpEnd;
                for (const auto& line : screen.lines)
                    EXPECT_LE(platform::terminalColumns(visible(line)), columns) << line;
                for (std::size_t row = 0; row + 1 < rows; ++row) all += screen.lines[row] + " ";
            }
            for (const auto* word :
                 {"Up,", "Down,", "choose", "package", "PageUp,", "screen", "Home,", "last", "Enter,", "open",
                  "copy", "link", "reload", "?", "help", "Ctrl-C", "quit"})
                EXPECT_THAT(all, HasSubstr(word)) << columns << " by " << rows;
            EXPECT_EQ(all.find("…"), std::string::npos) << columns << " by " << rows;
        }
}

TEST(ClipboardSequence, IsTheTextInBase64) {
    const std::pair<const char*, const char*> rows[] = {
        {"", ""},        {"f", "Zg=="},          {"fo", "Zm8="},
        {"foo", "Zm9v"}, {"foobar", "Zm9vYmFy"}, {"\xff\xfe?", "//4/"}};
    for (const auto& [text, encoded] : rows)
        EXPECT_EQ(clipboardSequence(text), std::string("\x1b]52;c;") + encoded + "\x1b\\");
}

}  // namespace
}  // namespace host
