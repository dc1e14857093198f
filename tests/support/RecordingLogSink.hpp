// SPDX-License-Identifier: Apache-2.0

#pragma once

// Keeps log lines instead of writing them, from construction to destruction. Safe from any thread.

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Log/Logger.hpp"

namespace platform::testing {

struct LogLine {
    LogLevel level;
    std::string subsystem;
    std::string category;
    std::string message;
    bool operator==(const LogLine&) const = default;
};

class RecordingLogSink final : public LogSink {
  public:
    void write(LogLevel level, std::string_view subsystem, std::string_view category,
               std::string_view message) override;

    std::vector<LogLine> lines() const;
    std::vector<std::string> messages() const;

  private:
    mutable std::mutex mutex_;
    std::vector<LogLine> lines_;
    LogSink::Override override_{*this};
};

}  // namespace platform::testing
