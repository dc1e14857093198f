// SPDX-License-Identifier: Apache-2.0

#pragma once

// What the enumerations of the schema have in common. Each is an `enum class` whose last case is
// `unknownValue`, and a specialisation of `wireValues` that lists all cases in order with their texts on the
// wire.

#include <array>
#include <concepts>
#include <cstddef>
#include <optional>
#include <string_view>
#include <type_traits>
#include <vector>

#include "platform/JSON/Coding.hpp"

namespace VelaApi {

template <class Enumeration>
struct WireValue {
    Enumeration value;
    std::string_view text;
};

/// The empty table of a type that is no enumeration of the schema.
template <class Enumeration>
constexpr std::array<WireValue<Enumeration>, 0> wireValues{};

/// Every case once, in the order of declaration, and `unknownValue`, which stands for the empty text, at the
/// end.
template <class Enumeration, std::size_t count>
constexpr bool isWholeTable(const std::array<WireValue<Enumeration>, count>& table) {
    for (std::size_t index = 0; index < count; ++index) {
        if (static_cast<std::size_t>(table[index].value) != index) return false;
        if (table[index].text.empty() != (table[index].value == Enumeration::unknownValue)) return false;
    }
    return count == static_cast<std::size_t>(Enumeration::unknownValue) + 1;
}

template <class Enumeration>
concept SchemaEnumeration = std::is_enum_v<Enumeration> && !wireValues<Enumeration>.empty();

template <SchemaEnumeration Enumeration>
constexpr std::string_view rawValue(Enumeration value) {
    return wireValues<Enumeration>[static_cast<std::size_t>(value)].text;
}

/// The case with exactly this text on the wire; `unknownValue` for the empty text, nothing for any other.
template <SchemaEnumeration Enumeration>
constexpr std::optional<Enumeration> fromRawValue(std::string_view text) {
    for (const WireValue<Enumeration>& row : wireValues<Enumeration>) {
        if (row.text == text) return row.value;
    }
    return std::nullopt;
}

/// The known cases, in order, without `unknownValue`. One list for the process, to be read and set freely but
/// not by several threads at once. Part of the interface, although nothing here calls it yet.
template <SchemaEnumeration Enumeration>
std::vector<Enumeration>& allCases() {
    static std::vector<Enumeration> cases = [] {
        std::vector<Enumeration> known;
        for (const WireValue<Enumeration>& row : wireValues<Enumeration>) {
            if (row.value != Enumeration::unknownValue) known.push_back(row.value);
        }
        return known;
    }();
    return cases;
}

}  // namespace VelaApi

namespace platform {

template <VelaApi::SchemaEnumeration Enumeration>
struct Decoding<Enumeration> {
    static Enumeration decode(const Decoder& decoder) {
        return VelaApi::fromRawValue<Enumeration>(decoder.string()).value_or(Enumeration::unknownValue);
    }
};

template <VelaApi::SchemaEnumeration Enumeration>
struct Encoding<Enumeration> {
    static void encode(Enumeration value, Encoder& encoder) { encoder.write(VelaApi::rawValue(value)); }
};

}  // namespace platform
