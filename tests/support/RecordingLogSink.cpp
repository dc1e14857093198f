// SPDX-License-Identifier: Apache-2.0

#include "tests/support/RecordingLogSink.hpp"

namespace platform::testing {

void RecordingLogSink::write(LogLevel level, std::string_view subsystem, std::string_view category,
                             std::string_view message) {
    const std::lock_guard lock(mutex_);
    lines_.push_back({.level = level,
                      .subsystem = std::string(subsystem),
                      .category = std::string(category),
                      .message = std::string(message)});
}

std::vector<LogLine> RecordingLogSink::lines() const {
    const std::lock_guard lock(mutex_);
    return lines_;
}

std::vector<std::string> RecordingLogSink::messages() const {
    std::vector<std::string> messages;
    for (auto& line : lines()) messages.push_back(std::move(line.message));
    return messages;
}

}  // namespace platform::testing
