// SPDX-License-Identifier: Apache-2.0

#include "server/VelaServerConnectivity.hpp"

#include "platform/JSON/JSONSerialization.hpp"
#include "tests/server/AccountServerTwin.hpp"

namespace server {
namespace {

using platform::HTTPHeaderField;
using Headers = std::vector<HTTPHeaderField>;

const HTTPHeaderField contentType = {"Content-type", "application/json"};
const HTTPHeaderField accept = {"Accept", "application/json"};

class ServerConnectivity : public AccountServerTwin {
  protected:
    VelaApi::TrackingWidgetResponse query() {
        return awaited(connectivity->perform(VelaApi::TrackingWidgetQuery(192)));
    }
    VelaApi::RefreshAccessTokenResponse mutate() {
        return awaited(connectivity->perform(VelaApi::RefreshAccessTokenMutation("refresh")));
    }

    /// The name of what a query raises for a reply.
    std::string raised(int status, const std::string& body) {
        session->answer(status, body);
        try {
            query();
            return "nothing";
        } catch (const UnauthorizedError&) {
            return "UnauthorizedError";
        } catch (const AnyError& error) {
            try {
                std::rethrow_exception(error.error());
            } catch (const GraphQLError&) {
                return "AnyError(GraphQLError)";
            }
        } catch (const platform::JSONError&) {
            return "JSONError";
        } catch (const platform::URLError&) {
            return "URLError";
        } catch (const std::exception&) {
            return "decoding error";
        }
    }
};

constexpr const char* emptyData = R"({"data":{"__typename":"Query"}})";

TEST_F(ServerConnectivity, SendsASignedInDevicesTokenAsBearer) {
    signIn("token", "refresh");
    const auto request = connectivity->makeRequest(Authentication::authenticated);
    EXPECT_EQ(request.headers, (Headers{contentType, accept, {"authorization", "Bearer token", true}}));
    EXPECT_EQ(request.httpMethod, "POST");
    EXPECT_EQ(request.timeoutInterval, std::chrono::seconds(60));
    EXPECT_EQ(request.httpBody, "");
    EXPECT_EQ(printed(), "");
}

TEST_F(ServerConnectivity, SendsTheSessionWhereThereIsNoAccessToken) {
    sessionKeychain().setData(platform::Data{"session-1"}, "session");
    const auto request = connectivity->makeRequest(Authentication::authenticated);
    EXPECT_EQ(request.headers,
              (Headers{contentType, accept, {"pontal-server-session-id", "session-1", true}}));
}

TEST_F(ServerConnectivity, SendsNoCredentialWhereNoneIsStoredAndLogsThreeLines) {
    const auto request = connectivity->makeRequest(Authentication::authenticated);
    EXPECT_EQ(request.headers, (Headers{contentType, accept}));
    EXPECT_EQ(printed(),
              "Failed to fetch item accessToken with reason itemNotFound\n"
              "Failed to fetch item accessToken with reason itemNotFound\n"
              "Failed to fetch item session with reason itemNotFound\n");
}

TEST_F(ServerConnectivity, NeverSendsCredentialsWithTheRefreshMutation) {
    signIn("token", "refresh");
    sessionKeychain().setData(platform::Data{"session-1"}, "session");
    session->answer(200, R"({"data":{"accessTokenRefresh":{"authPayload":null,"userErrors":[],)"
                         R"("__typename":"AccessTokenRefreshPayload"},"__typename":"Mutation"}})");
    mutate();
    ASSERT_EQ(session->requests().size(), 1u);
    EXPECT_EQ(session->requests()[0].headers, (Headers{contentType, accept}));
    const auto body = platform::JSONSerialization::JSONObjectWithData(session->requests()[0].httpBody);
    EXPECT_EQ(body.as_object().size(), 2u);
    EXPECT_EQ(body.at("variables"), boost::json::value({{"refreshToken", "refresh"}}));
    EXPECT_EQ(body.at("query").as_string(), VelaApi::RefreshAccessTokenMutation("").queryString());
}

TEST_F(ServerConnectivity, GivesARenewalAMinuteInAllAndAQueryWhatTheSessionGives) {
    signIn("token", "refresh");
    session->answer(200, emptyData);
    session->answer(200, R"({"data":{"accessTokenRefresh":{"authPayload":null,"userErrors":[],)"
                         R"("__typename":"AccessTokenRefreshPayload"},"__typename":"Mutation"}})");
    query();
    mutate();
    ASSERT_EQ(session->requests().size(), 2u);
    EXPECT_EQ(session->requests()[0].timeoutIntervalForResource, std::nullopt);
    EXPECT_EQ(session->requests()[1].timeoutIntervalForResource, std::chrono::seconds(60));
    for (const auto& request : session->requests())
        EXPECT_EQ(request.timeoutInterval, std::chrono::seconds(60));
}

TEST_F(ServerConnectivity, SendsABodyOfExactlyTwoKeys) {
    session->answer(200, emptyData);
    query();
    ASSERT_EQ(session->requests().size(), 1u);
    const auto body = platform::JSONSerialization::JSONObjectWithData(session->requests()[0].httpBody);
    EXPECT_EQ(body.as_object().size(), 2u);
    EXPECT_EQ(body.at("variables"), boost::json::value({{"maxImageSize", 192}}));
    EXPECT_EQ(body.at("query").as_string(), VelaApi::TrackingWidgetQuery(192).queryString());
}

TEST_F(ServerConnectivity, ReadsTheKeychainsThatItWasGiven) {
    signIn("the process's", "refresh");
    const Keychain elsewhere = {.id = "elsewhere", .accessibility = Keychain::Accessibility::always};
    TokenKeychain itsTokens(elsewhere, elsewhere);
    const VelaServerConnectivity client(defaults, {.tokens = itsTokens, .session = elsewhere},
                                        [] { return nullptr; });
    elsewhere.setData(platform::Data{"its session"}, "session");
    EXPECT_EQ(client.makeRequest(Authentication::authenticated).value("pontal-server-session-id"),
              "its session");
    itsTokens.store("its own", "refresh");
    EXPECT_EQ(client.makeRequest(Authentication::authenticated).value("authorization"), "Bearer its own");
}

TEST_F(ServerConnectivity, AppendsThePathToTheBaseAsItStands) {
    const std::pair<const char*, const char*> rows[] = {
        {"http://h", "http://h/graphql"},
        {"http://h/", "http://h//graphql"},
        {"http://h/base", "http://h/base/graphql"},
    };
    for (const auto& [base, expected] : rows) {
        const SharedDefaults at(std::make_unique<platform::testing::InMemoryUserDefaults>(), base);
        const VelaServerConnectivity there(at, keychains, [] { return nullptr; });
        EXPECT_EQ(there.makeRequest(Authentication::notAuthenticated).url.absoluteString(), expected);
    }
}

TEST_F(ServerConnectivity, StopsTheProcessOnABaseThatIsNoURL) {
    const SharedDefaults at(std::make_unique<platform::testing::InMemoryUserDefaults>(), "");
    const VelaServerConnectivity there(at, keychains, [] { return nullptr; });
    EXPECT_DEATH(there.makeRequest(Authentication::notAuthenticated), "base URL is not a URL");
}

TEST_F(ServerConnectivity, ClassifiesEveryReply) {
    struct Row {
        int status;
        const char* body;
        const char* expected;
    };
    const Row rows[] = {
        {200, emptyData, "nothing"},
        {500, emptyData, "nothing"},
        {403, emptyData, "nothing"},
        {301, emptyData, "nothing"},
        {401, emptyData, "UnauthorizedError"},
        {401, "not JSON", "UnauthorizedError"},
        {200, "not JSON", "JSONError"},
        {200, "", "JSONError"},
        {200, R"({"data":)", "JSONError"},
        {200, R"({"errors":[{"message":"Unauthorized: expired"}],"data":{"__typename":"Query"}})",
         "UnauthorizedError"},
        {200, R"({"errors":[{"message":"Unauthorized"}]})", "UnauthorizedError"},
        {200, R"({"errors":[{"message":"other"},{"message":"Unauthorized!"}]})", "UnauthorizedError"},
        {200, R"({"errors":[{"message":7},{"message":"Unauthorized"}]})", "UnauthorizedError"},
        {200, R"({"errors":[{"message":"Unauthorized\u00E9"}]})", "UnauthorizedError"},
        {200, R"({"errors":[{"message":"Unauthorized\uD83D\uDCE6"}]})", "UnauthorizedError"},
        {200, R"({"errors":[{"message":"Unauthorized\u0301: expired"}],"data":{"__typename":"Query"}})",
         "nothing"},
        {200, R"({"errors":[{"message":"Unauthorized\u200D"}],"data":{"__typename":"Query"}})", "nothing"},
        {200, R"({"errors":[{"message":"User is Unauthorized"}],"data":{"__typename":"Query"}})", "nothing"},
        {200, R"({"errors":[{"message":"unauthorized"}],"data":{"__typename":"Query"}})", "nothing"},
        {200, R"({"errors":["Unauthorized",{"message":"Unauthorized"}],"data":{"__typename":"Query"}})",
         "nothing"},
        {200, R"({"errors":{"message":"Unauthorized"},"data":{"__typename":"Query"}})", "nothing"},
        {200, R"({"errors":[],"data":{"__typename":"Query"}})", "nothing"},
        {200, R"({"errors":null,"data":{"__typename":"Query"}})", "nothing"},
        {200, R"({"data":null})", "AnyError(GraphQLError)"},
        {200, R"({"data":[]})", "AnyError(GraphQLError)"},
        {200, R"({"data":"x"})", "AnyError(GraphQLError)"},
        {200, "{}", "AnyError(GraphQLError)"},
        {200, "[]", "AnyError(GraphQLError)"},
        {200, "null", "AnyError(GraphQLError)"},
        {200, "7", "AnyError(GraphQLError)"},
        {200, R"({"data":{}})", "decoding error"},
        {200, R"({"data":{"__typename":7}})", "decoding error"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(raised(row.status, row.body), row.expected) << row.status << row.body;
}

TEST_F(ServerConnectivity, RaisesGraphQLErrorForAReplyThatIsNotHTTP) {
    session->answerWithoutHTTP(emptyData);
    EXPECT_THROW(query(), AnyError);
}

TEST_F(ServerConnectivity, PassesTransportErrorsOnUnchanged) {
    session->answer(platform::URLErrorCode::timedOut);
    try {
        query();
        ADD_FAILURE() << "nothing was raised";
    } catch (const platform::URLError& error) {
        EXPECT_EQ(error.code(), platform::URLErrorCode::timedOut);
    }
}

TEST_F(ServerConnectivity, MakesItsSessionOnFirstPerformAndKeepsIt) {
    EXPECT_EQ(sessionsMade, 0);
    connectivity->makeRequest(Authentication::authenticated);
    EXPECT_EQ(sessionsMade, 0);
    for (int time = 0; time < 3; ++time) {
        session->answer(200, emptyData);
        query();
    }
    EXPECT_EQ(sessionsMade, 1);
    EXPECT_EQ(session->requests().size(), 3u);
}

}  // namespace
}  // namespace server
