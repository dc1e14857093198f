// SPDX-License-Identifier: Apache-2.0

#pragma once

// The event collector's judgement of one request to /v1/produce.

#include <string>

#include "sandbox/Message.hpp"

namespace sandbox {

/// Why an event breaks the wire form; empty for one that keeps it.
std::string refusalOfEvent(const Request& request);

}  // namespace sandbox
