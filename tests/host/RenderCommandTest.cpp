// SPDX-License-Identifier: Apache-2.0

#include <fstream>

#include "host/widget/DrawingCommand.hpp"
#include "platform/URLSession/URLSession.hpp"
#include "tests/host/Person.hpp"
#include "tests/support/LoopbackServer.hpp"

namespace host {
namespace {

using platform::testing::httpReply;
using platform::testing::LoopbackServer;
using platform::testing::ReceivedRequest;

constexpr std::string_view pngSignature = "\x89PNG\r\n\x1a\n";

class RenderCommand : public Person {
  protected:
    std::string path(const std::string& name) const { return (folder.path() / name).string(); }
    std::string contents(const std::string& name) const {
        std::ifstream stream(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// Width and height that a PNG declares.
    static std::pair<unsigned, unsigned> pixelSize(const std::string& png) {
        const auto number = [&](std::size_t at) {
            unsigned value = 0;
            for (std::size_t index = 0; index < 4; ++index)
                value = value << 8 | static_cast<unsigned char>(png[at + index]);
            return value;
        };
        return png.size() < 24 ? std::pair(0u, 0u) : std::pair(number(16), number(20));
    }

    /// An entry of one package whose merchant picture is at `picture`, and that of its product, if any, at
    /// `product`.
    static std::string entry(const std::string& picture, const std::string& product = "") {
        return R"({"date":"2026-01-31T10:00:00.123Z","state":"loggedIn","packages":[{"deepLinkingUrl":"velaapp://order/1",)"
               R"("productImage":)" +
               (product.empty() ? "null" : '"' + product + '"') + R"(,"progress":0.6,"shopImage":")" +
               picture +
               R"(","shopName":"Tea House","statusText":{"primary":"In transit","secondary":null}}]})";
    }

    /// One pixel.
    static std::string png() {
        const auto source = platform::URL::parse(
            "data:image/png;base64,"
            "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAAAAAA6fptVAA"
            "AACklEQVR4nGNoAAAAggCBd81ytgAAAABJRU5ErkJggg==");
        const auto whole = platform::readWholeResource(source.value(), 1000);
        return httpReply(200, whole);
    }
};

TEST_F(RenderCommand, DrawsAPlaceholderAtEveryScale) {
    for (const unsigned scale : {1u, 2u, 3u, 4u}) {
        const auto result = widget({"render", "--entry", "placeholder", "--scale", std::to_string(scale),
                                    "--output", path("widget.png")});
        EXPECT_EQ(result.status, 0) << result.errors;
        EXPECT_EQ(result.output + result.errors, "");
        const auto png = contents("widget.png");
        EXPECT_TRUE(png.starts_with(pngSignature));
        EXPECT_EQ(pixelSize(png), std::pair(338 * scale, 158 * scale));
    }
}

TEST_F(RenderCommand, DrawsEveryFamilyInBothSchemesIntoAFolder) {
    const auto result = widget({"render", "--entry", "placeholder", "--family", "all", "--scheme", "all",
                                "--output", path("pictures/new")});
    EXPECT_EQ(result.status, 0) << result.errors;
    const std::pair<const char*, std::pair<unsigned, unsigned>> families[] = {
        {"systemSmall", {474, 474}},    {"systemMedium", {1014, 474}},        {"systemLarge", {1014, 1062}},
        {"accessoryInline", {702, 78}}, {"accessoryRectangular", {480, 216}},
    };
    std::size_t files = 0;
    for ([[maybe_unused]] const auto& file : std::filesystem::directory_iterator(path("pictures/new")))
        ++files;
    EXPECT_EQ(files, 2 * std::size(families));
    for (const auto& [family, size] : families)
        for (const auto* scheme : {"light", "dark"})
            EXPECT_EQ(pixelSize(contents(std::string("pictures/new/") + family + "-" + scheme + ".png")),
                      size)
                << family;
}

TEST_F(RenderCommand, DrawsASavedEntryFromAFileOrStandardInputWithoutAServer) {
    folder.write("entry.json", entry("file:///nowhere.png"));
    const auto fromFile =
        widget({"render", "--entry", path("entry.json"), "--format", "tree", "--output", "-"});
    auto run = program("vela-widget", {"render", "--entry", "-", "--format", "tree", "--output", "-"});
    run.input = entry("file:///nowhere.png");
    const auto fromInput = run.run();
    EXPECT_EQ(fromFile.status, 0) << fromFile.errors;
    EXPECT_EQ(fromFile.output, fromInput.output);
    EXPECT_EQ(fromFile.errors, "");
    const auto tree = platform::JSONSerialization::JSONObjectWithData(fromFile.output);
    EXPECT_EQ(tree.at("family"), "systemMedium");
    EXPECT_EQ(tree.at("colorScheme"), "light");
    EXPECT_EQ(tree.at("size"), boost::json::value({{"height", 158}, {"width", 338}}));
    EXPECT_NE(fromFile.output.find("\"text\":\"Tea House\""), std::string::npos);
    EXPECT_EQ(tree.at("links").as_array().front().at("url"), "velaapp://order/1");
}

