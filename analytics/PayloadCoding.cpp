// SPDX-License-Identifier: Apache-2.0

#include "analytics/PayloadCoding.hpp"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "analytics/DynamicCodingKeys.hpp"
#include "analytics/SnakeCase.hpp"
#include "platform/JSON/CodingError.hpp"

namespace analytics {

namespace json = boost::json;
using platform::CodingPath;

namespace {

json::value encoded(const PayloadValue& value, const CodingPath& container, const DynamicCodingKeys& key);

/// The value as the first of `Types` that it holds, made a `Result`.
template <typename Result, typename... Types>
std::optional<Result> held(const PayloadValue& value) {
    std::optional<Result> result;
    const auto tryType = [&]<typename Type>(const Type* content) {
        if (content) result.emplace(*content);
        return content != nullptr;
    };
    (tryType(std::any_cast<Types>(&value)) || ...);
    return result;
}

using Encoded = std::optional<json::value>;

Encoded text(const PayloadValue& value, const CodingPath&) {
    const auto text = held<std::string_view, std::string, std::string_view, const char*>(value);
    if (!text) return std::nullopt;
    return json::value(json::string_view(text->data(), text->size()));
}

Encoded signedInteger(const PayloadValue& value, const CodingPath&) {
    return held<std::int64_t, int, long, long long>(value);
}

Encoded number(const PayloadValue& value, const CodingPath&) {
    return held<double, double>(value);
}

Encoded boolean(const PayloadValue& value, const CodingPath&) {
    return held<bool, bool>(value);
}

Encoded dictionary(const PayloadValue& value, const CodingPath& path) {
    const auto* entries = std::any_cast<PayloadDictionary>(&value);
    if (!entries) return std::nullopt;
    json::object object;
    for (const auto& [name, entry] : *entries)
        object[encoderSnakeCased(name)] = encoded(entry, path, DynamicCodingKeys::name(name));
    return object;
}

Encoded array(const PayloadValue& value, const CodingPath& path) {
    const auto* elements = std::any_cast<PayloadArray>(&value);
    if (!elements) return std::nullopt;
    json::array list;
    for (const auto& element : *elements)
        list.push_back(encoded(element, path, DynamicCodingKeys::index(list.size())));
    return list;
}

/// In order of trial: the first kind that fits decides.
constexpr std::array kinds = {text, signedInteger, number, boolean, dictionary, array};

json::value encoded(const PayloadValue& value, const CodingPath& container, const DynamicCodingKeys& key) {
    const auto path = key.after(container);
    for (const auto kind : kinds)
        if (auto result = kind(value, path)) return *std::move(result);
    throw platform::EncodingError("Invalid value type", container.components());
}

}  // namespace

json::object encodedPayload(const Payload& payload, const platform::CodingPath& path) {
    json::object object;
    for (const auto& [name, value] : payload)
        object[encoderSnakeCased(name)] =
            value ? encoded(*value, path, DynamicCodingKeys::name(name)) : json::value(nullptr);
    return object;
}

}  // namespace analytics
