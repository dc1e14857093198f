// SPDX-License-Identifier: Apache-2.0

#pragma once

// Whom a request is addressed to. Pure functions.

#include <string_view>

#include "sandbox/Message.hpp"

namespace sandbox {

/// Whether the request has exactly one Host field, and that names this machine's loopback (127.0.0.1,
/// localhost or [::1]), with this port or with none.
bool isAddressedToLoopback(const Request& request, std::string_view port);

}  // namespace sandbox
