// SPDX-License-Identifier: Apache-2.0

#pragma once

// A payload's JSON. Pure functions.

#include <boost/json/value.hpp>

#include "analytics/PayloadValue.hpp"
#include "platform/JSON/CodingPath.hpp"

namespace analytics {

/// The payload as an object that is written at `path`. The accepted kinds, in order of trial: text
/// (std::string, std::string_view, const char*), signed integers (int, long, long long), double, bool,
/// PayloadDictionary, PayloadArray. Throws platform::EncodingError, "Invalid value type" at the path of the
/// container that is being written, for a value of any other kind at any depth.
boost::json::object encodedPayload(const Payload& payload, const platform::CodingPath& path);

}  // namespace analytics
