// SPDX-License-Identifier: Apache-2.0

#pragma once

// From a typed value to a JSON one. A type takes part by one of
//   - a static `fields()` (see CodingFields.hpp); an absent optional field writes no key,
//   - a member `void encode(Encoder&) const`,
//   - a specialisation of `Encoding<T>`.
// A value that writes nothing leaves out the key or the element it was to fill. Encoding is pure, but for the
// date rule given.

#include <boost/json/value.hpp>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/Date/Date.hpp"
#include "platform/JSON/CodingError.hpp"
#include "platform/JSON/CodingFields.hpp"
#include "platform/JSON/CodingPath.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "platform/URL/URL.hpp"

namespace platform {

class Encoder;
class KeyedEncodingContainer;

template <class T>
struct Encoding;

class JSONEncoder {
  public:
    using DateRule = std::function<void(Date, Encoder&)>;

    /// Writes dates as seconds since 1 January 2001.
    explicit JSONEncoder(JSONKeyOrder keyOrder = JSONKeyOrder::asStored) : keyOrder_(keyOrder) {}
    explicit JSONEncoder(DateRule dateRule, JSONKeyOrder keyOrder = JSONKeyOrder::asStored)
        : dateRule_(std::move(dateRule)), keyOrder_(keyOrder) {}

    /// JSON text. Throws EncodingError for a value that JSON cannot carry or that writes nothing.
    template <class T>
    std::string encode(const T& value) const;

  private:
    friend Encoding<Date>;
    DateRule dateRule_;
    JSONKeyOrder keyOrder_ = JSONKeyOrder::asStored;
};

/// One value that is being written, and its place.
class Encoder {
  public:
    Encoder(const JSONEncoder& rules, const CodingPath& path) : rules_(&rules), path_(&path) {}

    const CodingPath& codingPath() const { return *path_; }
    const JSONEncoder& rules() const { return *rules_; }

    void write(boost::json::value value) { written_ = std::move(value); }
    void write(std::string_view text) { written_ = boost::json::string(text.data(), text.size()); }

    template <class T>
    void encode(const T& value) {
        Encoding<T>::encode(value, *this);
    }

    /// Begins a JSON object, or goes on with the one begun.
    KeyedEncodingContainer container();

    /// What has been written, if anything.
    std::optional<boost::json::value> take() && { return std::move(written_); }

    [[noreturn]] void fail(std::string debugDescription) const {
        throw EncodingError(std::move(debugDescription), path_->components());
    }

  private:
    const JSONEncoder* rules_;
    const CodingPath* path_;
    std::optional<boost::json::value> written_;
};

/// A JSON object, written by key; a key written twice keeps the later value.
class KeyedEncodingContainer {
  public:
    KeyedEncodingContainer(const Encoder& encoder, boost::json::object& object)
        : encoder_(&encoder), object_(&object) {}

    const CodingPath& codingPath() const { return encoder_->codingPath(); }

    template <class T>
    void encode(std::string_view key, const T& value) {
        const CodingPath path(codingPath(), key);
        Encoder encoder(encoder_->rules(), path);
        encoder.encode(value);
        if (std::optional<boost::json::value> written = std::move(encoder).take()) {
            object_->insert_or_assign({key.data(), key.size()}, *std::move(written));
        }
    }

    template <class T>
    void encodeIfPresent(std::string_view key, const std::optional<T>& value) {
        if (value) encode(key, *value);
    }

  private:
    const Encoder* encoder_;
    boost::json::object* object_;
};

inline KeyedEncodingContainer Encoder::container() {
    if (!written_ || !written_->is_object()) written_ = boost::json::object();
    return KeyedEncodingContainer(*this, written_->get_object());
}

template <class T>
concept EncodesItself = requires(const T& value, Encoder& encoder) {
    value.encode(encoder);
};

template <class T>
concept Encodable = requires(const T& value, Encoder& encoder) {
    Encoding<T>::encode(value, encoder);
};

template <EncodesItself T>
struct Encoding<T> {
    static void encode(const T& value, Encoder& encoder) { value.encode(encoder); }
};

template <HasFields T>
struct Encoding<T> {
    static void encode(const T& record, Encoder& encoder) {
        KeyedEncodingContainer container = encoder.container();
        std::apply([&](const auto&... field) { (write(record.*field.member, field.key, container), ...); },
                   T::fields());
    }

  private:
    template <class Value>
    static void write(const Value& value, std::string_view key, KeyedEncodingContainer& container) {
        if constexpr (isOptional<Value>) {
            container.encodeIfPresent(key, value);
        } else {
            container.encode(key, value);
        }
    }
};

template <>
struct Encoding<bool> {
    static void encode(bool value, Encoder& encoder) { encoder.write(boost::json::value(value)); }
};

template <std::integral Integer>
struct Encoding<Integer> {
    static void encode(Integer value, Encoder& encoder) { encoder.write(boost::json::value(value)); }
};

template <>
struct Encoding<double> {
    static void encode(double value, Encoder& encoder) {
        if (!std::isfinite(value)) encoder.fail("A number is not finite");
        encoder.write(boost::json::value(value));
    }
};

template <>
struct Encoding<std::string> {
    static void encode(const std::string& value, Encoder& encoder) { encoder.write(std::string_view(value)); }
};

template <>
struct Encoding<URL> {
    static void encode(const URL& value, Encoder& encoder) {
        encoder.write(std::string_view(value.absoluteString()));
    }
};

template <>
struct Encoding<Date> {
    static void encode(Date value, Encoder& encoder) {
        if (const JSONEncoder::DateRule& rule = encoder.rules().dateRule_) return rule(value, encoder);
        encoder.encode(value.timeIntervalSinceReferenceDate());
    }
};

template <class T>
struct Encoding<std::optional<T>> {
    static void encode(const std::optional<T>& value, Encoder& encoder) {
        if (value) return encoder.encode(*value);
        encoder.write(boost::json::value(nullptr));
    }
};

template <class T>
struct Encoding<std::vector<T>> {
    static void encode(const std::vector<T>& list, Encoder& encoder) {
        boost::json::array array;
        array.reserve(list.size());
        for (std::size_t index = 0; index < list.size(); ++index) {
            const CodingPath path(encoder.codingPath(), index);
            Encoder element(encoder.rules(), path);
            element.encode(list[index]);
            if (std::optional<boost::json::value> written = std::move(element).take()) {
                array.push_back(*std::move(written));
            }
        }
        encoder.write(std::move(array));
    }
};

template <class T>
std::string JSONEncoder::encode(const T& value) const {
    const CodingPath top;
    Encoder encoder(*this, top);
    encoder.encode(value);
    const std::optional<boost::json::value> written = std::move(encoder).take();
    if (!written) throw EncodingError("Nothing was written", {});
    try {
        return JSONSerialization::dataWithJSONObject(*written, keyOrder_);
    } catch (const JSONError& error) {
        throw EncodingError(error.what(), {});
    }
}

}  // namespace platform