TEST_F(RenderCommand, DrawsWhatSnapshotAndTimelinePrinted) {
    const auto snapshot = widget({"snapshot"});
    folder.write("entry.json", snapshot.output);
    EXPECT_EQ(widget({"render", "--entry", path("entry.json"), "--output", path("a.png")}).status, 0);
    EXPECT_TRUE(contents("a.png").starts_with(pngSignature));
}

TEST_F(RenderCommand, DrawsAFreshSnapshotWhereNoEntryIsGiven) {
    const auto result = widget({"render", "--family", "systemSmall", "--format", "tree", "--output", "-"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output.find("Sign in"), std::string::npos);
    EXPECT_NE(result.errors.find("Failed to fetch item accessToken"), std::string::npos);
}

TEST_F(RenderCommand, DrawsTextAtTheSizeThatIsAskedFor) {
    folder.write("entry.json", entry("file:///nowhere.png"));
    const auto heightOfName = [&](const std::string& size) {
        const auto result = widget({"render", "--entry", path("entry.json"), "--text-size", size, "--format",
                                    "tree", "--output", "-"});
        EXPECT_EQ(result.status, 0) << result.errors;
        const auto tree = platform::JSONSerialization::JSONObjectWithData(result.output);
        for (const auto& item : tree.at("items").as_array()) {
            const auto* text = item.as_object().if_contains("text");
            if (text && *text == "Tea House") return item.at("frame").at("height").to_number<double>();
        }
        return 0.0;
    };
    EXPECT_NEAR(heightOfName("xSmall"), 18 * 0.82, 0.34);
    EXPECT_NEAR(heightOfName("large"), 18, 0.34);
    EXPECT_NEAR(heightOfName("accessibility1"), 18 * 1.65, 0.34);
}

TEST_F(RenderCommand, WritesSVGWithWordsAndLinks) {
    folder.write("entry.json", entry("file:///nowhere.png"));
    const auto result = widget({"render", "--entry", path("entry.json"), "--format", "svg", "--output", "-"});
    EXPECT_EQ(result.status, 0);
    for (const auto* part : {"<svg", "<title ", "<desc ", "<text", "Tea House", "velaapp://order/1"})
        EXPECT_NE(result.output.find(part), std::string::npos) << part;
}

TEST_F(RenderCommand, SaysInWordsWhatIsDrawn) {
    auto saved = entry("file:///nowhere.png");
    saved.replace(saved.find("Tea House"), 9, "Tea\u202e\u009b2J");
    folder.write("entry.json", saved);
    const auto result =
        widget({"render", "--entry", path("entry.json"), "--format", "text", "--output", "-"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.output, "Tea 2J: in transit; 60 percent of the way\n");

    const auto placeholder = widget({"render", "--entry", "placeholder", "--family", "all", "--scheme", "all",
                                     "--format", "text", "--output", path("words")});
    EXPECT_EQ(placeholder.status, 0) << placeholder.errors;
    EXPECT_EQ(contents("words/systemLarge-dark.text"), "Not yet known\n");
}

TEST_F(RenderCommand, DrawsAsAPersonHasThingsShown) {
    folder.write("entry.json", entry("file:///nowhere.png"));
    const auto drawn = [&](std::vector<std::string> options) {
        std::vector<std::string> words = {
            "render",   "--entry", path("entry.json"), "--family", "accessoryRectangular",
            "--format", "svg",     "--output",         "-"};
        words.insert(words.end(), options.begin(), options.end());
        const auto result = widget(words);
        EXPECT_EQ(result.status, 0) << result.errors;
        return result.output;
    };
    const std::string usual = drawn({});
    EXPECT_EQ(drawn({"--contrast", "standard", "--transparency", "standard"}), usual);
    EXPECT_NE(drawn({"--contrast", "increased"}), usual);
    EXPECT_EQ(usual.find("linearGradient id"), std::string::npos);
    EXPECT_NE(drawn({"--transparency", "reduced"}).find("linearGradient id"), std::string::npos);
    const std::string redacted = drawn({"--redacted"});
    for (const auto* secret : {"<text", "velaapp", "transit", "Tea House"})
        EXPECT_EQ(redacted.find(secret), std::string::npos) << secret;
    EXPECT_NE(redacted.find(">Not yet known</desc>"), std::string::npos);
}

TEST_F(RenderCommand, RefusesAnAppearanceThatIsNotKnown) {
    for (const auto& [option, value] : {std::pair("--contrast", "high"), {"--transparency", "none"}}) {
        const auto result =
            widget({"render", "--entry", "placeholder", option, value, "--output", path("no.png")});
        EXPECT_EQ(result.status, 2);
        EXPECT_NE(result.errors.find(option), std::string::npos) << result.errors;
    }
    EXPECT_EQ(widget({"show", "--contrast", "increased"}).status, 2) << "without --image";
}

TEST_F(RenderCommand, GivesPlaceholdersForPicturesThatNeverCome) {
    const LoopbackServer server([](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
        if (request.target() == "/never.png") peer.stall();
        peer.send(png());
    });
    const std::string product = server.url("/product.png").absoluteString();
    folder.write("entry.json", entry(server.url("/never.png").absoluteString(), product));
    const auto result = widget({"render", "--entry", path("entry.json"), "--picture-budget", "2", "--family",
                                "all", "--scheme", "all", "--format", "tree", "--output", path("pictures")});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "") << "another extension was started";
    EXPECT_EQ(server.requests().size(), 2u) << "every drawing asked anew";
    for (const auto* scheme : {"light", "dark"}) {
        const auto large = contents(std::string("pictures/systemLarge-") + scheme + ".tree");
        EXPECT_NE(large.find("\"text\":\"T\""), std::string::npos);
        EXPECT_NE(large.find(product), std::string::npos) << large;
    }
}

TEST_F(RenderCommand, GivesPlaceholdersForPicturesThatAreNone) {
    const LoopbackServer text(httpReply(200, "no picture"));
    const LoopbackServer loop([](const ReceivedRequest&, LoopbackServer::Peer& peer) {
        peer.send(httpReply(302, "", {"Location: /again"}));
    });
    folder.write("text.png", "no picture");
    const std::string pictures[] = {text.url("/p").absoluteString(),
                                    loop.url("/p").absoluteString(),
                                    "file:///dev/zero",
                                    "file:///",
                                    "file://" + path("text.png"),
                                    "data:image/png,nothing",
                                    "ftp://127.0.0.1/p",
                                    "velaapp://order/1"};
    for (const auto& picture : pictures) {
        folder.write("entry.json", entry(picture));
        const auto result =
            widget({"render", "--entry", path("entry.json"), "--format", "tree", "--output", "-"});
        EXPECT_EQ(result.status, 0) << picture << result.errors;
        EXPECT_NE(result.output.find("\"text\":\"T\""), std::string::npos) << picture;
    }
}

TEST_F(RenderCommand, SaysWhatIsWrongWithAnEntry) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "not JSON"},
        {"{}", "entry.date must be a text"},
        {R"({"date":"2026-01-31T10:00:00Z","state":"lost"})", "entry.state must be"},
    };
    for (const auto& [text, message] : rows) {
        folder.write("entry.json", text);
        const auto result = widget({"render", "--entry", path("entry.json"), "--output", path("never.png")});
        EXPECT_EQ(result.status, 1);
        EXPECT_TRUE(result.errors.starts_with("vela-widget: " + path("entry.json") + ": ")) << result.errors;
        EXPECT_NE(result.errors.find(message), std::string::npos) << result.errors;
        EXPECT_FALSE(std::filesystem::exists(path("never.png")));
    }
    EXPECT_EQ(widget({"render", "--entry", path("nowhere.json"), "--output", path("x.png")}).status, 1);
    EXPECT_EQ(widget({"render", "--entry", "placeholder", "--output", path("no/such/folder.png")}).status, 1);
}

