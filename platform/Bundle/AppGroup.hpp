// SPDX-License-Identifier: Apache-2.0

#pragma once

// The group of programs that share settings. Safe from any thread.

#include <boost/json/value.hpp>
#include <optional>
#include <string>

namespace platform {

/// "GROUP_IDENTIFIER" of an Info dictionary where that is a text, else the built-in name.
std::string appGroup(const std::optional<boost::json::object>& infoDictionary);

}  // namespace platform
