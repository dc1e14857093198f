// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/Module.hpp"

#include "VelaApi/Sources/VelaApi/DorvoSupport/DateRules.hpp"

namespace VelaApi {

static_assert(GraphModule<Module>);

platform::JSONEncoder Module::customEncoder() {
    return platform::JSONEncoder(encodeDate);
}

platform::JSONDecoder Module::customDecoder() {
    return platform::JSONDecoder(decodedDate);
}

std::shared_ptr<BaseCustomScalarResolver>& Module::customScalarResolver() {
    static auto resolver = std::make_shared<BaseCustomScalarResolver>();
    return resolver;
}

}  // namespace VelaApi
