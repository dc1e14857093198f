// SPDX-License-Identifier: Apache-2.0

// Collapsing of fragments in any dictionary.

#include <boost/json/value.hpp>

#include "VelaApi/Sources/VelaApi/DorvoSupport/FragmentCollapsing.hpp"
#include "fuzz/Require.hpp"
#include "platform/JSON/JSONSerialization.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    boost::json::value value;
    try {
        value = platform::JSONSerialization::JSONObjectWithData(text(input, size));
    } catch (const platform::JSONError&) {
        return 0;
    }
    if (!value.is_object()) return 0;
    const boost::json::object once = VelaApi::collapsed(value.get_object());
    for (const auto& [key, element] : once) {
        require(!(key.starts_with("fragment:") && element.is_object()), "no fragment is left at the top");
    }
    for (const auto& [key, element] : value.get_object()) {
        require(once.contains(key) || (key.starts_with("fragment:") && element.is_object()),
                "every key but a fragment's stays");
    }
    return 0;
}
