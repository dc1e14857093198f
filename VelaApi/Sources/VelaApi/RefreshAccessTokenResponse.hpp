// SPDX-License-Identifier: Apache-2.0

#pragma once

// The answer to RefreshAccessTokenMutation: a new pair of tokens, or what the user did wrong. Plain values;
// the member `typename_` is "__typename" on the wire and, where none is given, the name of the type in the
// schema.

#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "VelaApi/Sources/VelaApi/DorvoSupport/GraphApi.hpp"
#include "platform/JSON/Coding.hpp"

namespace VelaApi {

using platform::field;

struct RefreshAccessTokenResponse {
    struct AccessTokenRefresh {
        struct AuthPayload {
            std::string accessToken;
            std::string refreshToken;
            std::string typename_ = "Auth";

            static constexpr auto fields() {
                return std::tuple(field("accessToken", &AuthPayload::accessToken),
                                  field("refreshToken", &AuthPayload::refreshToken),
                                  field("__typename", &AuthPayload::typename_));
            }

            bool operator==(const AuthPayload&) const = default;
        };

        struct UserErrors {
            std::string message;
            std::string typename_ = "UserError";

            static constexpr auto fields() {
                return std::tuple(field("message", &UserErrors::message),
                                  field("__typename", &UserErrors::typename_));
            }

            bool operator==(const UserErrors&) const = default;
        };

        std::optional<AuthPayload> authPayload = std::nullopt;
        std::vector<UserErrors> userErrors;
        std::string typename_ = "AccessTokenRefreshPayload";

        static constexpr auto fields() {
            return std::tuple(field("authPayload", &AccessTokenRefresh::authPayload),
                              field("userErrors", &AccessTokenRefresh::userErrors),
                              field("__typename", &AccessTokenRefresh::typename_));
        }

        bool operator==(const AccessTokenRefresh&) const = default;
    };

    AccessTokenRefresh accessTokenRefresh;
    std::string typename_ = "Mutation";

    static constexpr auto fields() {
        return std::tuple(field("accessTokenRefresh", &RefreshAccessTokenResponse::accessTokenRefresh),
                          field("__typename", &RefreshAccessTokenResponse::typename_));
    }

    /// Made on first use, and then shared by all uses of this type.
    static const platform::JSONDecoder& customDecoder();
    static const platform::JSONEncoder& customEncoder();

    bool operator==(const RefreshAccessTokenResponse&) const = default;
};

extern template RefreshAccessTokenResponse responseFrom<RefreshAccessTokenResponse>(
    boost::json::object data, platform::BoundedMemory* memory);
extern template boost::json::object fields<RefreshAccessTokenResponse>(
    const RefreshAccessTokenResponse& response, FragmentCollapsing collapsing);

}  // namespace VelaApi
