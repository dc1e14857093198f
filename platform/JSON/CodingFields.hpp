// SPDX-License-Identifier: Apache-2.0

#pragma once

// The one list from which a record is decoded and encoded. A record is an aggregate with a static `fields()`
// that returns a tuple of its members, all of them, in the order of their declaration:
//
//     struct Shop {
//         std::string name;
//         std::optional<URL> logo = std::nullopt;
//         static constexpr auto fields() {
//             return std::tuple(platform::field("name", &Shop::name), platform::field("logo", &Shop::logo));
//         }
//     };

#include <optional>
#include <string_view>
#include <type_traits>

namespace platform {

template <class Record, class Value>
struct CodingField {
    using ValueType = Value;
    std::string_view key;
    Value Record::*member;
};

template <class Record, class Value>
constexpr CodingField<Record, Value> field(std::string_view key, Value Record::*member) {
    return {key, member};
}

template <class T>
concept HasFields = requires {
    T::fields();
};

template <class T>
constexpr bool isOptional = false;
template <class T>
constexpr bool isOptional<std::optional<T>> = true;

}  // namespace platform
