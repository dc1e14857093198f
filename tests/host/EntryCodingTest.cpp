// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/EntryCoding.hpp"

#include <gtest/gtest.h>

#include "platform/JSON/JSONSerialization.hpp"
#include "presentation/StoredPackage.hpp"

namespace host {
namespace {

using platform::Date;
using platform::JSONKeyOrder;
using platform::JSONSerialization;
using platform::URL;
using presentation::StoredPackage;

const Date moment = *platform::dateFromInternetDateTime("2026-01-31T10:00:00.123Z");

std::string text(const boost::json::object& object) {
    return JSONSerialization::dataWithJSONObject(object, JSONKeyOrder::ascendingBytes);
}

widget::SimpleEntry sample() {
    return {moment, widget::LoggedIn{{std::make_shared<StoredPackage>(StoredPackage::Values{
                        .shopName = "Tea \"House\"",
                        .deepLinkingUrl = *URL::parse("velaapp://order/1"),
                        .progress = 0.6F,
                        .shopImage = *URL::parse("https://pictures.example/logo.png"),
                        .statusText = {.primary = "In transit", .secondary = "Air mail"},
                    })}}};
}

constexpr const char* sampleText =
    R"({"date":"2026-01-31T10:00:00.123Z","packages":[{"deepLinkingUrl":"velaapp://order/1","productImage":null,)"
    R"("progress":0.6,"shopImage":"https://pictures.example/logo.png","shopName":"Tea \"House\"",)"
    R"("statusText":{"primary":"In transit","secondary":"Air mail"}}],"state":"loggedIn"})";

TEST(EntryCoding, WritesAnEntryWithSortedKeysAndShortestProgress) {
    EXPECT_EQ(text(entryObject(sample())), sampleText);
}

TEST(EntryCoding, HasPackagesInTheSignedInStateOnly) {
    EXPECT_EQ(text(entryObject({moment, widget::NotLoggedIn{}})),
              R"({"date":"2026-01-31T10:00:00.123Z","state":"notLoggedIn"})");
    EXPECT_EQ(text(entryObject({moment, widget::NoPackages{}})),
              R"({"date":"2026-01-31T10:00:00.123Z","state":"noPackages"})");
}

TEST(EntryCoding, WritesATimelineWithItsPolicy) {
    const platform::Timeline<widget::SimpleEntry> timeline = {
        .entries = {{moment, widget::NoPackages{}}}, .policy = {.after = moment.addingTimeInterval(3600)}};
    EXPECT_EQ(text(timelineObject(timeline)),
              R"({"entries":[{"date":"2026-01-31T10:00:00.123Z","state":"noPackages"}],)"
              R"("policy":{"after":"2026-01-31T11:00:00.123Z"}})");
}

TEST(EntryCoding, ReadsBackWhatItWrote) {
    const auto entry = entryFromValue(JSONSerialization::JSONObjectWithData(sampleText));
    EXPECT_TRUE(showsTheSame(entry.widgetState, sample().widgetState));
    EXPECT_EQ(text(entryObject(entry)), sampleText);
}

TEST(EntryCoding, ReadsBackADeclaration) {
    const auto declaration = declarationFromValue(declarationObject({.kind = "TrackingWidget",
                                                                     .displayName = "Tracking Widget",
                                                                     .description = "It tracks.",
                                                                     .supportedFamilies = {"a", "b"}}));
    EXPECT_EQ(text(declarationObject(declaration)),
              R"({"description":"It tracks.","displayName":"Tracking Widget","kind":"TrackingWidget",)"
              R"("supportedFamilies":["a","b"]})");
    EXPECT_THROW(declarationFromValue({{"kind", 7}}), EntryCodingError);
}

TEST(EntryCoding, SaysWhatIsWrongAndWhere) {
    struct Row {
        const char* text;
        const char* message;
    };
    const Row rows[] = {
        {"[]", "entry must be an object"},
        {"{}", "entry.date must be a text"},
        {R"({"date":"yesterday"})", "entry.date must be a date such as 2026-01-31T10:00:00.123Z"},
        {R"({"date":"2026-01-31T10:00:00Z","state":"lost"})",
         "entry.state must be loggedIn, notLoggedIn or noPackages"},
        {R"({"date":"2026-01-31T10:00:00Z","state":"loggedIn"})", "entry.packages must be a list"},
        {R"({"date":"2026-01-31T10:00:00Z","state":"loggedIn","packages":[7]})",
         "entry.packages[0] must be an object"},
        {R"({"date":"2026-01-31T10:00:00Z","state":"loggedIn","packages":[{"shopName":"a","deepLinkingUrl":"b"}]})",
         "entry.packages[0].deepLinkingUrl must be an absolute URL"},
        {R"({"date":"2026-01-31T10:00:00Z","state":"loggedIn","packages":[{"statusText":{},"shopName":"a",)"
         R"("deepLinkingUrl":"b:c","progress":1.5}]})",
         "entry.packages[0].progress must be a number from 0 to 1"},
    };
    for (const auto& row : rows) {
        try {
            entryFromValue(JSONSerialization::JSONObjectWithData(row.text));
            ADD_FAILURE() << "read: " << row.text;
        } catch (const EntryCodingError& error) {
            EXPECT_STREQ(error.what(), row.message) << row.text;
        }
    }
}

}  // namespace
}  // namespace host
