// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/DorvoSupport/GraphApi.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <type_traits>

#include "VelaApi/Sources/VelaApi/RefreshAccessTokenMutation.hpp"
#include "VelaApi/Sources/VelaApi/TrackingWidgetQuery.hpp"
#include "platform/Log/Logger.hpp"
#include "tests/VelaApi/JSON.hpp"
#include "tests/VelaApi/Sample.hpp"
#include "tests/support/RecordingLogSink.hpp"

namespace VelaApi {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct Entry {
    std::string format, file, function;
    unsigned line;
    std::vector<std::string> arguments;
};

class RecordingLogger final : public GraphApiLogger {
  public:
    void log(std::string_view format, std::string_view file, std::string_view function, unsigned line,
             const std::vector<std::string>& arguments) const override {
        entries.push_back({std::string(format), std::string(file), std::string(function), line, arguments});
    }
    mutable std::vector<Entry> entries;
};

RecordingLogger& recorder() {
    static RecordingLogger logger;
    return logger;
}

/// An operation, and a response, that encodes whatever it holds.
template <class Content>
struct Anything {
    Content content;

    static std::string_view queryString() { return "query Anything { __typename }"; }
    static std::optional<GraphSelections::Operation> operationSelections() { return std::nullopt; }
    static platform::JSONEncoder customEncoder() { return platform::JSONEncoder(); }
    static platform::JSONDecoder customDecoder() { return platform::JSONDecoder(); }
    static const GraphApiLogger* errorLogger() { return &recorder(); }

    static Anything decode(const platform::Decoder& decoder) { return {decoder.decode<Content>()}; }
    void encode(platform::Encoder& encoder) const { encoder.encode(content); }
};

/// The same without a logger.
struct Unlogged {
    static std::string_view queryString() { return "query Unlogged { __typename }"; }
    static std::optional<GraphSelections::Operation> operationSelections() { return std::nullopt; }
    static platform::JSONEncoder customEncoder() { return platform::JSONEncoder(); }
    void encode(platform::Encoder& encoder) const { encoder.fail("Never"); }
};

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

class GraphApi : public testing::Test {
  protected:
    void SetUp() override { recorder().entries.clear(); }
};

TEST_F(GraphApi, VariablesAreWhatTheOperationEncodes) {
    EXPECT_EQ(json::text(variables(TrackingWidgetQuery(192))), R"({"maxImageSize":192})");
    EXPECT_EQ(json::text(variables(RefreshAccessTokenMutation("a \"quoted\" token"))),
              R"({"refreshToken":"a \"quoted\" token"})");
}

TEST_F(GraphApi, VariablesKeepTheWholeRangeOfMaxImageSize) {
    for (const std::int32_t size :
         {std::numeric_limits<std::int32_t>::min(), -1, 0, 1, std::numeric_limits<std::int32_t>::max()}) {
        EXPECT_EQ(variables(TrackingWidgetQuery(size)).at("maxImageSize").as_int64(), size);
    }
}

TEST_F(GraphApi, AnOperationThatEncodesAnArrayOrABareValueHasEmptyVariablesAndLogsNothing) {
    EXPECT_THAT(variables(Anything<std::vector<std::string>>{{"a", "b"}}), IsEmpty());
    EXPECT_THAT(variables(Anything<std::string>{"a"}), IsEmpty());
    EXPECT_THAT(variables(Anything<bool>{true}), IsEmpty());
    EXPECT_THAT(variables(Anything<std::optional<bool>>{}), IsEmpty());
    EXPECT_THAT(recorder().entries, IsEmpty());
}

TEST_F(GraphApi, AnOperationThatDoesNotEncodeHasEmptyVariablesAndIsLogged) {
    EXPECT_THAT(variables(Anything<double>{notANumber}), IsEmpty());
    ASSERT_EQ(recorder().entries.size(), 1U);
    const Entry& entry = recorder().entries.front();
    EXPECT_EQ(entry.format, "Error %s when serializing variables of %s");
    EXPECT_EQ(entry.file, "VelaApi/Sources/VelaApi/DorvoSupport/GraphApi");
    EXPECT_EQ(entry.function, "variables");
    EXPECT_EQ(entry.line, 36U);
    EXPECT_THAT(entry.arguments, ElementsAre(HasSubstr("not finite"), HasSubstr("Anything<double>")));
}

