// SPDX-License-Identifier: Apache-2.0

#include "host/page/PageDoor.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace host {
namespace {

using platform::HTTPRequest;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

const PageDoor door = {.port = "4711", .token = "abcdefghijklmnopqrstuvwxyz012345"};
constexpr std::string_view within = "/abcdefghijklmnopqrstuvwxyz012345/";

HTTPRequest asking(std::string method, std::vector<platform::HTTPField> fields = {},
                   std::string target = std::string(within)) {
    fields.insert(fields.begin(), {"Host", "127.0.0.1:4711"});
    return {.method = std::move(method), .target = std::move(target), .fields = std::move(fields)};
}

int statusOf(const HTTPRequest& request) {
    const auto refusal = door.refusal(request);
    return refusal ? refusal->status : 200;
}

TEST(PageDoor, HasATokenOfItsOwnEachTime) {
    std::set<std::string> tokens;
    for (int count = 0; count < 100; ++count) tokens.insert(PageDoor::made(80).token);
    EXPECT_EQ(tokens.size(), 100U);
    for (const auto& token : tokens) EXPECT_THAT(token, MatchesRegex("[A-Za-z0-9_-]{32}"));
    EXPECT_EQ(door.address(), "http://127.0.0.1:4711" + std::string(within));
}

TEST(PageDoor, LetsInWhoHasTheToken) {
    EXPECT_EQ(statusOf(asking("GET")), 200);
    EXPECT_EQ(statusOf(asking("HEAD", {{"Sec-Fetch-Site", "none"}}, std::string(within) + "page.css")), 200);
    EXPECT_EQ(
        statusOf(asking("GET", {{"Origin", "http://127.0.0.1:4711"}, {"Sec-Fetch-Site", "same-origin"}})),
        200);
    EXPECT_EQ(door.pathWithin(within), "");
    EXPECT_EQ(door.pathWithin(std::string(within) + "a/b"), "a/b");
}

TEST(PageDoor, LetsInNobodyWithoutTheToken) {
    for (const std::string target :
         {"/", "", "*", "/favicon.ico", "//", "/abcdefghijklmnopqrstuvwxyz012345",
          "/abcdefghijklmnopqrstuvwxyz012346/", "/ABCDEFGHIJKLMNOPQRSTUVWXYZ012345/",
          "/abcdefghijklmnopqrstuvwxyz01234/", "/x/abcdefghijklmnopqrstuvwxyz012345/",
          "abcdefghijklmnopqrstuvwxyz012345/", "/abcdefghijklmnopqrstuvwxyz0123450/",
          "/%61bcdefghijklmnopqrstuvwxyz012345/", "http://127.0.0.1:4711/abcdefghijklmnopqrstuvwxyz012345/",
          "/?/abcdefghijklmnopqrstuvwxyz012345/"}) {
        EXPECT_EQ(statusOf(asking("GET", {}, target)), 404) << target;
        const auto refusal = door.refusal(asking("GET", {}, target));
        EXPECT_EQ(refusal->body.find(door.token), std::string::npos);
    }
}

TEST(PageDoor, LetsInNobodyWhoMeansAnotherHost) {
    for (const std::string host :
         {"", "evil.example:4711", "127.0.0.1", "127.0.0.1:80", "localhost.evil.example:4711"})
        EXPECT_EQ(statusOf({.method = "GET", .target = std::string(within), .fields = {{"Host", host}}}), 421)
            << host;
    EXPECT_EQ(statusOf({.method = "GET", .target = std::string(within)}), 421);
    EXPECT_EQ(statusOf(asking("GET", {{"Host", "127.0.0.1:4711"}})), 421);
    for (const std::string host : {"localhost:4711", "[::1]:4711"})
        EXPECT_EQ(statusOf({.method = "GET", .target = std::string(within), .fields = {{"Host", host}}}), 200)
            << host;
}

TEST(PageDoor, LetsInNoPageOfAnotherSite) {
    for (const std::string origin :
         {"null", "", "http://evil.example", "https://127.0.0.1:4711", "http://127.0.0.1:4712",
          "http://localhost:4711", "http://127.0.0.1:4711/"})
        EXPECT_EQ(statusOf(asking("GET", {{"Origin", origin}})), 403) << origin;
    for (const std::string site : {"cross-site", "same-site", "", "none, cross-site"})
        EXPECT_EQ(statusOf(asking("GET", {{"Sec-Fetch-Site", site}})), 403) << site;
    EXPECT_EQ(statusOf(asking("GET", {{"Sec-Fetch-Site", "none"}, {"sec-fetch-site", "cross-site"}})), 403);
}

TEST(PageDoor, HasSomethingDoneForItsOwnPageAlone) {
    const platform::HTTPField own = {"Origin", "http://127.0.0.1:4711"};
    EXPECT_EQ(statusOf(asking("POST", {own})), 200);
    EXPECT_EQ(statusOf(asking("POST")), 403);
    EXPECT_EQ(statusOf(asking("POST", {{"Origin", "http://evil.example"}})), 403);
    EXPECT_EQ(statusOf(asking("POST", {own}, "/x/reload")), 404);
    for (const std::string method : {"PUT", "DELETE", "OPTIONS", "TRACE", "CONNECT", "get", "PROPFIND"})
        EXPECT_EQ(statusOf(asking(method, {own})), 405) << method;
}

TEST(PageDoor, SaysInEveryAnswerWhatABrowserMayDoWithIt) {
    const auto response = pageResponse(200, "text/html", "");
    HTTPRequest fields = {.method = "", .target = "", .fields = response.fields};
    const auto policy = std::string(fields.values("Content-Security-Policy").at(0));
    EXPECT_THAT(policy, HasSubstr("default-src 'none'"));
    EXPECT_THAT(policy, HasSubstr("frame-ancestors 'none'"));
    for (const auto* loose : {"unsafe", "*", "http:", "https:", "data:; script"})
        EXPECT_EQ(policy.find(loose), std::string::npos) << loose;
    EXPECT_EQ(fields.values("Cache-Control").at(0), "no-store");
    EXPECT_EQ(fields.values("X-Frame-Options").at(0), "DENY");
    EXPECT_EQ(fields.values("Referrer-Policy").at(0), "no-referrer");
    EXPECT_TRUE(fields.values("Access-Control-Allow-Origin").empty());
    for (const auto& refused : {asking("GET", {}, "/"), asking("PUT"), asking("GET", {{"Origin", "null"}})})
        EXPECT_EQ(door.refusal(refused)->fields[2], response.fields[2]);
}

}  // namespace
}  // namespace host
