// SPDX-License-Identifier: Apache-2.0

#pragma once

// What this client's module supplies to the GraphQL support library.

#include <memory>

#include "VelaApi/Sources/VelaApi/DorvoSupport/GraphApi.hpp"
#include "platform/JSON/Coding.hpp"

namespace VelaApi {

struct Module {
    /// A new encoder and a new decoder with the client's date rules.
    static platform::JSONEncoder customEncoder();
    static platform::JSONDecoder customDecoder();

    /// Made on first use and then shared. May be set, but not while another thread reads it.
    static std::shared_ptr<BaseCustomScalarResolver>& customScalarResolver();
};

}  // namespace VelaApi
