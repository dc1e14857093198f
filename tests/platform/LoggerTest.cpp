// SPDX-License-Identifier: Apache-2.0

#include "platform/Log/Logger.hpp"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "platform/Log/StandardError.hpp"
#include "tests/support/RecordingLogSink.hpp"

namespace platform {
namespace {

using testing::LogLine;
using testing::RecordingLogSink;

std::string message(std::string_view format, std::initializer_list<LogArgument> arguments) {
    const RecordingLogSink log;
    Logger::standard().log(LogLevel::info, format, arguments);
    return log.messages().at(0);
}

TEST(Logger, PutsArgumentsInTheirPlaces) {
    EXPECT_EQ(message("plain", {}), "plain");
    EXPECT_EQ(message("Error %s when serializing %s to fields", {{"bad"}, {"Query"}}),
              "Error bad when serializing Query to fields");
    EXPECT_EQ(message("%@ is 100%% of %s", {{"this"}, {"that"}}), "this is 100% of that");
    EXPECT_EQ(message("%{public}@", {{"seen"}}), "seen");
    EXPECT_EQ(message("%s", {{"%s %@ %%"}}), "%s %@ %%");
}

TEST(Logger, NeverWritesAPrivateArgument) {
    EXPECT_EQ(message("Failed to encode event: %{private}@", {{"secret"}}),
              "Failed to encode event: <private>");
    EXPECT_EQ(message("%{private}s %s", {{"secret"}, {"open"}}), "<private> open");
    EXPECT_EQ(message("%s", {{.text = "secret", .privacy = LogPrivacy::hidden}}), "<private>");
    EXPECT_EQ(message("%{public}@", {{.text = "secret", .privacy = LogPrivacy::hidden}}), "<private>");
}

TEST(Logger, OverlooksWhatDoesNotFit) {
    EXPECT_EQ(message("%s and %s", {{"one"}}), "one and ");
    EXPECT_EQ(message("none", {{"one"}}), "none");
    EXPECT_EQ(message("100%", {{"one"}}), "100");
    EXPECT_EQ(message("%{private", {{"one"}}), "private");
    EXPECT_EQ(message("", {}), "");
}

TEST(Logger, GivesLevelSubsystemAndCategory) {
    const RecordingLogSink log;
    Logger("subsystem", "category").log(LogLevel::fault, "%s", {{"text"}});
    const LogLine expected = {
        .level = LogLevel::fault, .subsystem = "subsystem", .category = "category", .message = "text"};
    EXPECT_EQ(log.lines(), std::vector{expected});
}

TEST(Logger, GoesBackToTheOuterSinkWhenTheInnerOneEnds) {
    const RecordingLogSink outer;
    { const RecordingLogSink inner; }
    Logger::standard().log(LogLevel::debug, "outer", {});
    EXPECT_EQ(outer.messages(), std::vector<std::string>{"outer"});
}

TEST(StandardError, TakesOneLineWhateverTheTextHolds) {
    ::testing::internal::CaptureStderr();
    writeLineToStandardError(std::string("a\nb\x1b[31m\x7F\0é", 12));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "a\\x0ab\\x1b[31m\\x7f\\x00é\n");
}

TEST(FatalError, EndsTheProcessWithOneLine) {
    EXPECT_EXIT(fatalError("no\nway"), ::testing::KilledBySignal(SIGABRT), "^fatal error: no\\\\x0away\n$");
}

}  // namespace
}  // namespace platform
