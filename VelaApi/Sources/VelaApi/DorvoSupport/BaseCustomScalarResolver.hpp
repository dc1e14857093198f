// SPDX-License-Identifier: Apache-2.0

#pragma once

// The hook of a module whose schema has scalars of its own: reads or writes a scalar's raw form and leaves
// what it means to the resolver handed in, whose failures pass through unchanged. To be subclassed; has no
// state. Part of the interface of every schema, lists included, although this one has no such list.

#include <exception>
#include <optional>
#include <string_view>
#include <typeindex>
#include <vector>

#include "platform/JSON/Coding.hpp"

namespace VelaApi {

/// What a coding key of a module must be: a text, or a type that turns into one.
template <class Key>
concept CodingKey = std::convertible_to<Key, std::string_view>;

class BaseCustomScalarResolver {
  public:
    /// For a resolver to report a type that it cannot handle.
    struct ResolverError : std::exception {
        explicit ResolverError(std::type_index unresolved) : type(unresolved) {}
        const char* what() const noexcept override { return "A scalar's type could not be resolved"; }

        std::type_index type;
    };

    BaseCustomScalarResolver() = default;
    virtual ~BaseCustomScalarResolver() = default;

    template <class Value, class RawValue, CodingKey Key, class Resolver>
    Value decode(const Key& key, const platform::KeyedDecodingContainer& container,
                 const Resolver& resolver) const {
        return resolver(container.decode<RawValue>(key));
    }

    template <class Value, class RawValue, CodingKey Key, class Resolver>
    std::vector<Value> decodeList(const Key& key, const platform::KeyedDecodingContainer& container,
                                  const Resolver& resolver) const {
        std::vector<Value> values;
        for (RawValue& raw : container.decode<std::vector<RawValue>>(key)) {
            values.push_back(resolver(std::move(raw)));
        }
        return values;
    }

    template <class Value, class RawValue, CodingKey Key, class Resolver>
    std::optional<Value> decodeIfPresent(const Key& key, const platform::KeyedDecodingContainer& container,
                                         const Resolver& resolver) const {
        std::optional<RawValue> raw = container.decodeIfPresent<RawValue>(key);
        if (!raw) return std::nullopt;
        return resolver(*std::move(raw));
    }

    template <class RawValue, class Value, CodingKey Key, class Resolver>
    void encode(const Value& value, const Key& key, platform::KeyedEncodingContainer& container,
                const Resolver& resolver) const {
        container.encode<RawValue>(key, resolver(value));
    }

    template <class RawValue, class Value, CodingKey Key, class Resolver>
    void encodeList(const std::vector<Value>& values, const Key& key,
                    platform::KeyedEncodingContainer& container, const Resolver& resolver) const {
        std::vector<RawValue> raws;
        for (const Value& value : values) raws.push_back(resolver(value));
        container.encode(key, raws);
    }

    template <class RawValue, class Value, CodingKey Key, class Resolver>
    void encodeIfPresent(const std::optional<Value>& value, const Key& key,
                         platform::KeyedEncodingContainer& container, const Resolver& resolver) const {
        if (value) encode<RawValue>(*value, key, container, resolver);
    }
};

}  // namespace VelaApi
