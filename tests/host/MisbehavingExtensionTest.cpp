// SPDX-License-Identifier: Apache-2.0

#include <signal.h>
#include <sys/stat.h>

#include <fstream>

#include "host/widget/DrawingCommand.hpp"
#include "host/widget/ExtensionAnswer.hpp"
#include "tests/host/Misbehaviour.hpp"

namespace host {
namespace {

using platform::testing::eventually;
using std::chrono::milliseconds;
using Kind = ExtensionRequest::Kind;

constexpr const char* goodEntry = R"({"date":"2026-01-31T10:00:00.000Z","state":"noPackages"})";
constexpr const char* entryWithPicture =
    R"({"date":"2026-01-31T10:00:00.000Z","state":"loggedIn","packages":[{"progress":0,)"
    R"("deepLinkingUrl":"a:b","shopImage":"https://a.example/p","shopName":"n","statusText":{"primary":"p"}}]})";

class MisbehavingExtension : public Misbehaviour {
  protected:
    /// Asks for a drawing of a saved entry, which needs nothing but the drawing.
    Ending draw(const std::string& behaviour, milliseconds pictureBudget = std::chrono::hours(1),
                const char* entry = goodEntry) const {
        folder.write("entry.json", entry);
        DrawingCommand command;
        command.families = {platform::WidgetFamily::systemSmall};
        command.colorSchemes = {drawing::ColorScheme::light};
        command.entry = path("entry.json");
        command.format = widget::DrawingFormat::tree;
        command.pictureBudget = pictureBudget;
        command.output = path("drawing.json");
        command.extension = settings;
        return ending(behaviour, [&] { return command.run(); });
    }

