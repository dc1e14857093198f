// SPDX-License-Identifier: Apache-2.0

#pragma once

// The GraphQL support library of every client module: what an operation is, how its variables become JSON,
// and how the "data" of an answer becomes a typed response and a dictionary again.
//
// An operation and a response type supply type-level functions; see the concepts. Where a type has no
// `errorLogger()`, errors that reach no caller are dropped.

#include <boost/json/value.hpp>
#include <concepts>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "VelaApi/Sources/VelaApi/DorvoSupport/BaseCustomScalarResolver.hpp"
#include "VelaApi/Sources/VelaApi/DorvoSupport/FragmentCollapsing.hpp"
#include "VelaApi/Sources/VelaApi/DorvoSupport/GraphApiLogger.hpp"
#include "VelaApi/Sources/VelaApi/DorvoSupport/GraphSelections.hpp"
#include "platform/JSON/Coding.hpp"

namespace VelaApi {

/// An operation: its text, and encoding it yields exactly its variables.
template <class Operation>
concept GraphApiQuery = platform::Encodable<Operation> && requires(const Operation& operation) {
    { operation.queryString() } -> std::convertible_to<std::string_view>;
    { Operation::operationSelections() } -> std::convertible_to<std::optional<GraphSelections::Operation>>;
    { Operation::customEncoder() } -> std::convertible_to<const platform::JSONEncoder&>;
};

/// A response record.
template <class Response>
concept GraphApiResponse = platform::Decodable<Response> && platform::Encodable<Response> && requires {
    { Response::customDecoder() } -> std::convertible_to<const platform::JSONDecoder&>;
    { Response::customEncoder() } -> std::convertible_to<const platform::JSONEncoder&>;
};

/// An operation that is tied to the response that its "data" decodes into.
template <class Operation>
concept ResponseAssociable = GraphApiResponse<typename Operation::Response>;

template <ResponseAssociable Operation>
using ResponseOf = typename Operation::Response;

/// What a client module's own type supplies; the resolver is settable.
template <class Module>
concept GraphModule = requires {
    { Module::customEncoder() } -> std::convertible_to<platform::JSONEncoder>;
    { Module::customDecoder() } -> std::convertible_to<platform::JSONDecoder>;
    { Module::customScalarResolver() } -> std::same_as<std::shared_ptr<BaseCustomScalarResolver>&>;
};

/// The logger that `Type` supplies; null for none.
template <class Type>
const GraphApiLogger* errorLogger() {
    if constexpr (requires { Type::errorLogger(); }) {
        return Type::errorLogger();
    } else {
        return nullptr;
    }
}

/// A type's name as the source spells it.
std::string printedName(const std::type_info& type);

/// `text` as a dictionary; an empty one when it is some other JSON value. Throws platform::JSONError.
boost::json::object parsedDictionary(std::string_view text);

void logSerializationFailure(const GraphApiLogger* logger, const std::exception& error,
                             const std::type_info& operation);
void logFieldsFailure(const GraphApiLogger* logger, const std::exception& error,
                      const std::type_info& response);
[[noreturn]] void stopForIndescribableOperation(const std::exception& error);

/// The operation's variables by name. Never throws: an operation that cannot be encoded has none.
template <GraphApiQuery Operation>
boost::json::object variables(const Operation& operation) {
    try {
        return parsedDictionary(Operation::customEncoder().encode(operation));
    } catch (const std::exception& error) {
        logSerializationFailure(errorLogger<Operation>(), error, typeid(Operation));
        return {};
    }
}

/// The operation's text with the JSON of its variables right behind it. An operation that cannot be encoded
/// stops the process.
template <GraphApiQuery Operation>
std::string description(const Operation& operation) {
    try {
        return std::string(operation.queryString()) + Operation::customEncoder().encode(operation);
    } catch (const std::exception& error) {
        stopForIndescribableOperation(error);
    }
}

/// The response that `data` holds. Throws platform::JSONError when `data` cannot be written as JSON,
/// platform::DecodingError when it is not what the response type asks for, and platform::MemoryLimitExceeded
/// when the response does not fit into `memory`, where one is given.
template <GraphApiResponse Response>
Response responseFrom(boost::json::object data, platform::BoundedMemory* memory = nullptr) {
    const boost::json::value dictionary(std::move(data));
    // Read as it stands: its text would read the same, and cost a second tree.
    platform::JSONSerialization::requireWritable(dictionary);
    return Response::customDecoder().template decodeValue<Response>(dictionary, memory);
}

/// The response as a dictionary. Never throws: a response that cannot be encoded has no fields.
template <GraphApiResponse Response>
boost::json::object fields(const Response& response, FragmentCollapsing collapsing) {
    try {
        boost::json::object all = parsedDictionary(Response::customEncoder().encode(response));
        return collapsing == FragmentCollapsing::collapseFragments ? collapsed(all) : all;
    } catch (const std::exception& error) {
        logFieldsFailure(errorLogger<Response>(), error, typeid(Response));
        return {};
    }
}

}  // namespace VelaApi
