#pragma once

// A payload's JSON. Pure functions.

#include <boost/json/value.hpp>

#include "analytics/DynamicCodingKeys.hpp"
#include "analytics/PayloadValue.hpp"

namespace analytics {

/// The payload as an object that is written at `path`. The accepted kinds, in order of trial: text
/// (std::string, std::string_view, const char*), signed integers (int, long, long long), double, bool,
/// PayloadDictionary, PayloadArray. Throws EncodingError, "Invalid value type", for a value of any other kind
/// at any depth.
boost::json::object encodedPayload(const Payload& payload, const CodingPath& path);

}  // namespace analytics
