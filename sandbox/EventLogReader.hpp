// SPDX-License-Identifier: Apache-2.0

#pragma once

// Asks a running sandbox for its log.

#include <optional>
#include <string>

namespace sandbox {

/// The log as indented JSON. `authority` is the PEM to trust beyond the system's. Throws Error.
std::string readEventLog(const std::string& baseURL, const std::optional<std::string>& authority);

}  // namespace sandbox
