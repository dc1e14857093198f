// SPDX-License-Identifier: Apache-2.0

#pragma once

// What an event tells, before it is JSON. Any copyable value can be put in; which kinds can be sent is
// decided when the event is encoded (see PayloadCoding).

#include <any>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace analytics {

using PayloadValue = std::any;
using PayloadDictionary = std::map<std::string, PayloadValue>;
using PayloadArray = std::vector<PayloadValue>;

/// An event's values by name. A missing value is sent as null; inside dictionaries and arrays nothing may be
/// missing.
using Payload = std::map<std::string, std::optional<PayloadValue>>;

}  // namespace analytics
