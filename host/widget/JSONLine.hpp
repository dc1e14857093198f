// SPDX-License-Identifier: Apache-2.0

#pragma once

// JSON as our commands print it. A pure function, safe from any thread.

#include <boost/json/value.hpp>
#include <string>

namespace host {

/// On one line, keys sorted, and with nothing that a terminal would obey.
std::string jsonLine(const boost::json::object& object);

}  // namespace host
