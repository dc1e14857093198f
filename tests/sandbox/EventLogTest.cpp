// SPDX-License-Identifier: Apache-2.0

#include <boost/json/array.hpp>

#include "tests/sandbox/RunningSandbox.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using tests::at;
using tests::RunningSandbox;
using tests::serving;
using tests::text;

TEST(EventLog, HoldsEveryRequestWithItsHeadersAsSpelledAndInOrder) {
    const RunningSandbox sandbox(serving("one"));
    sandbox.query();
    const auto request = at(sandbox.log(), "/requests/0");
    EXPECT_EQ(text(at(request, "/operation")), "TrackingWidget");
    EXPECT_EQ(text(at(request, "/outcome")), "answered");
    std::vector<std::string> names;
    const auto headers = at(request, "/headers");
    for (const auto& header : headers.as_array()) names.push_back(text(at(header, "/name")));
    EXPECT_THAT(names,
                testing::ElementsAre("Host", "Content-type", "Accept", "authorization", "Content-Length"));
}

TEST(EventLog, NeverHoldsACredential) {
    const RunningSandbox sandbox(serving("one"));
    sandbox.query();
    sandbox.query({"pontal-server-session-id", "sandbox-session"});
    const auto renewed = sandbox.refresh("sandbox-refresh").json();
    const std::string access = text(at(renewed, "/data/accessTokenRefresh/authPayload/accessToken"));
    sandbox.query({"authorization", "Bearer " + access});
    const std::string log = sandbox.get("/events").body;
    for (const std::string& secret : {std::string("sandbox-access"), std::string("sandbox-refresh"),
                                      std::string("sandbox-session"), access}) {
        EXPECT_THAT(log, testing::Not(HasSubstr(secret)));
    }
    EXPECT_THAT(log, HasSubstr("hash:"));
}

}  // namespace
