// SPDX-License-Identifier: Apache-2.0

#include "platform/Log/Logger.hpp"

#include <atomic>

#include "platform/Log/Journal.hpp"
#include "platform/Log/StandardError.hpp"

namespace platform {

namespace {

constexpr std::string_view hiddenText = "<private>";

std::string_view name(LogLevel level) {
    switch (level) {
        case LogLevel::debug: return "debug";
        case LogLevel::info: return "info";
        case LogLevel::error: return "error";
        case LogLevel::fault: return "fault";
    }
    return "error";
}

class SystemLog final : public LogSink {
  public:
    void write(LogLevel level, std::string_view subsystem, std::string_view category,
               std::string_view message) override {
        if (writeToJournal(level, subsystem, category, message)) return;
        std::string line(name(level));
        line.append(": ");
        if (!subsystem.empty()) line.append("[").append(subsystem).append(":").append(category).append("] ");
        writeLineToStandardError(line.append(message));
    }
};

std::atomic<LogSink*> overriding = nullptr;

LogSink& currentSink() {
    static SystemLog systemLog;
    auto* sink = overriding.load(std::memory_order_acquire);
    return sink ? *sink : systemLog;
}

/// The mark in braces behind a percent sign, "{private}", without its braces.
std::string_view takeMark(std::string_view& rest) {
    if (!rest.starts_with('{')) return {};
    const auto end = rest.find('}');
    if (end == std::string_view::npos) return {};
    const auto mark = rest.substr(1, end - 1);
    rest.remove_prefix(end + 1);
    return mark;
}

std::string composed(std::string_view format, std::initializer_list<LogArgument> arguments) {
    std::string message;
    auto argument = arguments.begin();
    for (std::string_view rest = format; !rest.empty();) {
        const auto percent = rest.find('%');
        message.append(rest.substr(0, percent));
        if (percent == std::string_view::npos) break;
        rest.remove_prefix(percent + 1);

        const auto mark = takeMark(rest);
        const char conversion = rest.empty() ? '\0' : rest.front();
        if (!rest.empty()) rest.remove_prefix(1);
        if (conversion == '%') {
            message += '%';
        } else if (conversion == 's' || conversion == '@') {
            if (argument == arguments.end()) continue;
            const bool hidden = mark == "private" || argument->privacy == LogPrivacy::hidden;
            message.append(hidden ? hiddenText : argument->text);
            ++argument;
        }
    }
    return message;
}

}  // namespace

Logger::Logger(std::string_view subsystem, std::string_view category)
    : subsystem_(subsystem), category_(category) {}

const Logger& Logger::standard() {
    static const Logger logger("", "");
    return logger;
}

void Logger::log(LogLevel level, std::string_view format,
                 std::initializer_list<LogArgument> arguments) const {
    currentSink().write(level, subsystem_, category_, composed(format, arguments));
}

LogSink::Override::Override(LogSink& sink)
    : previous_(overriding.exchange(&sink, std::memory_order_acq_rel)) {}

LogSink::Override::~Override() {
    overriding.store(previous_, std::memory_order_release);
}

}  // namespace platform
