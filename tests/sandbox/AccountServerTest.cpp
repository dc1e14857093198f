// SPDX-License-Identifier: Apache-2.0

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

#include "tests/sandbox/RunningSandbox.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using sandbox::HeaderField;
using testing::HasSubstr;
using tests::at;
using tests::Reply;
using tests::RunningSandbox;
using tests::serving;
using tests::text;

const std::vector<HeaderField> jsonHeaders = tests::signedInHeaders();

std::size_t nodeCount(const Reply& reply) {
    const auto nodes = at(reply.json(), "/data/deliveriesOrdersList/nodes");
    return nodes.as_array().size();
}

TEST(AccountServer, AnswersTheQueryOfASignedInPerson) {
    const RunningSandbox sandbox(serving("everyday"));
    const Reply reply = sandbox.query();
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.value("Content-Type"), "application/json");
    EXPECT_EQ(nodeCount(reply), 10u);
    EXPECT_EQ(text(at(reply.json(), "/data/__typename")), "Query");
}

TEST(AccountServer, BoundsPicturesOfShopsAndProductsByTheVariable) {
    const RunningSandbox sandbox(serving("one"));
    const auto reply = sandbox.query().json();
    const std::string bounds = "?maxWidth=192&maxHeight=192";
    EXPECT_EQ(text(at(reply, "/data/deliveriesOrdersList/nodes/0/shop/visualTheme/logoImage/url")),
              sandbox.baseURL() + "/pictures/logos/orchard.png" + bounds);
    EXPECT_EQ(text(at(reply, "/data/deliveriesOrdersList/nodes/0/lineItems/nodes/0/image/url")),
              sandbox.baseURL() + "/pictures/products/headphones.png" + bounds);
}

TEST(AccountServer, LeavesPicturesOfCarriersUnbounded) {
    const RunningSandbox sandbox(serving("every-delivery-status"));
    EXPECT_EQ(
        text(at(sandbox.query().json(), "/data/deliveriesOrdersList/nodes/0/tracker/carrierInfo/imageUrl")),
        sandbox.baseURL() + "/pictures/carriers/swift.png");
}

TEST(AccountServer, AcceptsTheSessionOfAnOlderInstallation) {
    const RunningSandbox sandbox(serving("one"));
    EXPECT_EQ(sandbox.query({"pontal-server-session-id", "sandbox-session"}).status, 200);
    EXPECT_EQ(sandbox.query({"pontal-server-session-id", "another"}).status, 401);
}

TEST(AccountServer, RefusesAMissingOrWrongCredential) {
    const RunningSandbox sandbox(serving("one"));
    const HeaderField credentials[] = {{},
                                       {"authorization", "Bearer wrong"},
                                       {"authorization", "sandbox-access"},
                                       {"authorization", "bearer sandbox-access"}};
    for (const HeaderField& credential : credentials) {
        const Reply reply = sandbox.query(credential);
        EXPECT_EQ(reply.status, 401) << credential.value;
        EXPECT_TRUE(at(reply.json(), "/data").is_null()) << credential.value;
    }
}

TEST(AccountServer, RefusesWithAGraphQLErrorBySwitch) {
    sandbox::SandboxOptions options = serving("one");
    options.refusal = sandbox::Refusal::graphQLError;
    const RunningSandbox sandbox(options);
    const Reply reply = sandbox.query({"authorization", "Bearer wrong"});
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(text(at(reply.json(), "/errors/0/message")).rfind("Unauthorized: ", 0), 0u);
}

TEST(AccountServer, RotatesTheTokenPair) {
    const RunningSandbox sandbox(serving("one"));
    const auto reply = sandbox.refresh("sandbox-refresh").json();
    const std::string access = text(at(reply, "/data/accessTokenRefresh/authPayload/accessToken"));
    const std::string refresh = text(at(reply, "/data/accessTokenRefresh/authPayload/refreshToken"));
    EXPECT_EQ(at(reply, "/data/accessTokenRefresh/userErrors"), boost::json::value(boost::json::array()));
    EXPECT_EQ(sandbox.query().status, 401) << "the old access token is worth nothing any more";
    EXPECT_EQ(sandbox.query({"authorization", "Bearer " + access}).status, 200);

    const auto again = sandbox.refresh("sandbox-refresh").json();
    EXPECT_TRUE(at(again, "/data/accessTokenRefresh/authPayload").is_null());
    EXPECT_EQ(text(at(again, "/data/accessTokenRefresh/userErrors/0/message")), "invalid_refresh_token");

    const auto next = sandbox.refresh(refresh).json();
    EXPECT_NE(text(at(next, "/data/accessTokenRefresh/authPayload/refreshToken")), refresh);
}

