// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/json/value.hpp>
#include <optional>

#include "platform/URL/URL.hpp"

namespace analytics {

/// The event collector's whole endpoint: "EVENT_COLLECTOR_URL" of the Info dictionary where that is a text,
/// else the built-in address. One that does not parse stops the process.
platform::URL eventCollectorURL(const std::optional<boost::json::object>& infoDictionary);

}  // namespace analytics
