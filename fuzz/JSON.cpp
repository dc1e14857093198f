// SPDX-License-Identifier: Apache-2.0

// JSON text: what parses is written, and parses again to the same value, in both orders of keys.

#include <boost/json/value.hpp>

#include "fuzz/Require.hpp"
#include "fuzz/SameValue.hpp"
#include "platform/JSON/JSONSerialization.hpp"

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
