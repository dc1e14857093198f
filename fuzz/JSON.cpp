// JSON text: what parses is written, and parses again to the same value, in both orders of keys.

#include <algorithm>
#include <boost/json/value.hpp>

#include "fuzz/Require.hpp"
#include "platform/JSON/JSONSerialization.hpp"

namespace {

/// Equality by value: a double of a whole value is written as an integer is, and reads back as one.
bool isSame(const boost::json::value& one, const boost::json::value& other) {
    if (one.is_number() && other.is_number()) {
        return one == other || one.to_number<double>() == other.to_number<double>();
    }
    if (one.is_array() && other.is_array()) {
        const auto &ones = one.get_array(), &others = other.get_array();
        return std::equal(ones.begin(), ones.end(), others.begin(), others.end(), isSame);
    }
    if (one.is_object() && other.is_object()) {
        const auto &ones = one.get_object(), &others = other.get_object();
        return ones.size() == others.size() && std::all_of(ones.begin(), ones.end(), [&](const auto& member) {
                   const boost::json::value* counterpart = others.if_contains(member.key());
                   return counterpart && isSame(member.value(), *counterpart);
               });
    }
    return one == other;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    using platform::JSONKeyOrder;
    using platform::JSONSerialization;
    boost::json::value value;
    try {
        value = JSONSerialization::JSONObjectWithData(text(input, size));
    } catch (const platform::JSONError&) {
        return 0;
    }
    for (const JSONKeyOrder order : {JSONKeyOrder::asStored, JSONKeyOrder::ascendingBytes}) {
        const std::string written = JSONSerialization::dataWithJSONObject(value, order);
        require(isSame(JSONSerialization::JSONObjectWithData(written), value), "what was written reads back");
    }
    return 0;
}
