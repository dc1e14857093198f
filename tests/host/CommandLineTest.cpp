// SPDX-License-Identifier: Apache-2.0

#include "platform/CommandLine/Words.hpp"

#include <gmock/gmock.h>

#include "tests/host/Person.hpp"

namespace host {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using Words = std::vector<std::string>;

TEST(NearestWord, IsTheOneThatASlipMakes) {
    const Words words = {"placeholder", "snapshot", "timeline", "declaration", "show", "render"};
    const std::pair<const char*, std::optional<std::string>> rows[] = {
        {"timeline", "timeline"},
        {"timelin", "timeline"},
        {"tiemline", "timeline"},
        {"timelines", "timeline"},
        {"shwo", "show"},
        {"sow", "show"},
        {"placehodler", "placeholder"},
        {"rendre", "render"},
        {"bogus", std::nullopt},
        {"list", std::nullopt},
        {"x", std::nullopt},
        {"", std::nullopt},
        {"timelinetimeline", std::nullopt},
    };
    for (const auto& [word, nearest] : rows) EXPECT_EQ(platform::nearestWord(word, words), nearest) << word;
    EXPECT_EQ(platform::nearestWord("word", {}), std::nullopt);
    EXPECT_EQ(platform::nearestWord("abcd", {"abcx", "abxd", "abc"}), "abcx") << "the first of the nearest";
}

class CommandLine : public Person {
  protected:
    static std::string complaint(const ProgramResult& result) {
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.errors, ::testing::EndsWith("\nRun with --help for more information.\n"));
        return result.errors.substr(0, result.errors.find('\n'));
    }
};

TEST_F(CommandLine, NamesTheWordOfTheWidgetsThatIsUnknown) {
    const std::pair<Words, const char*> rows[] = {
        {{"bogus"},
         R"(vela-widget: there is no command "bogus"; there are placeholder, snapshot, timeline, )"
         "declaration, show, render, run, reload, window, serve, bar, panel, setup, doctor, tour"},
        {{"bogus", "timeline"},
         R"(vela-widget: there is no command "bogus"; there are placeholder, snapshot, timeline, )"
         "declaration, show, render, run, reload, window, serve, bar, panel, setup, doctor, tour"},
        {{"tmeline"}, R"(vela-widget: there is no command "tmeline"; did you mean "timeline"?)"},
        {{"timeline", "bogus"}, R"(vela-widget timeline: "bogus" was not expected)"},
        {{"timeline", "snapshot"}, R"(vela-widget timeline: "snapshot" was not expected)"},
        {{"timeline", "--bogus"}, R"(vela-widget timeline: there is no option "--bogus")"},
        {{"timeline", "--famly", "systemSmall"},
         R"(vela-widget timeline: there is no option "--famly"; did you mean "--family"?)"},
        {{"timeline", "--famly=systemSmall"},
         R"(vela-widget timeline: there is no option "--famly"; did you mean "--family"?)"},
        {{"--family", "systemSmall", "timeline"}, R"(vela-widget: there is no option "--family")"},
        {{"-x"}, R"(vela-widget: there is no option "-x")"},
        {{"red\x1b[31m"}, "vela-widget: an argument was not expected"},
        {{},
         "vela-widget: a command is required; there are placeholder, snapshot, timeline, declaration, show, "
         "render, run, reload, window, serve, bar, panel, setup, doctor, tour"},
    };
    for (const auto& [arguments, words] : rows) EXPECT_EQ(complaint(widget(arguments)), words);
}

TEST_F(CommandLine, NamesTheWordOfTheCompanionsThatIsUnknown) {
    const std::pair<Words, const char*> rows[] = {
        {{"bogus"},
         R"(vela-companion: there is no command "bogus"; there are sign-in, sign-out, status, defaults, open)"},
        {{"stats"}, R"(vela-companion: there is no command "stats"; did you mean "status"?)"},
        {{"defaults", "bogus"},
         R"(vela-companion defaults: there is no command "bogus"; there are read, write, delete)"},
        {{"defaults"}, "vela-companion defaults: a command is required; there are read, write, delete"},
        {{"defaults", "wirte", "a", "b"},
         R"(vela-companion defaults: there is no command "wirte"; did you mean "write"?)"},
        {{"sing-in"}, R"(vela-companion: there is no command "sing-in"; did you mean "sign-in"?)"},
    };
    for (const auto& [arguments, words] : rows) EXPECT_EQ(complaint(companion(arguments)), words);
}

TEST_F(CommandLine, RefusesAListWithAValueMissing) {
    for (const char* list : {"systemSmall,,systemLarge", ",systemSmall", "systemSmall,", ",", ",,"})
        EXPECT_EQ(complaint(widget({"run", "--family", list})),
                  "vela-widget: --family: a value is missing beside a comma")
            << list;
    EXPECT_EQ(complaint(widget({"run", "--family", "systemSmall", "--family", "systemLarge,"})),
              "vela-widget: --family: a value is missing beside a comma");
    EXPECT_EQ(complaint(widget({"run", "--family", ""})), "vela-widget: --family: a value is missing");
}

TEST_F(CommandLine, NeverRepeatsASecret) {
    const std::string secret = "eyJhbGciOiJIUzI1NiJ9.e30";
    for (const auto& word : {secret + secret, std::string("eyJ")}) {
        for (const auto& arguments : {Words{"sign-in", word},
                                      {word, "sign-in"},
                                      {"sign-in", "--", word},
                                      {"sign-in", "--token", word},
                                      {"sign-in", "--token=" + word},
                                      {"sign-in", "--legacy=" + word},
                                      {"sign-in", "-" + word},
                                      {"sign-in", "--user-id", "7", word},
                                      {"sign-in", "--user-id", "7", "--user-id", word},
                                      {"sing-in", word},
                                      {"--sign-in=" + word},
                                      {"--sign-in", word}})
            EXPECT_THAT(complaint(companion(arguments)), Not(HasSubstr("eyJ"))) << arguments.front();
    }
    EXPECT_THAT(complaint(companion({secret + secret})), Not(HasSubstr("eyJ")));
    EXPECT_THAT(complaint(companion({"--" + secret + secret})), Not(HasSubstr("eyJ")));
}

TEST_F(CommandLine, NeverRepeatsTheInputOfASignIn) {
    for (const std::string input :
         {"eyJsecret", R"({"accessToken":"eyJsecret"})",
          R"({"accessToken":"eyJsecret","refreshToken":"eyJsecret","eyJsecret":1})",
          R"({"accessToken":"eyJsecret","refreshToken":"eyJsecret)", R"(["eyJsecret"])",
          R"({"accessToken":"eyJsecret","refreshToken":["eyJsecret"]})"}) {
        const auto result = companion({"sign-in"}, input);
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.output + result.errors, Not(HasSubstr("eyJ"))) << input;
    }
}

}  // namespace
}  // namespace host