TEST_F(RenderCommand, ExitsWithTwoOnWrongUsage) {
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {"render"},
             {"render", "--output", "x", "--scale", "5"},
             {"render", "--output", "x", "--scale", "0"},
             {"render", "--output", "x", "--size", "10"},
             {"render", "--output", "x", "--size", "0x10"},
             {"render", "--output", "x", "--size", "99999x10"},
             {"render", "--output", "x", "--size", "4096x4096", "--scale", "2"},
             {"render", "--output", "x", "--scheme", "sepia"},
             {"render", "--output", "x", "--format", "bmp"},
             {"render", "--output", "x", "--tint", "red"},
             {"render", "--output", "x", "--family", "huge"},
             {"render", "--output", "x", "--entry", ""},
             {"render", "--output", "x", "--text-size", "huge"},
             {"show", "--text-size", "large"},
             {"show", "--family", "systemSmall"}})
        EXPECT_EQ(widget(arguments).status, 2);
}

TEST_F(RenderCommand, SaysWhereItCannotWriteAndWhy) {
    folder.write("file", "");
    std::filesystem::create_directory(path("folder"));
    const std::string longest(300, 'x');
    const std::pair<std::string, const char*> rows[] = {
        {path("missing/x.tree"), "No such file or directory"},
        {path("folder"), "Is a directory"},
        {path("file/x.tree"), "Not a directory"},
        {path(longest), "File name too long"},
        {"/dev/full", "No space left on device"},
    };
    for (const auto& [output, reason] : rows) {
        const auto result =
            widget({"render", "--entry", "placeholder", "--format", "tree", "--output", output});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.errors, "vela-widget: cannot write " + output + ": " + reason + "\n");
    }
    for (const auto& left : std::filesystem::directory_iterator(folder.path()))
        EXPECT_FALSE(left.path().string().ends_with(".tmp")) << left.path();
}