    static std::string line(const std::string& message) { return "vela-widget: " + message + "\n"; }
};

TEST_F(MisbehavingExtension, IsNamedWithWhatItDid) {
    struct Row {
        const char* behaviour;
        const char* message;
    };
    const Row rows[] = {
        {"exit 3", "the extension ended with status 3 before it answered"},
        {"raise 11", "the extension ended by signal SIGSEGV before it answered"},
        {"greet\nraise 6", "the extension ended by signal SIGABRT before it answered"},
        {"greet\nreceive\nraise 9", "the extension ended by signal SIGKILL before it answered"},
        {"greet\nreceive\nclaim 100 0\nbytes {\nexit 0",
         "the extension ended with status 0 before it answered"},
        {"greet 2",
         "the extension broke the protocol (the other side speaks another version of the protocol) "
         "before it answered"},
        {"bytes no greeting at all",
         "the extension broke the protocol (a message is longer than the protocol allows) before it "
         "answered"},
        {"send []", "the extension broke the protocol (a message is no JSON object) before it answered"},
        {"greet\nreceive\nsend {\"id\":99}",
         "the extension broke the protocol (it answered what it was not asked) before it answered"},
        {"greet\nreceive\nsend {\"id\":0}",
         "the extension broke the protocol (it answered what it was not asked) before it answered"},
        {"greet\nreceive\nsend {\"id\":-1}",
         "the extension broke the protocol (it answered what it was not asked) before it answered"},
        {"greet\nreceive\nsend {\"id\":\"1\"}",
         "the extension broke the protocol (it answered what it was not asked) before it answered"},
        {"greet\nreceive\nsend {}",
         "the extension broke the protocol (it answered what it was not asked) before it answered"},
        {"greet\nreceive\nanswer {\"error\":\"a \\u001b[2J\\nb\"}", "a  [2J b"},
        {"greet\nreceive\nanswer {\"error\":7}", "the extension failed"},
    };
    for (const auto& row : rows) {
        const auto result = ask(Kind::timeline, row.behaviour);
        EXPECT_EQ(result.status, 1) << row.behaviour;
        EXPECT_EQ(result.errors, line(row.message));
        EXPECT_TRUE(isNothingLeft()) << row.behaviour;
    }
}

TEST_F(MisbehavingExtension, IsGivenUpWhenItHangs) {
    settings.answerLimit = milliseconds(100);
    settings.farewellLimit = milliseconds(100);
    for (const std::string behaviour :
         {"sleep 3600000", "raise 19", "greet\nraise 19", "greet\nreceive\nraise 19",
          "greet\nreceive\nsleep 3600000", "greet\nreceive\nclaim 100 268435456\nsleep 3600000"})
        for (const auto kind : {Kind::timeline, Kind::snapshot}) {
            const auto result = ask(kind, behaviour);
            EXPECT_EQ(result.status, 1) << behaviour;
            EXPECT_EQ(result.errors, line("the extension has not answered within 100 ms"));
            EXPECT_TRUE(eventually(isNothingLeft)) << behaviour;
        }
}

TEST_F(MisbehavingExtension, IsGivenUpWhenItHangsWhileDrawing) {
    settings.answerLimit = milliseconds(1500);
    settings.drawingLimit = milliseconds(60);
    settings.farewellLimit = milliseconds(200);
    for (const std::string behaviour :
         {"greet\nreceive\nraise 19", "greet\nreceive\nsleep 3600000", "raise 19"}) {
        const auto atOnce = line("the extension has not answered within 2 s");
        auto result = draw(behaviour, milliseconds(40));
        // Where the machine stands still in between, both limits are met at once.
        for (int attempt = 1; attempt < 10 && result.errors == atOnce; ++attempt)
            result = draw(behaviour, milliseconds(40));
        EXPECT_EQ(result.status, 1) << behaviour;
        EXPECT_EQ(result.errors, line("the extension has not answered within 60 ms; starting it again") +
                                     line("the extension has not answered within 2 s"));
        EXPECT_FALSE(std::filesystem::exists(path("drawing.json")));
        EXPECT_TRUE(eventually(isNothingLeft)) << behaviour;
    }
}

TEST_F(MisbehavingExtension, IsSaidToHangOverPicturesOnlyWhereThereAreAny) {
    settings.drawingLimit = milliseconds(60);
    settings.farewellLimit = milliseconds(200);
    // One that is given up before it has met the mark leaves that to the next, which nobody gives up.
    const auto hangsOnce = [&](const std::string& mark) {
        return "greet\nreceive\nunless " + path(mark) + " sleep 20000\ndraw {}";
    };
    const auto without = draw(hangsOnce("first"), milliseconds(40), goodEntry);
    EXPECT_EQ(without.status, 0);
    EXPECT_EQ(without.errors, line("the extension has not answered within 60 ms; starting it again"));
    const auto with = draw(hangsOnce("second"), milliseconds(40), entryWithPicture);
    EXPECT_EQ(with.status, 0);
    EXPECT_EQ(with.errors, line("the extension has not answered within 100 ms, perhaps because of its "
                                "pictures; drawing without them"));
}

TEST_F(MisbehavingExtension, HasOneLimitForAllAnswersOfACommand) {
    settings.answerLimit = milliseconds(900);
    settings.farewellLimit = milliseconds(200);
    DrawingCommand command;
    command.colorSchemes = {drawing::ColorScheme::light};
    command.entry = "placeholder";
    command.output = path("pictures");
    command.outputKind = DrawingCommand::OutputKind::folder;
    command.format = widget::DrawingFormat::tree;
    command.extension = settings;
    // None of the three takes as long as all may.
    const std::string behaviour =
        "greet\nreceive\nsleep 400\nanswer "
        R"({"declaration":{"kind":"","displayName":"","description":"","supportedFamilies":["systemSmall"]}})"
        "\nreceive\nsleep 400\nanswer {\"entry\":" +
        std::string(goodEntry) + "}\nreceive\nsleep 400\ndraw {}";
    const auto result = ending(behaviour, [&] { return command.run(); });
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.errors.ends_with(line("the extension has not answered within 900 ms")))
        << result.errors;
    EXPECT_TRUE(std::filesystem::is_empty(path("pictures")));
    EXPECT_TRUE(eventually(isNothingLeft));
}

TEST_F(MisbehavingExtension, SharesTheLimitWithTheOneThatIsStartedAgain) {
    settings.answerLimit = milliseconds(900);
    settings.farewellLimit = milliseconds(200);
    const auto result =
        draw("greet\nreceive\nsleep 500\nunless " + path("mark") + " raise 11\nsleep 300\ndraw {}");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.errors.ends_with(line("the extension has not answered within 900 ms")))
        << result.errors;
    EXPECT_FALSE(std::filesystem::exists(path("drawing.json")));
    EXPECT_TRUE(eventually(isNothingLeft));
}

