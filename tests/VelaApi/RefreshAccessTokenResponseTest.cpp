// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/RefreshAccessTokenResponse.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/JSON/Coding.hpp"
#include "tests/VelaApi/JSON.hpp"
#include "tests/VelaApi/Sample.hpp"

namespace VelaApi {
namespace {

using AccessTokenRefresh = RefreshAccessTokenResponse::AccessTokenRefresh;
using AuthPayload = AccessTokenRefresh::AuthPayload;
using UserErrors = AccessTokenRefresh::UserErrors;

RefreshAccessTokenResponse decoded(const boost::json::value& data) {
    return responseFrom<RefreshAccessTokenResponse>(data.get_object());
}

TEST(RefreshAccessTokenResponse, IsDecodedFieldByField) {
    const RefreshAccessTokenResponse expected{
        .accessTokenRefresh = {.authPayload = AuthPayload{.accessToken = "access", .refreshToken = "refresh"},
                               .userErrors = {UserErrors{.message = "invalid_refresh_token"}}}};
    EXPECT_EQ(decoded(json::parsed(sample::refreshAccessToken)), expected);
}

TEST(RefreshAccessTokenResponse, IsEncodedBackToTheSameKeysInOrder) {
    const boost::json::value data = json::parsed(sample::refreshAccessToken);
    EXPECT_EQ(json::text(fields(decoded(data), FragmentCollapsing::keepFragments)), json::text(data));
    EXPECT_EQ(json::text(fields(decoded(data), FragmentCollapsing::collapseFragments)), json::text(data));
}

TEST(RefreshAccessTokenResponse, TakesANullPayloadBesideAUserError) {
    const RefreshAccessTokenResponse response = decoded(json::parsed(R"({
        "accessTokenRefresh": {"authPayload": null, "userErrors": [{"message": "no", "__typename": "UserError"}],
                               "__typename": "AccessTokenRefreshPayload"},
        "__typename": "Mutation"})"));
    EXPECT_EQ(response.accessTokenRefresh.authPayload, std::nullopt);
    EXPECT_THAT(response.accessTokenRefresh.userErrors, testing::ElementsAre(UserErrors{.message = "no"}));
}

TEST(RefreshAccessTokenResponse, LacksNothingButThePayload) {
    for (const std::string& path : json::paths(json::parsed(sample::refreshAccessToken))) {
        boost::json::value without = json::parsed(sample::refreshAccessToken);
        json::erase(without, path);
        boost::json::value nullified = json::parsed(sample::refreshAccessToken);
        json::at(nullified, path) = nullptr;
        if (path == "/accessTokenRefresh/authPayload") {
            EXPECT_EQ(decoded(without).accessTokenRefresh.authPayload, std::nullopt);
            EXPECT_EQ(decoded(without), decoded(nullified));
        } else {
            EXPECT_THROW(decoded(without), platform::DecodingError) << path;
            EXPECT_THROW(decoded(nullified), platform::DecodingError) << path;
        }
    }
}

TEST(RefreshAccessTokenResponse, FailsForANumberWhereATextIsExpected) {
    for (const std::string& path : json::paths(json::parsed(sample::refreshAccessToken))) {
        boost::json::value data = json::parsed(sample::refreshAccessToken);
        json::at(data, path) = 1;
        EXPECT_THROW(decoded(data), platform::DecodingError) << path;
    }
}

TEST(RefreshAccessTokenResponse, AnErrorNeverHoldsAToken) {
    boost::json::value data = json::parsed(sample::refreshAccessToken);
    json::at(data, "/accessTokenRefresh/authPayload") = {{"accessToken", "secret"}, {"refreshToken", 5}};
    try {
        decoded(data);
        FAIL();
    } catch (const platform::DecodingError& error) {
        EXPECT_EQ(std::string(error.what()).find("secret"), std::string::npos);
        EXPECT_THAT(error.codingPath(),
                    testing::ElementsAre("accessTokenRefresh", "authPayload", "refreshToken"));
    }
}

TEST(RefreshAccessTokenResponse, ConstructorsNameTheSchemasTypes) {
    const RefreshAccessTokenResponse response{.accessTokenRefresh = {.userErrors = {}}};
    EXPECT_EQ(response.typename_, "Mutation");
    EXPECT_EQ(response.accessTokenRefresh.typename_, "AccessTokenRefreshPayload");
    const AuthPayload payload{.accessToken = "", .refreshToken = ""};
    EXPECT_EQ(payload.typename_, "Auth");
    EXPECT_EQ(UserErrors{.message = ""}.typename_, "UserError");
}

}  // namespace
}  // namespace VelaApi
