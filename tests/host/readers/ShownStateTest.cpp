// SPDX-License-Identifier: Apache-2.0

#include "host/reader/ShownState.hpp"

#include <gtest/gtest.h>

#include "tests/host/readers/LiveStates.hpp"

namespace host {
namespace {

std::size_t packageCount(const ShownState& shown) {
    const auto* state = std::get_if<widget::LoggedIn>(&shown.state().entry.widgetState);
    return state && !shown.state().isPlaceholder ? state->packages.size() : 0;
}

TEST(ShownState, IsThePlaceholderBeforeAnythingIsKnown) {
    ShownState shown;
    EXPECT_TRUE(shown.state().isPlaceholder);
    shown.lose(someNoon);
    EXPECT_FALSE(shown.state().asOf);
}

TEST(ShownState, StaysThroughTheEndOfAHostMarkedAsOld) {
    ShownState shown;
    shown.take(stateWith({{.name = "Tea"}}));
    shown.lose(someNoon);
    shown.lose(someNoon.addingTimeInterval(60));
    EXPECT_EQ(shown.state().asOf, someNoon);
    shown.take(unknownState());
    EXPECT_EQ(packageCount(shown), 1u) << "the next host knows nothing yet";
    shown.take(stateWith({{.name = "Tea"}, {.name = "Books"}}));
    EXPECT_EQ(packageCount(shown), 2u);
    EXPECT_FALSE(shown.state().asOf);
}

LiveState by(std::string keychain, LiveState state) {
    state.keychain = std::move(keychain);
    return state;
}

TEST(ShownState, IsGivenUpWhereTheNextHostKnowsNothingByAnotherKeychain) {
    ShownState shown;
    shown.take(by("hers-1", stateWith({{.name = "Tea"}})));
    for (const auto* keychain : {"hers-1", "hers-1", ""}) {
        shown.lose(someNoon);
        shown.take(by(keychain, unknownState()));
        EXPECT_EQ(packageCount(shown), 1u) << keychain;
    }
    shown.take(by("hers-2", unknownState()));
    EXPECT_TRUE(shown.state().isPlaceholder) << "somebody else has signed in meanwhile";
}

TEST(ShownState, IsGivenUpWhereNobodyHasSaidByWhichKeychainItIsHers) {
    ShownState shown;
    shown.take(stateWith({{.name = "Tea"}}));
    shown.lose(someNoon);
    shown.take(by("hers-1", unknownState()));
    EXPECT_EQ(packageCount(shown), 0u);
}

TEST(ShownState, IsKeptForADayWithoutAHost) {
    ShownState shown;
    shown.take(stateWith({{.name = "Tea"}}));
    shown.lose(someNoon);
    shown.lose(someNoon.addingTimeInterval(86'399));
    EXPECT_EQ(packageCount(shown), 1u);
    shown.lose(someNoon.addingTimeInterval(86'400));
    EXPECT_EQ(packageCount(shown), 0u);
    EXPECT_TRUE(shown.state().isPlaceholder);
    EXPECT_FALSE(shown.state().asOf);
    shown.take(stateWith({{.name = "Books"}}));
    EXPECT_EQ(packageCount(shown), 1u);
}

TEST(ShownState, IsKeptForNoLongerWhereTheClockWasSetBack) {
    ShownState shown;
    shown.take(stateWith({{.name = "Tea"}}));
    shown.lose(someNoon);
    shown.lose(someNoon.addingTimeInterval(-86'400));
    EXPECT_EQ(shown.state().asOf, someNoon.addingTimeInterval(-86'400));
    shown.lose(someNoon);
    EXPECT_EQ(packageCount(shown), 0u);
}

TEST(ShownState, GivesWayToASignOutAndToTrouble) {
    ShownState shown;
    shown.take(stateWith({{.name = "Tea"}}));
    shown.lose(someNoon);
    shown.take(signedOutState());
    EXPECT_EQ(packageCount(shown), 0u);
    shown.take(stateWith({{.name = "Tea"}}));
    shown.lose(someNoon);
    auto unknown = unknownState();
    unknown.trouble = LiveTrouble::keychainLocked;
    shown.take(unknown);
    EXPECT_EQ(packageCount(shown), 0u) << "whose they are cannot be told any more";
}

TEST(ShownState, GivesWayToThePlaceholderOfAHostThatForgets) {
    ShownState shown;
    shown.take(stateWith({{.name = "Tea"}}));
    shown.take(unknownState());
    EXPECT_EQ(packageCount(shown), 0u);
}

}  // namespace
}  // namespace host
