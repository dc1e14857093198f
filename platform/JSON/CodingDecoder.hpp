// SPDX-License-Identifier: Apache-2.0

#pragma once

// From a JSON value to a typed one, strictly: a bool comes from true or false alone, a text from a string
// alone, and null is nothing but absence. A type takes part by one of
//   - a static `fields()` (see CodingFields.hpp),
//   - a static `T decode(const Decoder&)`,
//   - a specialisation of `Decoding<T>`.
// Everything here throws DecodingError. Decoders are values; decoding is pure, but for the date rule given.
//
// A decoder may be given bounded memory. What the typed value will hold on the heap is then charged to it
// before it is made, and MemoryLimitExceeded is thrown.

#include <boost/json/value.hpp>
#include <concepts>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/Date/Date.hpp"
#include "platform/JSON/BoundedMemory.hpp"
#include "platform/JSON/CodingError.hpp"
#include "platform/JSON/CodingFields.hpp"
#include "platform/JSON/CodingPath.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "platform/URL/URL.hpp"

namespace platform {

class Decoder;
class KeyedDecodingContainer;

template <class T>
struct Decoding;

class JSONDecoder {
  public:
    using DateRule = std::function<Date(const Decoder&)>;

    /// Reads dates as seconds since 1 January 2001.
    JSONDecoder() = default;
    explicit JSONDecoder(DateRule dateRule) : dateRule_(std::move(dateRule)) {}

    /// A text that is not JSON is `dataCorrupted` at the top level.
    template <class T>
    T decode(std::string_view data) const;
    template <class T>
    T decodeValue(const boost::json::value& value, BoundedMemory* memory = nullptr) const;

  private:
    friend Decoding<Date>;
    DateRule dateRule_;
};

/// One value that is being read, and its place.
class Decoder {
  public:
    Decoder(const JSONDecoder& rules, BoundedMemory* memory, const boost::json::value& value,
            const CodingPath& path)
        : rules_(&rules), memory_(memory), value_(&value), path_(&path) {}

    /// One of the values in this one.
    Decoder inner(const boost::json::value& value, const CodingPath& path) const {
        return Decoder(*rules_, memory_, value, path);
    }

    const boost::json::value& value() const { return *value_; }
    const CodingPath& codingPath() const { return *path_; }
    const JSONDecoder& rules() const { return *rules_; }

    bool isNull() const { return value_->is_null(); }

    template <class T>
    T decode() const {
        return Decoding<T>::decode(*this);
    }

    /// The value as a JSON string.
    std::string_view string() const {
        const boost::json::string& text = require(value_->if_string());
        return {text.data(), text.size()};
    }
    KeyedDecodingContainer container() const;

    /// To be called before the typed value allocates `bytes` on the heap.
    void charge(std::size_t bytes) const {
        if (memory_) memory_->charge(bytes);
    }
    /// To be called before so much is allocated for a moment.
    void requireRoom(std::size_t bytes) const {
        if (memory_) memory_->requireRoom(bytes);
    }

    [[noreturn]] void fail(DecodingErrorKind kind) const { throw DecodingError(kind, path_->components()); }
    [[noreturn]] void failForType() const {
        fail(isNull() ? DecodingErrorKind::valueNotFound : DecodingErrorKind::typeMismatch);
    }
    /// What `expected` points to, which is null when the value is of another type.
    template <class T>
    const T& require(const T* expected) const {
        if (!expected) failForType();
        return *expected;
    }

  private:
    const JSONDecoder* rules_;
    BoundedMemory* memory_;
    const boost::json::value* value_;
    const CodingPath* path_;
};

/// A JSON object, read by key. Lives no longer than the decoder it came from.
class KeyedDecodingContainer {
  public:
    KeyedDecodingContainer(const Decoder& decoder, const boost::json::object& object)
        : decoder_(decoder), object_(&object) {}

    const CodingPath& codingPath() const { return decoder_.codingPath(); }

    bool contains(std::string_view key) const { return find(key) != nullptr; }

    /// The key must be there. Its value must not be null, unless T itself takes null.
    template <class T>
    T decode(std::string_view key) const {
        const CodingPath path(codingPath(), key);
        const boost::json::value* value = find(key);
        if (!value) throw DecodingError(DecodingErrorKind::keyNotFound, path.components());
        return decoder_.inner(*value, path).decode<T>();
    }

    /// Nothing when the key is missing or its value is null.
    template <class T>
    std::optional<T> decodeIfPresent(std::string_view key) const {
        const boost::json::value* value = find(key);
        if (!value || value->is_null()) return std::nullopt;
        return decode<T>(key);
    }

  private:
    const boost::json::value* find(std::string_view key) const {
        return object_->if_contains({key.data(), key.size()});
    }