TEST_F(MisbehavingExtension, IsNotStartedForAnEntryThatNeverEnds) {
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    settings.answerLimit = milliseconds(100);
    DrawingCommand command;
    command.families = {platform::WidgetFamily::systemSmall};
    command.colorSchemes = {drawing::ColorScheme::light};
    command.entry = path("pipe");
    command.output = path("drawing.png");
    command.extension = settings;
    const auto result = ending("note " + path("started"), [&] { return command.run(); });
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, line(path("pipe") + " has not ended within 100 ms"));
    EXPECT_FALSE(std::filesystem::exists(path("started")));
    EXPECT_FALSE(std::filesystem::exists(path("drawing.png")));
}

TEST_F(MisbehavingExtension, IsStartedAgainOnceWhenItEndsWhileDrawing) {
    const auto once = draw("greet\nreceive\nunless " + path("mark") + " raise 11\ndraw {}");
    EXPECT_EQ(once.status, 0);
    EXPECT_EQ(once.errors, line("the extension ended by signal SIGSEGV while drawing; starting it again"));
    EXPECT_EQ(folder.read("drawing.json"), "{}");
    EXPECT_TRUE(isNothingLeft());

    const auto twice = draw("greet\nreceive\nraise 11");
    EXPECT_EQ(twice.status, 1);
    EXPECT_EQ(twice.errors, line("the extension ended by signal SIGSEGV while drawing; starting it again") +
                                line("the extension ended by signal SIGSEGV while drawing"));
    EXPECT_TRUE(isNothingLeft());
}

TEST_F(MisbehavingExtension, SendsNoDrawing) {
    for (const std::string behaviour :
         {"greet\nreceive\nanswer {}", "greet\nreceive\ndraw PNG", "greet\nreceive\nanswer {\"entry\":{}}"}) {
        const auto result = draw(behaviour);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.errors, line("the extension sent no drawing of the format asked for"));
        EXPECT_FALSE(std::filesystem::exists(path("drawing.json")));
    }
}

TEST_F(MisbehavingExtension, OffersNoFamilyToDraw) {
    DrawingCommand command;
    command.colorSchemes = {drawing::ColorScheme::light};
    command.entry = "placeholder";
    command.extension = settings;
    const std::pair<const char*, const char*> rows[] = {
        {"{}", "the extension's answer has no declaration"},
        {R"({"declaration":[]})", "the extension's answer cannot be used: declaration must be an object"},
        {R"({"declaration":{"kind":"","displayName":"","description":"","supportedFamilies":[]}})",
         "the extension offers no family to draw"},
        {R"({"declaration":{"kind":"","displayName":"","description":"","supportedFamilies":[null]}})",
         "the extension's answer cannot be used: declaration.supportedFamilies[0] must be a text"},
    };
    for (const auto& [answer, message] : rows) {
        const auto result =
            ending("greet\nreceive\nanswer " + std::string(answer), [&] { return command.run(); });
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.errors, line(message));
    }
}

TEST_F(MisbehavingExtension, SendsWhatIsNoTimeline) {
    const auto timeline = [](const std::string& entries) {
        return R"({"timeline":{"policy":{"after":"2026-01-31T11:00:00.000Z"},"entries":)" + entries + "}}";
    };
    const auto package = [&](const std::string& members) {
        return timeline(R"([{"date":"2026-01-31T10:00:00.000Z","state":"loggedIn","packages":[{)" + members +
                        R"("deepLinkingUrl":"a:b","shopName":"n","statusText":{"primary":"p"}}]}])");
    };
    const std::string unusable = "the extension's answer cannot be used: timeline";
    const std::pair<std::string, std::string> rows[] = {
        {"{}", "the extension's answer has no timeline"},
        {R"({"timeline":null})", unusable + " must be an object"},
        {R"({"timeline":{}})", unusable + ".policy must be an object"},
        {timeline("7"), unusable + ".entries must be a list"},
        {timeline("[]"), "the extension's timeline has no entry"},
        {timeline("[7]"), unusable + ".entries[0] must be an object"},
        {timeline(R"([{"date":"99999-01-31T10:00:00Z"}])"),
         unusable + ".entries[0].date must be a date such as 2026-01-31T10:00:00.123Z"},
        {package(""), unusable + ".entries[0].packages[0].progress must be a number from 0 to 1"},
        {package(R"("progress":1e300,)"),
         unusable + ".entries[0].packages[0].progress must be a number from 0 to 1"},
        {package(R"("progress":"0.5",)"),
         unusable + ".entries[0].packages[0].progress must be a number from 0 to 1"},
        {package(R"("progress":1,"shopImage":7,)"),
         unusable + ".entries[0].packages[0].shopImage must be a text"},
    };
    for (const auto& [answer, message] : rows) {
        const auto result = ask(Kind::timeline, "greet\nreceive\nanswer " + answer,
                                [](const Message& reply) { timelineIn(reply); });
        EXPECT_EQ(result.status, 1) << answer;
        EXPECT_EQ(result.errors, line(message));
    }
}