TEST(AccountServer, RenewsAnExpiredToken) {
    const RunningSandbox sandbox(serving("expired-token"));
    EXPECT_EQ(sandbox.query().status, 401);
    const auto reply = sandbox.refresh("sandbox-refresh").json();
    const std::string access = text(at(reply, "/data/accessTokenRefresh/authPayload/accessToken"));
    EXPECT_EQ(sandbox.query({"authorization", "Bearer " + access}).status, 200);
}

TEST(AccountServer, KnowsNoTokenOfASignedOutPerson) {
    const RunningSandbox sandbox(serving("signed-out"));
    EXPECT_EQ(sandbox.query().status, 401);
    const auto reply = sandbox.refresh("sandbox-refresh").json();
    EXPECT_EQ(text(at(reply, "/data/accessTokenRefresh/userErrors/0/message")), "invalid_refresh_token");
}

TEST(AccountServer, ShowsMoreThanTenItemsTenAtATime) {
    const RunningSandbox sandbox(serving("every-order-status"));
    EXPECT_EQ(nodeCount(sandbox.query()), 10u);
    EXPECT_EQ(nodeCount(sandbox.query()), 10u);
    EXPECT_EQ(nodeCount(sandbox.query()), 5u);
    EXPECT_EQ(text(at(sandbox.query().json(), "/data/deliveriesOrdersList/nodes/0/displayStatus")),
              "attempted_delivery");
}

struct BadRequest {
    std::string name;
    std::string method;
    std::string target;
    std::vector<HeaderField> headers;
    std::string body;
    int status;
    std::string reason;
};

std::string withQuery(const std::string& query) {
    return boost::json::serialize(
        boost::json::object{{"query", query}, {"variables", boost::json::object{{"maxImageSize", 192}}}});
}

TEST(AccountServer, SaysWhatIsWrongWithARequest) {
    const RunningSandbox sandbox(serving("one"));
    const std::string good = tests::queryBody();
    const BadRequest requests[] = {
        {"method", "PUT", "/graphql", jsonHeaders, good, 405, "method"},
        {"path", "POST", "//graphql", jsonHeaders, good, 404, "nothing"},
        {"content type", "POST", "/graphql", {{"Content-type", "text/plain"}}, good, 415, "content type"},
        {"no content type", "POST", "/graphql", {}, good, 415, "content type"},
        {"no JSON", "POST", "/graphql", jsonHeaders, "{", 400, "JSON"},
        {"an array", "POST", "/graphql", jsonHeaders, "[]", 400, "JSON object"},
        {"a key too few", "POST", "/graphql", jsonHeaders, "{\"query\": \"\"}", 400, "exactly"},
        {"a key too many", "POST", "/graphql", jsonHeaders, good.substr(0, good.size() - 1) + ",\"x\":1}",
         400, "exactly"},
        {"another operation", "POST", "/graphql", jsonHeaders, withQuery("query Other { __typename }"), 400,
         "Unknown operation"},
        {"another text", "POST", "/graphql", jsonHeaders,
         withQuery("query TrackingWidget($maxImageSize: Int!) {  __typename }"), 400, "from character 44 on"},
    };
    for (const BadRequest& request : requests) {
        tests::Connection connection(sandbox.baseURL());
        connection.send(tests::requestText(request.method, request.target, request.headers, request.body));
        const Reply reply = connection.receive();
        EXPECT_EQ(reply.status, request.status) << request.name;
        EXPECT_THAT(reply.body, HasSubstr(request.reason)) << request.name;
    }
}

TEST(AccountServer, RefusesAWrongVariable) {
    const RunningSandbox sandbox(serving("one"));
    const std::string good = tests::queryBody();
    const auto withVariables = [&good](const std::string& variables) {
        return good.substr(0, good.rfind("{\"maxImageSize\"")) + variables + "}";
    };
    for (const std::string variables : {"{}", "{\"maxImageSize\":\"192\"}", "{\"maxImageSize\":0}",
                                        "{\"maxImageSize\":4294967296}", "{\"maxImageSize\":192,\"x\":1}"}) {
        EXPECT_EQ(sandbox.post("/graphql", jsonHeaders, withVariables(variables)).status, 400) << variables;
    }
}

}  // namespace
