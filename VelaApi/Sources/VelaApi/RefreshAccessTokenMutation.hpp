// SPDX-License-Identifier: Apache-2.0

#pragma once

// Asks for a new pair of tokens in exchange for a refresh token. A plain value.

#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "VelaApi/Sources/VelaApi/DorvoSupport/GraphApi.hpp"
#include "VelaApi/Sources/VelaApi/RefreshAccessTokenResponse.hpp"
#include "platform/JSON/Coding.hpp"

namespace VelaApi {

class RefreshAccessTokenMutation {
  public:
    using Response = RefreshAccessTokenResponse;

    explicit RefreshAccessTokenMutation(std::string refreshToken) : refreshToken_(std::move(refreshToken)) {}

    const std::string& refreshToken() const { return refreshToken_; }

    static std::string_view queryString();
    /// None: the text is the whole description of the request.
    static std::optional<GraphSelections::Operation> operationSelections() { return std::nullopt; }
    /// Made on first use, and then shared by all operations of this type.
    static const platform::JSONEncoder& customEncoder();

    static constexpr auto fields() {
        return std::tuple(platform::field("refreshToken", &RefreshAccessTokenMutation::refreshToken_));
    }

    bool operator==(const RefreshAccessTokenMutation&) const = default;

  private:
    std::string refreshToken_;
};

extern template boost::json::object variables<RefreshAccessTokenMutation>(
    const RefreshAccessTokenMutation& operation);

}  // namespace VelaApi