TEST_F(MisbehavingExtension, SendsMoreThanItsNestingMayBe) {
    const auto result = ask(Kind::timeline, "greet\nreceive\nclaim 2000 0\nbytes " + std::string(2000, '['));
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find("broke the protocol (not JSON"), std::string::npos) << result.errors;
}

TEST_F(MisbehavingExtension, MayStoreARenewedPairBeforeItEnds) {
    // Told to end, it goes on; what it does last is to be seen.
    const auto renewal = "ignore 15\ngreet\nreceive\nanswer {}\nsleep 600\nnote " + path("stored");
    settings.farewellLimit = milliseconds(50);
    EXPECT_EQ(ask(Kind::snapshot, renewal).status, 0);
    EXPECT_TRUE(std::filesystem::exists(path("stored"))) << "it was killed";
    EXPECT_TRUE(isNothingLeft());
}

TEST_F(MisbehavingExtension, MayStoreARenewedPairAfterItsHostHasGivenUp) {
    settings.answerLimit = milliseconds(100);
    const auto renewal = "ignore 15\nnote " + path("begun") + "\ngreet\nreceive\nawait " + path("reply") +
                         "\ncomplain heard by nobody\nnote " + path("stored");
    // On a machine with much else to do it may be given up before it has begun.
    for (int attempt = 0; attempt < 20 && !std::filesystem::exists(path("begun")); ++attempt) {
        const auto result = ask(Kind::snapshot, renewal);
        EXPECT_EQ(result.errors, line("the extension has not answered within 100 ms"));
    }
    folder.write("reply", "");
    EXPECT_TRUE(eventually([&] { return std::filesystem::exists(path("stored")); })) << "it was killed";
    EXPECT_TRUE(eventually(isNothingLeft));
}

TEST_F(MisbehavingExtension, IsKilledWhenItGoesOnForLongerThanAnyRenewal) {
    settings.farewellLimit = milliseconds(50);
    settings.renewalLimit = milliseconds(100);
    EXPECT_EQ(ask(Kind::snapshot, "ignore 15\ngreet\nreceive\nanswer {}\nsleep 3600000").status, 0);
    EXPECT_TRUE(isNothingLeft());
}

TEST_F(MisbehavingExtension, LosesNoAnswerByUploadsThatNeverEnd) {
    int answers = 0;
    const auto count = [&](const Message&) { ++answers; };
    for (const std::string end : {"raise 9", "answer {\"error\":\"no\"}", "send {}", "raise 19"}) {
        settings.farewellLimit = milliseconds(50);
        const auto result = ask(Kind::timeline, "greet\nreceive\nanswer {}\nreceive\n" + end, count);
        EXPECT_EQ(result.status, 0) << end;
        EXPECT_EQ(result.errors, "") << end;
        EXPECT_TRUE(eventually(isNothingLeft));
    }
    EXPECT_EQ(answers, 4);
}

TEST_F(MisbehavingExtension, IsHeardOnBothItsStreamsInOrder) {
    const auto result =
        ask(Kind::snapshot, "print one\ncomplain two\\e[2J\nprint three\ngreet\nreceive\nanswer {}");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "one\ntwo\x1b[2J\nthree\n") << "unchanged where there is no terminal";
}

TEST_F(MisbehavingExtension, IsFoundWantingWhenItCannotBeStarted) {
    folder.write("text", "no program");
    for (const auto& [program, reason] : std::vector<std::pair<std::string, std::string>>{
             {path("nowhere"), "No such file or directory"}, {path("text"), "Permission denied"}}) {
        settings.executable = program;
        const auto result = ask(Kind::snapshot, "");
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.errors, line("cannot start " + program + ": " + reason));
        EXPECT_TRUE(isNothingLeft());
    }
}

TEST_F(MisbehavingExtension, FailsWhatThePresentationThrows) {
    const auto result =
        ask(Kind::snapshot, "greet\nreceive\nanswer {}", [](const Message&) { throw std::bad_alloc(); });
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, line("there is not enough memory"));
    EXPECT_TRUE(isNothingLeft());
}

}  // namespace
}  // namespace host
