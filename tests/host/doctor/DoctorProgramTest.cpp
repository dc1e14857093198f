// SPDX-License-Identifier: Apache-2.0

// The real programs, as a person calls them.

#include <gtest/gtest.h>

#include "tests/host/Person.hpp"

namespace host {
namespace {

class DoctorProgram : public Person {
  protected:
    std::map<std::string, std::string> verdicts(const ProgramResult& result) const {
        std::map<std::string, std::string> found;
        const auto object = platform::JSONSerialization::JSONObjectWithData(result.output);
        for (const auto& finding : object.at("findings").as_array())
            found[std::string(finding.at("check").as_string())] = finding.at("verdict").as_string();
        return found;
    }
};

TEST_F(DoctorProgram, FindsASignInAndAServerThatIsAway) {
    signIn();
    const auto result = widget({"doctor", "--json"});
    EXPECT_EQ(result.status, 1) << result.errors;
    const auto found = verdicts(result);
    EXPECT_EQ(found.at("extension"), "good");
    EXPECT_EQ(found.at("keyring"), "good");
    EXPECT_EQ(found.at("server"), "problem");
    EXPECT_EQ(result.output.find(accessToken), std::string::npos);
    EXPECT_EQ(result.errors.find(accessToken), std::string::npos);
}

TEST_F(DoctorProgram, FindsAServerThatAnswers) {
    const auto ready = folder.path() / "ready";
    const platform::testing::BackgroundProgram sandbox(
        program("vela-sandbox", {"--port", "0", "--ready-file", ready.string()}));
    ASSERT_TRUE(platform::testing::eventually([&] { return std::filesystem::exists(ready); }));
    environment["BASE_URL"] = folder.read("ready").substr(0, folder.read("ready").find('\n'));
    const auto found = verdicts(widget({"doctor", "--json"}));
    EXPECT_EQ(found.at("server"), "good");
    EXPECT_EQ(found.at("keyring"), "advice");
}

TEST_F(DoctorProgram, SaysInALineEachWhatItFinds) {
    const auto result = widget({"doctor"});
    EXPECT_NE(result.output.find("good  extension: It starts and answers.\n"), std::string::npos)
        << result.output;
    EXPECT_NE(result.output.find("problem  server: http://127.0.0.1:9 cannot be reached"), std::string::npos);
}

TEST_F(DoctorProgram, SetupPrintsASnippetAndKnowsWhatItCannotSetUp) {
    const auto waybar = widget({"setup", "waybar"});
    EXPECT_EQ(waybar.status, 0);
    EXPECT_NE(waybar.output.find("bar --format waybar --follow"), std::string::npos);
    EXPECT_EQ(widget({"setup", "abacus"}).status, 2);
    EXPECT_EQ(widget({"setup"}).status, 2);
}

}  // namespace
}  // namespace host
