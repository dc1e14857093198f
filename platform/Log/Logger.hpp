// SPDX-License-Identifier: Apache-2.0

#pragma once

// The system log: the journal where there is one, else standard error. A private argument is never written;
// the line holds "<private>" in its place. Every member is safe from any thread.

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

namespace platform {

enum class LogLevel { debug, info, error, fault };
enum class LogPrivacy { open, hidden };

struct LogArgument {
    std::string_view text;
    LogPrivacy privacy = LogPrivacy::open;
};

class LogSink;

class Logger {
  public:
    Logger(std::string_view subsystem, std::string_view category);

    /// The log of no subsystem in particular.
    static const Logger& standard();

    /// Each "%s" and "%@" of `format` stands for the next argument; "%%" for a percent sign. A privacy mark
    /// in braces, as in "%{private}@", hides its argument whatever the argument says.
    void log(LogLevel level, std::string_view format, std::initializer_list<LogArgument> arguments) const;

  private:
    std::string subsystem_;
    std::string category_;
};

/// Where log lines go. The seam for tests.
class LogSink {
  public:
    virtual ~LogSink() = default;
    virtual void write(LogLevel level, std::string_view subsystem, std::string_view category,
                       std::string_view message) = 0;

    /// Puts `sink` in force for its own lifetime, in place of the journal.
    class Override {
      public:
        explicit Override(LogSink& sink);
        ~Override();
        Override(const Override&) = delete;
        Override& operator=(const Override&) = delete;

      private:
        LogSink* previous_;
    };
};

/// A configuration fault: writes one line and ends the process with abort(), leaving no core file.
[[noreturn]] void fatalError(std::string_view message);

}  // namespace platform
