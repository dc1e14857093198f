// SPDX-License-Identifier: Apache-2.0

#pragma once

// A person with a data folder of her own and our programs at hand, for tests that run them as she would.

#include <gtest/gtest.h>

#include <boost/json/value.hpp>
#include <map>
#include <string>
#include <vector>

#include "platform/JSON/JSONSerialization.hpp"
#include "tests/support/Program.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace host {

using platform::testing::ProgramResult;
using platform::testing::ProgramRun;

class Person : public testing::Test {
  protected:
    ProgramRun program(const std::string& name, std::vector<std::string> arguments) const {
        ProgramRun run;
        run.program = name;
        run.arguments = std::move(arguments);
        run.environment = environment;
        return run;
    }

    ProgramResult widget(std::vector<std::string> arguments) const {
        return program("vela-widget", std::move(arguments)).run();
    }

    ProgramResult companion(std::vector<std::string> arguments, std::string input = {}) const {
        auto run = program("vela-companion", std::move(arguments));
        run.input = std::move(input);
        return run.run();
    }

    void signIn() {
        const auto result = companion({"sign-in", "--user-id", "12345"}, credentials);
        EXPECT_EQ(result.status, 0) << result.errors;
    }

    /// The state of a timeline that could be printed.
    static std::string state(const ProgramResult& result) {
        EXPECT_EQ(result.status, 0) << result.errors;
        if (result.status != 0) return "none";
        const auto timeline = platform::JSONSerialization::JSONObjectWithData(result.output);
        return std::string(timeline.at("entries").as_array().front().at("state").as_string());
    }

    std::filesystem::path keychainFile() const { return folder.path() / "data/vela/keychain.sqlite"; }
    std::filesystem::path defaultsFile() const {
        return folder.path() / "data/group.com.tervane.pontal.shared/preferences.json";
    }

    static constexpr const char* accessToken = "secret-access-0123456789";
    static constexpr const char* refreshToken = "secret-refresh-0123456789";
    const std::string credentials =
        std::string(R"({"accessToken":")") + accessToken + R"(","refreshToken":")" + refreshToken + "\"}\n";

    platform::testing::TemporaryFolder folder;
    std::map<std::string, std::string> environment = {
        {"XDG_DATA_HOME", (folder.path() / "data").string()},
        {"TZ", "UTC"},
        {"LC_ALL", "C.UTF-8"},
        // A port that nobody listens on, so that a test that forgets its server meets none.
        {"BASE_URL", "http://127.0.0.1:9"},
    };
};

}  // namespace host