TEST_F(GraphApi, AnOperationWithoutLoggerDropsItsErrors) {
    EXPECT_EQ(errorLogger<TrackingWidgetQuery>(), nullptr);
    EXPECT_EQ(errorLogger<RefreshAccessTokenMutation>(), nullptr);
    EXPECT_EQ(errorLogger<TrackingWidgetResponse>(), nullptr);
    EXPECT_THAT(variables(Unlogged{}), IsEmpty());
    EXPECT_THAT(recorder().entries, IsEmpty());
}

TEST_F(GraphApi, TheDescriptionIsTheTextWithTheVariablesRightBehindIt) {
    EXPECT_EQ(description(TrackingWidgetQuery(300)),
              std::string(TrackingWidgetQuery::queryString()) + R"({"maxImageSize":300})");
    EXPECT_TRUE(description(TrackingWidgetQuery(300)).ends_with(R"(} } }{"maxImageSize":300})"));
    EXPECT_EQ(description(Anything<bool>{true}), "query Anything { __typename }true");
}

TEST_F(GraphApi, AnIndescribableOperationStopsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(description(Anything<double>{notANumber}), "VelaApi/GraphApi:21");
}

TEST_F(GraphApi, AResponseIsBuiltFromItsDictionary) {
    using Response = Anything<std::vector<bool>>;
    EXPECT_THROW(responseFrom<Response>({{"key", "value"}}), platform::DecodingError);
    const auto response = responseFrom<RefreshAccessTokenResponse>(
        json::parsed(R"({"accessTokenRefresh": {"userErrors": [], "__typename": "A"}, "__typename": "B"})")
            .get_object());
    EXPECT_EQ(response.typename_, "B");
}

template <class Response>
void expectThatTheTextReadsTheSame(std::string_view text) {
    const boost::json::object data = json::parsed(text).get_object();
    const std::string written = platform::JSONSerialization::dataWithJSONObject(data);
    EXPECT_EQ(responseFrom<Response>(data), Response::customDecoder().template decode<Response>(written));
}

TEST_F(GraphApi, AResponseIsWhatTheTextOfItsDictionaryReads) {
    expectThatTheTextReadsTheSame<TrackingWidgetResponse>(sample::trackingWidget);
    expectThatTheTextReadsTheSame<RefreshAccessTokenResponse>(sample::refreshAccessToken);
}

