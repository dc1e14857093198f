// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/JSON/Coding.hpp"

namespace VelaApi {

/// The platform's encoder and decoder under the library's own names.
struct GraphQLEncoder : platform::JSONEncoder {
    using JSONEncoder::JSONEncoder;
};
struct GraphQLDecoder : platform::JSONDecoder {
    using JSONDecoder::JSONDecoder;
};

}  // namespace VelaApi
