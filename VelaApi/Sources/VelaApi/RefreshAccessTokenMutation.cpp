#include "VelaApi/Sources/VelaApi/RefreshAccessTokenMutation.hpp"

#include "VelaApi/Sources/VelaApi/Module.hpp"

namespace VelaApi {
namespace {

constexpr std::string_view text =
    "mutation RefreshAccessToken($refreshToken: String!) { __typename "
    "accessTokenRefresh(refreshToken: $refreshToken) { __typename authPayload { __typename "
    "accessToken refreshToken } userErrors { __typename message } } }";
static_assert(text.size() == 215);

}  // namespace

static_assert(GraphApiQuery<RefreshAccessTokenMutation> && ResponseAssociable<RefreshAccessTokenMutation>);

std::string_view RefreshAccessTokenMutation::queryString() {
    return text;
}

const platform::JSONEncoder& RefreshAccessTokenMutation::customEncoder() {
    static const platform::JSONEncoder encoder = Module::customEncoder();
    return encoder;
}

template boost::json::object variables<RefreshAccessTokenMutation>(
    const RefreshAccessTokenMutation& operation);

}  // namespace VelaApi