    Decoder decoder_;
    const boost::json::object* object_;
};

inline KeyedDecodingContainer Decoder::container() const {
    return KeyedDecodingContainer(*this, require(value_->if_object()));
}

template <class T>
concept DecodesItself = requires(const Decoder& decoder) {
    { T::decode(decoder) } -> std::same_as<T>;
};

template <class T>
concept Decodable = requires(const Decoder& decoder) {
    Decoding<T>::decode(decoder);
};

template <DecodesItself T>
struct Decoding<T> {
    static T decode(const Decoder& decoder) { return T::decode(decoder); }
};

template <HasFields T>
requires(std::is_aggregate_v<T>) struct Decoding<T> {
    static T decode(const Decoder& decoder) {
        const KeyedDecodingContainer container = decoder.container();
        return std::apply([&](const auto&... field) { return T{valueOf(field, container)...}; }, T::fields());
    }

  private:
    template <class Value>
    static Value valueOf(const CodingField<T, Value>& field, const KeyedDecodingContainer& container) {
        if constexpr (isOptional<Value>) {
            return container.decodeIfPresent<typename Value::value_type>(field.key);
        } else {
            return container.decode<Value>(field.key);
        }
    }
};

template <>
struct Decoding<bool> {
    static bool decode(const Decoder& decoder) { return decoder.require(decoder.value().if_bool()); }
};

/// A number that the integer type holds exactly; 2.0 is one, 2.5 is corrupt.
template <std::integral Integer>
struct Decoding<Integer> {
    static Integer decode(const Decoder& decoder) {
        const boost::json::value& value = decoder.value();
        if (const std::int64_t* number = value.if_int64()) return exactly(*number, decoder);
        if (const std::uint64_t* number = value.if_uint64()) return exactly(*number, decoder);
        const double number = decoder.require(value.if_double());
        // 2^63 is the first double past the range; the lowest value of the range is a double itself.
        if (!(number >= -0x1p63 && number < 0x1p63)) decoder.fail(DecodingErrorKind::dataCorrupted);
        const auto whole = static_cast<std::int64_t>(number);
        if (static_cast<double>(whole) != number) decoder.fail(DecodingErrorKind::dataCorrupted);
        return exactly(whole, decoder);
    }

  private:
    template <class Number>
    static Integer exactly(Number number, const Decoder& decoder) {
        if (!std::in_range<Integer>(number)) decoder.fail(DecodingErrorKind::dataCorrupted);
        return static_cast<Integer>(number);
    }
};

template <>
struct Decoding<double> {
    static double decode(const Decoder& decoder) {
        const boost::json::value& value = decoder.value();
        if (const std::int64_t* number = value.if_int64()) return static_cast<double>(*number);
        if (const std::uint64_t* number = value.if_uint64()) return static_cast<double>(*number);
        return decoder.require(value.if_double());
    }
};

template <>
struct Decoding<std::string> {
    static std::string decode(const Decoder& decoder) {
        const std::string_view text = decoder.string();
        if (text.size() > std::string().capacity()) decoder.charge(text.size() + 1);
        return std::string(text);
    }
};

template <>
struct Decoding<URL> {
    static URL decode(const Decoder& decoder) {
        // Every byte may become three, in a text that grows by doubling and is then put with the rest.
        constexpr std::size_t largestExpansion = 12;
        const std::string_view text = decoder.string();
        decoder.requireRoom(text.size() * largestExpansion);
        std::optional<URL> url = URL::parse(text);
        if (!url) decoder.fail(DecodingErrorKind::dataCorrupted);
        decoder.charge(url->absoluteString().capacity() + 1);
        return *std::move(url);
    }
};

template <>
struct Decoding<Date> {
    static Date decode(const Decoder& decoder) {
        const JSONDecoder::DateRule& rule = decoder.rules().dateRule_;
        return rule ? rule(decoder) : Date::sinceReferenceDate(decoder.decode<double>());
    }
};

template <class T>
struct Decoding<std::optional<T>> {
    static std::optional<T> decode(const Decoder& decoder) {
        if (decoder.isNull()) return std::nullopt;
        return decoder.decode<T>();
    }
};

template <class T>
struct Decoding<std::vector<T>> {
    static std::vector<T> decode(const Decoder& decoder) {
        const boost::json::array& array = decoder.require(decoder.value().if_array());
        std::vector<T> list;
        if (!array.empty()) decoder.charge(array.size() * sizeof(T));
        list.reserve(array.size());
        for (std::size_t index = 0; index < array.size(); ++index) {
            const CodingPath path(decoder.codingPath(), index);
            list.push_back(decoder.inner(array[index], path).decode<T>());
        }
        return list;
    }
};

template <class T>
T JSONDecoder::decodeValue(const boost::json::value& value, BoundedMemory* memory) const {
    const CodingPath top;
    return Decoder(*this, memory, value, top).decode<T>();
}

template <class T>
T JSONDecoder::decode(std::string_view data) const {
    const boost::json::value value = [&] {
        try {
            return JSONSerialization::JSONObjectWithData(data);
        } catch (const JSONError&) {
            throw DecodingError(DecodingErrorKind::dataCorrupted, {});
        }
    }();
    return decodeValue<T>(value);
}

}  // namespace platform