TEST_F(RenderCommand, NamesTheRangeOfANumberThatIsOutside) {
    const std::pair<const char*, const char*> rows[] = {
        {"--scale", "must be a number from 1 to 4"},
        {"--picture-budget", "must be a number from 0.1 to 120"},
        {"--size", "each 1 to 4096"},
    };
    for (const auto& [option, range] : rows)
        for (const std::string value : {"nan", "-nan", "inf", "-inf", "-1", "0", "1e300", "x", "3 ", "121",
                                        "nanxnan", "infxinf", "-1x-1", "1e9x1"}) {
            const auto result = widget({"render", "--entry", "placeholder", "--output", path("x"),
                                        std::string(option) + "=" + value});
            EXPECT_EQ(result.status, 2) << option << value;
            EXPECT_NE(result.errors.find(range), std::string::npos) << option << value << result.errors;
            EXPECT_FALSE(std::filesystem::exists(path("x")));
        }
}

TEST_F(RenderCommand, NamesTheSmallestSizeWhereTheWordsWouldNotFit) {
    const auto refused = widget({"render", "--entry", "placeholder", "--family", "systemSmall", "--size",
                                 "157x158", "--output", path("x")});
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.errors, "vela-widget: systemSmall needs at least 158x146 points to show its words\n");
    EXPECT_FALSE(std::filesystem::exists(path("x")));
}

TEST_F(RenderCommand, NeedsAFolderForSeveralDrawingsAndANameForOne) {
    for (const auto& several : {std::vector<std::string>{"--family", "all"}, {"--scheme", "all"}}) {
        auto run = program("vela-widget", {"render", "--entry", "placeholder", "--output", "-"});
        run.arguments.insert(run.arguments.end(), several.begin(), several.end());
        const auto result = run.run();
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.errors, "vela-widget: several drawings need a folder; standard output takes one\n");
    }
    const auto result = widget({"render", "--entry", "placeholder", "--output", ""});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.errors.find("--output: a file or a folder must be named"), std::string::npos)
        << result.errors;
}

TEST_F(RenderCommand, DrawsAnotherSizeAndTint) {
    const auto result =
        widget({"render", "--entry", "placeholder", "--family", "accessoryRectangular", "--size", "200x100",
                "--scale", "1", "--tint", "#FF8800", "--output", path("a.png")});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(pixelSize(contents("a.png")), std::pair(200u, 100u));
}

TEST_F(RenderCommand, ShowsTheWidgetItselfInATerminal) {
    environment["TERM"] = "xterm-256color";
    const auto result = widget({"show", "--image", "--family", "systemSmall"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_NE(result.output.find("\x1b["), std::string::npos);
    EXPECT_TRUE(result.output.ends_with("\n"));
}

TEST(SizeFromText, ReadsWidthAndHeightInPoints) {
    EXPECT_EQ(sizeFromText("338x158"), (drawing::Size{338, 158}));
    EXPECT_EQ(sizeFromText("1.5x4096"), (drawing::Size{1.5, 4096}));
    for (const auto* text : {"", "x", "1x", "x1", "1x1x1", "-1x1", "0x1", "4097x1", "nanx1", "1e9x1", "1 x1"})
        EXPECT_EQ(sizeFromText(text), std::nullopt) << text;
}

}  // namespace
}  // namespace host