TEST_F(GraphApi, AResponseTakesNoMoreThanTheMemoryGiven) {
    const boost::json::object data = json::parsed(sample::trackingWidget).get_object();
    platform::BoundedMemory little(2000);
    EXPECT_THROW(responseFrom<TrackingWidgetResponse>(data, &little), platform::MemoryLimitExceeded);
    platform::BoundedMemory enough(20'000);
    EXPECT_EQ(responseFrom<TrackingWidgetResponse>(data, &enough),
              responseFrom<TrackingWidgetResponse>(data));
}

TEST_F(GraphApi, ADictionaryThatIsNoJSONFailsWithTheWritersError) {
    EXPECT_THROW(responseFrom<TrackingWidgetResponse>({{"number", notANumber}}), platform::JSONError);
    EXPECT_THROW(responseFrom<TrackingWidgetResponse>({{"text", "\xff"}}), platform::JSONError);
}

TEST_F(GraphApi, FieldsOfAResponseThatEncodesNoDictionaryAreEmpty) {
    for (const auto collapsing : {FragmentCollapsing::keepFragments, FragmentCollapsing::collapseFragments}) {
        EXPECT_THAT(fields(Anything<std::vector<std::string>>{{"a"}}, collapsing), IsEmpty());
        EXPECT_THAT(fields(Anything<std::string>{"a"}, collapsing), IsEmpty());
    }
    EXPECT_THAT(recorder().entries, IsEmpty());
}

TEST_F(GraphApi, FieldsOfAResponseThatDoesNotEncodeAreEmptyAndLogged) {
    EXPECT_THAT(fields(Anything<double>{notANumber}, FragmentCollapsing::keepFragments), IsEmpty());
    ASSERT_EQ(recorder().entries.size(), 1U);
    const Entry& entry = recorder().entries.front();
    EXPECT_EQ(entry.format, "Error %s when serializing %s to fields");
    EXPECT_EQ(entry.file, "VelaApi/Sources/VelaApi/DorvoSupport/GraphApi");
    EXPECT_EQ(entry.function, "fields(collapsingFragments:)");
    EXPECT_EQ(entry.line, 71U);
    EXPECT_THAT(entry.arguments, ElementsAre(HasSubstr("not finite"), HasSubstr("Anything<double>")));
}

TEST_F(GraphApi, EachOperationLeadsToItsResponse) {
    EXPECT_TRUE((std::is_same_v<ResponseOf<TrackingWidgetQuery>, TrackingWidgetResponse>));
    EXPECT_TRUE((std::is_same_v<ResponseOf<RefreshAccessTokenMutation>, RefreshAccessTokenResponse>));
}

TEST_F(GraphApi, OperationsAttachNoSelections) {
    EXPECT_EQ(TrackingWidgetQuery::operationSelections(), std::nullopt);
    EXPECT_EQ(RefreshAccessTokenMutation::operationSelections(), std::nullopt);
}

// One line each, as the account server has always been sent them; not even a blank may change.
constexpr std::string_view queryText =
    "query TrackingWidget($maxImageSize: Int!) { __typename "
    "deliveriesOrdersList(first: 10) { __typename "
    "nodes { __typename id "
    "... on Order { __typename createdAt displayStatus deliveryStatus shippingMethod markedAsDeliveredAt "
    "etaInfo { __typename formattedEta isFuture formattedEtaTime } "
    "lineItems { __typename nodes { __typename "
    "image { __typename url(maxWidth: $maxImageSize, maxHeight: $maxImageSize) } } } "
    "shop { __typename name visualTheme { __typename "
    "logoImage { __typename url(maxWidth: $maxImageSize, maxHeight: $maxImageSize) } } } "
    "trackers { __typename nodes { __typename "
    "paginatedTrackingEvents(last: 1) { __typename "
    "nodes { __typename carrierLocationMessage happenedAt } } } } }"
    "... on Delivery { __typename id status state "
    "customName deliveryName: name sellerName deliveredAt deliveryFlags "
    "exceptions { __typename exceptionType } "
    "currentEtaInfo { __typename formattedEtaDateAndTime estimatedTimeOfDelivery "
    "etaRange { __typename etaStart etaEnd } } "
    "tracker { __typename carrierInfo { __typename id name imageUrl } } } } } }";

constexpr std::string_view mutationText =
    "mutation RefreshAccessToken($refreshToken: String!) { __typename "
    "accessTokenRefresh(refreshToken: $refreshToken) { __typename "
    "authPayload { __typename accessToken refreshToken } "
    "userErrors { __typename message } } }";

TEST_F(GraphApi, OperationTextsAreExact) {
    EXPECT_EQ(queryText.size(), 1031U);
    EXPECT_EQ(TrackingWidgetQuery::queryString(), queryText);
    EXPECT_EQ(mutationText.size(), 215U);
    EXPECT_EQ(RefreshAccessTokenMutation::queryString(), mutationText);
}

TEST(DefaultLogger, WritesTheFormatWithItsArgumentsAtErrorLevel) {
    struct Row {
        std::string format;
        std::vector<std::string> arguments;
        std::string message;
    };
    const std::vector<Row> rows = {
        {"Error %s when serializing variables of %s", {"E", "T"}, "Error E when serializing variables of T"},
        {"nothing to fill", {}, "nothing to fill"},
        {"%s%s", {"%s", "100%"}, "%s100%"},
        {"too few: %s %s", {"one"}, "too few: one %s"},
        {"too many: %s", {"one", "two"}, "too many: one"},
    };
    const platform::testing::RecordingLogSink sink;
    for (const Row& row : rows) DefaultLogger().log(row.format, "file", "function", 1, row.arguments);
    ASSERT_EQ(sink.lines().size(), rows.size());
    for (std::size_t index = 0; index < rows.size(); ++index) {
        EXPECT_EQ(sink.lines()[index].level, platform::LogLevel::error);
        EXPECT_EQ(sink.lines()[index].message, rows[index].message);
    }
}

}  // namespace
}  // namespace VelaApi
