// SPDX-License-Identifier: Apache-2.0

#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/value_stack.hpp>
#include <charconv>
#include <cmath>

#include "platform/JSON/JSONSerialization.hpp"

namespace platform {

namespace json = boost::json;

namespace {

/// Builds the tree from the parser's events. A number with a fraction or an exponent is read again from its
/// text: the parser's own reading of it may be off by a unit in the last place.
struct TreeBuilder {
    using Error = json::error_code;
    using Text = json::string_view;

    static constexpr std::size_t max_object_size = json::object::max_size();
    static constexpr std::size_t max_array_size = json::array::max_size();
    static constexpr std::size_t max_key_size = json::string::max_size();
    static constexpr std::size_t max_string_size = json::string::max_size();

    json::value_stack stack;
    json::string number;

    explicit TreeBuilder(const json::storage_ptr& memory) : stack(memory), number(memory) {
        stack.reset(memory);
    }

    bool on_document_begin(Error&) { return true; }
    bool on_document_end(Error&) { return true; }
    bool on_object_begin(Error&) { return true; }
    bool on_object_end(std::size_t size, Error&) {
        stack.push_object(size);
        return true;
    }
    bool on_array_begin(Error&) { return true; }
    bool on_array_end(std::size_t size, Error&) {
        stack.push_array(size);
        return true;
    }
    bool on_key_part(Text text, std::size_t, Error&) {
        stack.push_chars(text);
        return true;
    }
    bool on_key(Text text, std::size_t, Error&) {
        stack.push_key(text);
        return true;
    }
    bool on_string_part(Text text, std::size_t, Error&) {
        stack.push_chars(text);
        return true;
    }
    bool on_string(Text text, std::size_t, Error&) {
        stack.push_string(text);
        return true;
    }
    bool on_number_part(Text text, Error&) {
        number.append(text);
        return true;
    }
    bool on_int64(std::int64_t value, Text, Error&) {
        number.clear();
        stack.push_int64(value);
        return true;
    }
    bool on_uint64(std::uint64_t value, Text, Error&) {
        number.clear();
        stack.push_uint64(value);
        return true;
    }
    bool on_double(double approximation, Text text, Error& error) {
        number.append(text);
        double value = 0;
        const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
        number.clear();
        if (result.ec == std::errc::result_out_of_range) {
            // Too small is nearest to zero, too large is nearest to nothing.
            if (std::fabs(approximation) < 1) {
                value = 0;
            } else {
                error = json::error::exponent_overflow;
                return false;
            }
        }
        stack.push_double(value);
        return true;
    }
    bool on_bool(bool value, Error&) {
        stack.push_bool(value);
        return true;
    }
    bool on_null(Error&) {
        stack.push_null();
        return true;
    }
    bool on_comment_part(Text, Error&) { return true; }
    bool on_comment(Text, Error&) { return true; }
};

}  // namespace

json::value JSONSerialization::JSONObjectWithData(std::string_view data, const json::storage_ptr& memory) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (data.starts_with(byteOrderMark)) data.remove_prefix(byteOrderMark.size());

    json::parse_options options;
    options.max_depth = maximumDepth;
    json::basic_parser<TreeBuilder> parser(options, memory);
    json::error_code error;
    const auto consumed = parser.write_some(false, data.data(), data.size(), error);
    if (!error && consumed < data.size()) error = json::error::extra_data;
    if (error) throw JSONError("not JSON: " + error.message());
    return parser.handler().stack.release();
}

}  // namespace platform
