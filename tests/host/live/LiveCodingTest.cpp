// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/LiveCoding.hpp"

#include <gtest/gtest.h>

#include "host/protocol/EntryCoding.hpp"
#include "host/protocol/MessageChannel.hpp"
#include "host/protocol/OutcomeCoding.hpp"
#include "host/reader/LiveRemark.hpp"
#include "host/widget/Readers/LiveTerminalView.hpp"
#include "platform/Date/SystemZone.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "tests/support/FixedAmbient.hpp"
#include "tests/support/ScopedEnvironment.hpp"

namespace host {
namespace {

using platform::testing::FixedAmbient;
using platform::testing::instant;
using widget::CredentialState;
using widget::ServerContact;

boost::json::value parsed(const std::string& text) {
    return platform::JSONSerialization::JSONObjectWithData(text);
}

TEST(LiveCoding, BringsAStateToAReaderAsItIs) {
    LiveState state = {
        .entry = {.date = instant("2026-01-31T10:00:00Z"), .widgetState = widget::NoPackages()}};
    EXPECT_EQ(liveStateObject(liveStateFromValue(liveStateObject(state))), liveStateObject(state));
    state.isPlaceholder = true;
    state.asOf = instant("2026-01-31T09:00:00.250Z");
    for (const auto trouble : allLiveTroubles) {
        state.trouble = trouble;
        const auto read = liveStateFromValue(liveStateObject(state));
        EXPECT_EQ(read.trouble, trouble);
        EXPECT_EQ(read.asOf, state.asOf);
        EXPECT_TRUE(read.isPlaceholder);
        EXPECT_EQ(liveTrouble(name(trouble)), trouble);
        EXPECT_FALSE(sentence(trouble).empty());
    }
}

TEST(LiveCoding, TakesATroubleOfALaterHostForOneOfTheServers) {
    const auto state = liveStateFromValue(
        parsed(R"({"entry":{"date":"2026-01-31T10:00:00Z","state":"noPackages"},"trouble":"newTrouble"})"));
    EXPECT_EQ(state.trouble, LiveTrouble::serverFailing);
}

TEST(LiveCoding, RefusesWhatIsNoState) {
    for (const std::string text :
         {"[]", "{}", R"({"entry":1})", R"({"entry":{"date":"x","state":"noPackages"}})",
          R"({"entry":{"date":"2026-01-31T10:00:00Z","state":"noPackages"},"isPlaceholder":1})",
          R"({"entry":{"date":"2026-01-31T10:00:00Z","state":"noPackages"},"asOf":"noon"})",
          R"({"entry":{"date":"2026-01-31T10:00:00Z","state":"noPackages"},"trouble":1})"})
        EXPECT_THROW(liveStateFromValue(parsed(text)), std::runtime_error) << text;
}

TEST(LiveCoding, BringsAStatusToAReaderAsItIs) {
    const LiveHostStatus status = {.pid = 42,
                                   .version = "1.2",
                                   .started = instant("2026-01-31T10:00:00Z"),
                                   .nextFetch = instant("2026-01-31T11:00:00Z"),
                                   .readers = 3};
    EXPECT_EQ(liveHostStatusObject(liveHostStatusFromValue(liveHostStatusObject(status))),
              liveHostStatusObject(status));
    for (const std::string text :
         {"1", "{}", R"({"started":1})", R"({"started":"2026-01-31T10:00:00Z","pid":-1})"})
        EXPECT_THROW(liveHostStatusFromValue(parsed(text)), ProtocolError) << text;
}

TEST(LiveCoding, BringsPicturesToAHostAndRefusesWhatNobodyDraws) {
    const std::vector<PictureFile> files = {{},
                                            {.family = platform::WidgetFamily::systemSmall, .scale = 1.5},
                                            {.textScaling = 1.25, .contrast = drawing::Contrast::increased}};
    EXPECT_EQ(pictureFilesFromValue(pictureFileArray(files)), files);
    for (const std::string text :
         {"{}", "[1]", R"([{"family":"round"}])", R"([{"scale":9}])", R"([{"colorScheme":"red"}])",
          R"([{"textScaling":0}])", R"([{"textScaling":4.1}])", R"([{"contrast":"some"}])"})
        EXPECT_THROW(pictureFilesFromValue(parsed(text)), ProtocolError) << text;
    EXPECT_THROW(pictureFilesFromValue(pictureFileArray(std::vector<PictureFile>(65))), ProtocolError);
}

TEST(OutcomeCoding, BringsAnOutcomeToAHostAsItIs) {
    for (const auto state : server::allCredentialStates)
        for (const auto contact : server::allServerContacts)
            for (const auto account : {std::optional<std::uint64_t>(), std::optional(~std::uint64_t{0})}) {
                const widget::FetchOutcome outcome = {
                    .credentials = {.state = state, .tokens = ~std::uint64_t{0}, .account = account},
                    .server = contact,
                    .hasRenewed = account.has_value()};
                EXPECT_EQ(outcomeFromValue(parsed(
                              platform::JSONSerialization::dataWithJSONObject(outcomeObject(outcome)))),
                          outcome);
            }
}

TEST(OutcomeCoding, RefusesWhatIsNoOutcome) {
    for (const std::string text : {"1", "{}", R"({"credentials":{},"server":"answered"})",
                                   R"({"credentials":{"state":"stored","tokens":1},"server":"asleep"})",
                                   R"({"credentials":{"state":"stored","tokens":"1"},"server":"answered"})",
                                   R"({"credentials":{"state":"stored","tokens":-1},"server":"answered"})"})
        EXPECT_THROW(outcomeFromValue(parsed(text)), ProtocolError) << text;
}

TEST(LiveTerminalView, SaysWhatTheEntryIsAsOf) {
    FixedAmbient::Settings settings;
    settings.timeZone = "Europe/Berlin";
    const FixedAmbient ambient(settings);
    const auto now = instant("2026-01-31T14:00:00Z");
    EXPECT_EQ(asOfText(instant("2026-01-31T13:05:00Z"), now), "as of 14:05");
    EXPECT_EQ(asOfText(instant("2026-01-30T23:05:00Z"), now), "as of 00:05");
    EXPECT_EQ(asOfText(instant("2026-01-30T22:05:00Z"), now), "as of 30 Jan 23:05");
    EXPECT_EQ(asOfText(instant("2025-01-31T13:05:00Z"), now), "as of 31 Jan 14:05");
}

TEST(AsOfText, IsInTheZoneThatIsInForceInThisMoment) {
    const auto noon = instant("2026-01-31T12:00:00Z");
    for (const auto& [zone, text] :
         {std::pair("UTC", "as of 12:00"), {"Asia/Kolkata", "as of 17:30"}, {"UTC", "as of 12:00"}}) {
        const platform::testing::ScopedEnvironment changed{{{"TZ", zone}}};
        EXPECT_EQ(asOfText(noon, noon), text);
    }
    platform::SystemZone::refresh();
}

TEST(LiveTerminalView, AddsTheRemarkToTheEntry) {
    const FixedAmbient ambient;
    const auto now = instant("2026-01-31T14:00:00Z");
    LiveState state = {.entry = {.date = now, .widgetState = widget::NotLoggedIn()}};
    EXPECT_EQ(liveRemark(state, now), std::nullopt);
    state.trouble = LiveTrouble::signInExpired;
    EXPECT_EQ(liveRemark(state, now), "the sign-in has expired; sign in again");
    EXPECT_TRUE(liveTerminalView(state, TerminalStyle(), now)
                    .ends_with("\n\n  the sign-in has expired; sign in again\n"));
    state.asOf = instant("2026-01-31T13:05:00Z");
    state.trouble = LiveTrouble::serverUnreachable;
    EXPECT_EQ(liveRemark(state, now), "as of 13:05: the server cannot be reached");
    state.isPlaceholder = true;
    EXPECT_EQ(liveTerminalView(state, TerminalStyle(), now), "  as of 13:05: the server cannot be reached\n");
}

}  // namespace
}  // namespace host
