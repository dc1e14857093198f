// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/RefreshAccessTokenMutation.hpp"

#include "VelaApi/Sources/VelaApi/Module.hpp"

namespace VelaApi {
namespace {

constexpr std::string_view mutationText =
    "mutation RefreshAccessToken($refreshToken: String!) { __typename "
    "accessTokenRefresh(refreshToken: $refreshToken) { __typename authPayload { __typename "
    "accessToken refreshToken } userErrors { __typename message } } }";
static_assert(mutationText.size() == 215);

}  // namespace

static_assert(GraphApiQuery<RefreshAccessTokenMutation> && ResponseAssociable<RefreshAccessTokenMutation>);

std::string_view RefreshAccessTokenMutation::queryString() {
    return mutationText;
}

const platform::JSONEncoder& RefreshAccessTokenMutation::customEncoder() {
    static const platform::JSONEncoder encoder = Module::customEncoder();
    return encoder;
}

template boost::json::object variables<RefreshAccessTokenMutation>(
    const RefreshAccessTokenMutation& operation);

}  // namespace VelaApi
