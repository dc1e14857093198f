// SPDX-License-Identifier: Apache-2.0

#pragma once

// JSON text to a value tree and back. Pure functions, safe from any thread.

#include <boost/json/value.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

namespace platform {

/// A text that is not JSON, or a value that JSON cannot carry. `what()` never quotes the text.
class JSONError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

enum class JSONKeyOrder { asStored, ascendingBytes };

struct JSONSerialization {
    /// Deeper nesting than this does not parse.
    static constexpr std::size_t maximumDepth = 512;

    /// Any JSON value (RFC 8259), in UTF-8 with or without a byte order mark. Of duplicate names the last
    /// counts. Throws JSONError for malformed text, ill-formed UTF-8, lone surrogates, numbers beyond a
    /// double's range and nesting beyond `maximumDepth`. Integers in the range of 64 bits are kept exactly.
    /// The tree, and what building it takes, come from `memory`, whose errors pass through.
    static boost::json::value JSONObjectWithData(std::string_view data,
                                                 const boost::json::storage_ptr& memory = {});

    /// Compact text. A double is written in the shortest form that reads back to it. Throws JSONError for a
    /// number that is not finite or a string that is not UTF-8.
    static std::string dataWithJSONObject(const boost::json::value& object,
                                          JSONKeyOrder order = JSONKeyOrder::asStored);

    /// Throws what `dataWithJSONObject` throws, and writes nothing.
    static void requireWritable(const boost::json::value& object);
};

}  // namespace platform
