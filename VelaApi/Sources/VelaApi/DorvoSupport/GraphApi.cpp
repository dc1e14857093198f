// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/DorvoSupport/GraphApi.hpp"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <utility>

#include "platform/JSON/JSONSerialization.hpp"
#include "platform/Log/Logger.hpp"

namespace VelaApi {
namespace {

constexpr std::string_view sourceFile = "VelaApi/Sources/VelaApi/DorvoSupport/GraphApi";

}  // namespace

std::string printedName(const std::type_info& type) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
    return name ? name.get() : type.name();
}

boost::json::object parsedDictionary(std::string_view text) {
    boost::json::value value = platform::JSONSerialization::JSONObjectWithData(text);
    if (boost::json::object* dictionary = value.if_object()) return std::move(*dictionary);
    return {};
}

void logSerializationFailure(const GraphApiLogger* logger, const std::exception& error,
                             const std::type_info& operation) {
    if (!logger) return;
    logger->log("Error %s when serializing variables of %s", sourceFile, "variables", 36,
                {error.what(), printedName(operation)});
}

void logFieldsFailure(const GraphApiLogger* logger, const std::exception& error,
                      const std::type_info& response) {
    if (!logger) return;
    logger->log("Error %s when serializing %s to fields", sourceFile, "fields(collapsingFragments:)", 71,
                {error.what(), printedName(response)});
}

void stopForIndescribableOperation(const std::exception& error) {
    platform::fatalError(std::string("VelaApi/GraphApi:21: ") + error.what());
}

}  // namespace VelaApi
