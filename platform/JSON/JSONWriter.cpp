// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <vector>

#include "platform/JSON/JSONSerialization.hpp"
#include "platform/Text/Text.hpp"

namespace platform {

namespace json = boost::json;

namespace {

void requireWritable(double number) {
    if (!std::isfinite(number)) throw JSONError("not a number that JSON can carry");
}

void requireWritable(std::string_view text) {
    if (!isValidUTF8(text)) throw JSONError("not a text that JSON can carry: ill-formed UTF-8");
}

template <typename Text>
std::string_view view(const Text& text) {
    return {text.data(), text.size()};
}

class Writer {
  public:
    explicit Writer(JSONKeyOrder order) : order_(order) {}

    std::string take() { return std::move(text_); }

    void write(const json::value& value) {
        switch (value.kind()) {
            case json::kind::null: text_ += "null"; break;
            case json::kind::bool_: text_ += value.get_bool() ? "true" : "false"; break;
            case json::kind::int64: writeInteger(value.get_int64()); break;
            case json::kind::uint64: writeInteger(value.get_uint64()); break;
            case json::kind::double_: write(value.get_double()); break;
            case json::kind::string: write(view(value.get_string())); break;
            case json::kind::array: write(value.get_array()); break;
            case json::kind::object: write(value.get_object()); break;
        }
    }

  private:
    template <typename Integer>
    void writeInteger(Integer value) {
        std::array<char, 24> buffer;
        const auto end = std::to_chars(buffer.begin(), buffer.end(), value).ptr;
        text_.append(buffer.begin(), end);
    }

    /// Decimal where a reader would write decimal, else with an exponent; always the fewest digits that read
    /// back.
    void write(double value) {
        requireWritable(value);
        if (value == 0 && std::signbit(value)) {
            // "-0" would be read as an integer, which has no such zero.
            text_ += "-0.0";
            return;
        }
        constexpr double smallestDecimal = 1e-4;
        constexpr double largestDecimal = 0x1p54;
        const double size = std::fabs(value);
        const bool decimal = size == 0 || (size >= smallestDecimal && size < largestDecimal);
        std::array<char, 64> buffer;
        const auto end = std::to_chars(buffer.begin(), buffer.end(), value,
                                       decimal ? std::chars_format::fixed : std::chars_format::scientific)
                             .ptr;
        text_.append(buffer.begin(), end);
    }

    void write(std::string_view string) {
        requireWritable(string);
        text_ += '"';
        for (const char c : string) writeEscaped(c);
        text_ += '"';
    }

    void writeEscaped(char c) {
        constexpr std::string_view hexDigits = "0123456789abcdef";
        switch (c) {
            case '"': text_ += "\\\""; return;
            case '\\': text_ += "\\\\"; return;
            case '\b': text_ += "\\b"; return;
            case '\f': text_ += "\\f"; return;
            case '\n': text_ += "\\n"; return;
            case '\r': text_ += "\\r"; return;
            case '\t': text_ += "\\t"; return;
            default: break;
        }
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20) {
            text_ += c;
        } else {
            text_ += "\\u00";
            text_ += hexDigits[byte >> 4];
            text_ += hexDigits[byte & 0xF];
        }
    }

    void write(const json::array& array) {
        text_ += '[';
        for (std::size_t i = 0; i < array.size(); ++i) {
            if (i > 0) text_ += ',';
            write(array[i]);
        }
        text_ += ']';
    }

    void write(const json::object& object) {
        std::vector<const json::key_value_pair*> entries;
        entries.reserve(object.size());
        for (const auto& entry : object) entries.push_back(&entry);
        if (order_ == JSONKeyOrder::ascendingBytes)
            std::sort(entries.begin(), entries.end(),
                      [](auto* first, auto* second) { return view(first->key()) < view(second->key()); });
        text_ += '{';
        for (std::size_t i = 0; i < entries.size(); ++i) {
            if (i > 0) text_ += ',';
            write(view(entries[i]->key()));
            text_ += ':';
            write(entries[i]->value());
        }
        text_ += '}';
    }

    JSONKeyOrder order_;
    std::string text_;
};

}  // namespace

std::string JSONSerialization::dataWithJSONObject(const json::value& object, JSONKeyOrder order) {
    Writer writer(order);
    writer.write(object);
    return writer.take();
}

void JSONSerialization::requireWritable(const json::value& object) {
    switch (object.kind()) {
        case json::kind::null:
        case json::kind::bool_:
        case json::kind::int64:
        case json::kind::uint64: return;
        case json::kind::double_: return platform::requireWritable(object.get_double());
        case json::kind::string: return platform::requireWritable(view(object.get_string()));
        case json::kind::array:
            for (const auto& element : object.get_array()) requireWritable(element);
            return;
        case json::kind::object:
            for (const auto& [key, element] : object.get_object()) {
                platform::requireWritable(view(key));
                requireWritable(element);
            }
            return;
    }
}

}  // namespace platform
