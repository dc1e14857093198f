// SPDX-License-Identifier: Apache-2.0

#pragma once

// The system journal as a place for log lines. Safe from any thread.

#include <string_view>

#include "platform/Log/Logger.hpp"

namespace platform {

/// False when there is no journal or it does not take the line.
bool writeToJournal(LogLevel level, std::string_view subsystem, std::string_view category,
                    std::string_view message);

}  // namespace platform
