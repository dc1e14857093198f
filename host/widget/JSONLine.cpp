// SPDX-License-Identifier: Apache-2.0

#include "host/widget/JSONLine.hpp"

#include "host/reader/TerminalText.hpp"
#include "platform/JSON/JSONSerialization.hpp"

namespace host {

std::string jsonLine(const boost::json::object& object) {
    const auto text =
        platform::JSONSerialization::dataWithJSONObject(object, platform::JSONKeyOrder::ascendingBytes);
    return terminalSafeJSON(text) + "\n";
}

}  // namespace host
