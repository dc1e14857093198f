// SPDX-License-Identifier: Apache-2.0

#include "host/sign-in-window/CompanionRun.hpp"

#include <glibmm/main.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "platform/Files/Reading.hpp"
#include "platform/ProcessInfo/SiblingProgram.hpp"
#include "platform/Text/ASCII.hpp"

namespace host {

namespace {

constexpr const char* companionName = "vela-companion";
constexpr std::size_t longestAnswer = 64 << 10;

platform::ChildProgram::Options runOf(const std::vector<std::string>& arguments) {
    using Stream = platform::ChildProgram::Stream;
    return {.program = platform::siblingProgramPath(companionName).string(),
            .arguments = arguments,
            .input = Stream::piped,
            .output = Stream::piped,
            .errors = Stream::piped,
            .isApart = true};
}

std::string withoutName(std::string_view line) {
    constexpr std::string_view prefix = "vela-companion: ";
    if (line.starts_with(prefix)) line.remove_prefix(prefix.size());
    return std::string(platform::trimmed(line));
}

}  // namespace

CompanionRun::CompanionRun(const std::vector<std::string>& arguments, std::string_view input,
                           EndHandler onEnd, LineHandler onLine)
    : program_(runOf(arguments)), onEnd_(std::move(onEnd)), onLine_(std::move(onLine)) {
    program_.give(input);
    // It says nothing more once it has ended.
    saying_ = Glib::signal_io().connect([this](Glib::IOCondition) { return takeWords(); }, program_.errors(),
                                        Glib::IO_IN | Glib::IO_HUP);
}

CompanionRun::~CompanionRun() {
    saying_.disconnect();
    ending_.disconnect();
}

bool CompanionRun::takeWords() {
    std::array<char, 4096> bytes;
    const auto length = ::read(program_.errors(), bytes.data(), bytes.size());
    if (length < 0 && errno == EINTR) return true;
    if (length > 0 && words_.size() < longestAnswer) {
        const std::string_view said(bytes.data(), static_cast<std::size_t>(length));
        words_ += said;
        onLine_(withoutName(said));
    }
    if (length > 0) return true;
    // Not from within: the handler may destroy this.
    ending_ = Glib::signal_idle().connect([this] {
        conclude();
        return false;
    });
    return false;
}

void CompanionRun::conclude() {
    Outcome outcome;
    outcome.output = platform::readUpTo(program_.output(), longestAnswer).value_or("");
    const int status = program_.wait();
    outcome.isSuccess = status == 0;
    std::string_view rest = words_;
    while (!rest.empty()) {
        const auto end = std::min(rest.find('\n'), rest.size());
        outcome.words += (outcome.words.empty() ? "" : "\n") + withoutName(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    // What it said until then is not why.
    constexpr int endedBySignal = 128;
    if (status > endedBySignal || (!outcome.isSuccess && outcome.words.empty()))
        outcome.words = "vela-companion was ended before it was done. Try again.";
    const auto onEnd = onEnd_;
    onEnd(outcome);
}

}  // namespace host
