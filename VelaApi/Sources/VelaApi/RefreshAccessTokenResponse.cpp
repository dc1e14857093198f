// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/RefreshAccessTokenResponse.hpp"

#include "VelaApi/Sources/VelaApi/Module.hpp"

namespace VelaApi {

static_assert(GraphApiResponse<RefreshAccessTokenResponse>);

const platform::JSONDecoder& RefreshAccessTokenResponse::customDecoder() {
    static const platform::JSONDecoder decoder = Module::customDecoder();
    return decoder;
}

const platform::JSONEncoder& RefreshAccessTokenResponse::customEncoder() {
    static const platform::JSONEncoder encoder = Module::customEncoder();
    return encoder;
}

template RefreshAccessTokenResponse responseFrom<RefreshAccessTokenResponse>(boost::json::object data,
                                                                             platform::BoundedMemory* memory);
template boost::json::object fields<RefreshAccessTokenResponse>(const RefreshAccessTokenResponse& response,
                                                                FragmentCollapsing collapsing);

}  // namespace VelaApi
