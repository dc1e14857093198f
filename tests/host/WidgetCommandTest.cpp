// SPDX-License-Identifier: Apache-2.0

#include <signal.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <thread>

#include "tests/host/Person.hpp"
#include "tests/support/LoopbackServer.hpp"

namespace host {
namespace {

using platform::testing::BackgroundProgram;
using platform::testing::childrenOf;
using platform::testing::eventually;
using platform::testing::httpReply;
using platform::testing::isAlive;
using platform::testing::LoopbackServer;
using platform::testing::ReceivedRequest;
namespace json = boost::json;

constexpr const char* onePackage =
    R"({"data":{"__typename":"Query","deliveriesOrdersList":{"__typename":"DeliveriesOrdersListConnection","nodes":[)"
    R"({"__typename":"Delivery","id":"d-1","status":"IN_TRANSIT","state":"CURRENT","customName":"Tea",)"
    R"("deliveryFlags":[],"exceptions":[]}]}}})";

class WidgetCommand : public Person {
  protected:
    void serve(const LoopbackServer& server) {
        environment["BASE_URL"] = "http://127.0.0.1:" + std::to_string(server.port());
    }
    std::string stateAfter(const std::string& reply) {
        const LoopbackServer server(reply);
        serve(server);
        return state(widget({"timeline"}));
    }
    std::string stateAfterBody(const std::string& body) { return stateAfter(httpReply(200, body)); }
};

TEST_F(WidgetCommand, PrintsThePlaceholder) {
    const auto result = widget({"placeholder", "--family", "systemLarge"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    const auto entry = platform::JSONSerialization::JSONObjectWithData(result.output);
    EXPECT_EQ(entry.at("state"), "loggedIn");
    EXPECT_EQ(entry.at("packages").as_array().size(), 3u);
    EXPECT_NE(result.output.find(R"("progress":0.4,)"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "data")) << "the placeholder writes nothing";
}

TEST_F(WidgetCommand, SaysSoWhenStandardOutputTakesNothing) {
    ProgramRun shell = {.program = "/bin/sh"};
    shell.arguments = {"-c", "exec \"$0\" placeholder > /dev/full",
                       (platform::testing::programFolder() / "vela-widget").string()};
    shell.environment = environment;
    const auto result = shell.run();
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find("vela-widget: cannot write to standard output"), std::string::npos)
        << result.errors;
}

TEST_F(WidgetCommand, EndsQuietlyWhenNobodyReadsOn) {
    ProgramRun shell = {.program = "/bin/sh"};
    shell.arguments = {"-c", "\"$0\" placeholder | true",
                       (platform::testing::programFolder() / "vela-widget").string()};
    shell.environment = environment;
    EXPECT_EQ(shell.run().errors, "");
}

TEST_F(WidgetCommand, PrintsTheDeclaration) {
    EXPECT_EQ(
        widget({"declaration"}).output,
        R"({"description":"Keep track of your packages with real-time updates.",)"
        R"("displayName":"Tracking Widget","kind":"TrackingWidget","supportedFamilies":["systemMedium",)"
        R"("systemSmall","systemLarge","accessoryRectangular","accessoryInline"]})"
        "\n");
}

TEST_F(WidgetCommand, PrintsATimelineOfWhatTheServerHas) {
    const LoopbackServer server(httpReply(200, onePackage));
    serve(server);
    signIn();
    const auto result = widget({"timeline", "--family", "systemSmall"});
    EXPECT_EQ(state(result), "loggedIn");
    EXPECT_EQ(result.errors, "");
    EXPECT_NE(
        result.output.find(
            R"("packages":[{"deepLinkingUrl":"velaapp://delivery/d-1?referral=ios_widget","productImage":null,)"
            R"("progress":0.6,"shopImage":null,"shopName":"Tea","statusText":{"primary":"In transit",)"
            R"("secondary":null}}])"),
        std::string::npos)
        << result.output;
    const auto timeline = platform::JSONSerialization::JSONObjectWithData(result.output);
    EXPECT_TRUE(timeline.at("policy").at("after").is_string());
}

TEST_F(WidgetCommand, SendsExactlyTheHeadersThatWereAskedFor) {
    const LoopbackServer server(httpReply(200, onePackage));
    serve(server);
    signIn();
    widget({"snapshot"});
    ASSERT_EQ(server.requests().size(), 1u);
    const auto request = server.requests().front();
    EXPECT_EQ(request.method(), "POST");
    EXPECT_EQ(request.target(), "/graphql");
    std::vector<std::string> names;
    for (const auto& line : request.headerLines()) {
        const auto name = line.substr(0, line.find(':'));
        // What HTTP itself needs, and the compression that the platform's session always offers.
        if (name != "Host" && name != "Content-Length" && name != "Accept-Encoding") names.push_back(line);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"Content-type: application/json", "Accept: application/json",
                                               std::string("authorization: Bearer ") + accessToken}));
    const auto body = platform::JSONSerialization::JSONObjectWithData(request.body);
    EXPECT_EQ(body.as_object().size(), 2u);
}

TEST_F(WidgetCommand, PassesTheExtensionsLinesOnToStandardError) {
    const LoopbackServer server(httpReply(200, onePackage));
    serve(server);
    const auto result = widget({"timeline"});
    EXPECT_EQ(state(result), "loggedIn");
    EXPECT_EQ(result.errors,
              "Failed to fetch item accessToken with reason itemNotFound\n"
              "Failed to fetch item accessToken with reason itemNotFound\n"
              "Failed to fetch item session with reason itemNotFound\n");
}

TEST_F(WidgetCommand, MovesATokenFromTheOlderLocationOnce) {
    const LoopbackServer server(httpReply(200, onePackage));
    serve(server);
    EXPECT_EQ(companion({"sign-in", "--legacy"}, credentials).status, 0);
    EXPECT_EQ(widget({"timeline"}).errors, "Failed to fetch item accessToken with reason itemNotFound\n");
    EXPECT_EQ(widget({"timeline"}).errors, "");
    for (const auto& request : server.requests())
        EXPECT_EQ(request.header("authorization"), std::string("Bearer ") + accessToken);
}

TEST_F(WidgetCommand, RenewsThePairAndUsesItOnTheNextReload) {
    const LoopbackServer server([](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
        const bool isRefresh = request.body.find("mutation RefreshAccessToken") != std::string::npos;
        if (isRefresh)
            peer.send(httpReply(200,
                                R"({"data":{"__typename":"Mutation","accessTokenRefresh":{"__typename":"P",)"
                                R"("userErrors":[],"authPayload":{"__typename":"Auth",)"
                                R"("accessToken":"renewed","refreshToken":"renewed too"}}}})"));
        else if (request.header("authorization") == "Bearer renewed")
            peer.send(httpReply(200, onePackage));
        else
            peer.send(httpReply(401, ""));
    });
    serve(server);
    signIn();
    EXPECT_EQ(state(widget({"timeline"})), "notLoggedIn");
    EXPECT_EQ(server.requests().size(), 2u);
    EXPECT_EQ(state(widget({"timeline"})), "loggedIn");
    EXPECT_EQ(server.requests().size(), 3u);
}

TEST_F(WidgetCommand, ShowsTheSignedOutStateForEveryBrokenReply) {
    signIn();
    std::string nested;
    for (int depth = 0; depth < 100'000; ++depth) nested += R"({"data":)";
    const auto withName = [](const std::string& name) {
        auto body = std::string(onePackage);
        return body.replace(body.find("Tea"), 3, name);
    };
    EXPECT_EQ(stateAfterBody("not JSON"), "notLoggedIn");
    EXPECT_EQ(stateAfterBody(""), "notLoggedIn");
    EXPECT_EQ(stateAfterBody(std::string(onePackage).substr(0, 100)), "notLoggedIn");
    EXPECT_EQ(stateAfterBody(nested), "notLoggedIn");
    EXPECT_EQ(stateAfterBody(std::string(200'000, '[')), "notLoggedIn");
    EXPECT_EQ(stateAfterBody(withName("\xff\xfe")), "notLoggedIn");
    EXPECT_EQ(stateAfterBody(withName("\\ud800")), "notLoggedIn");
    EXPECT_EQ(stateAfterBody(withName("\\udc00x")), "notLoggedIn");
    EXPECT_EQ(stateAfterBody(withName(R"(","id":7,"x":")")), "notLoggedIn");
    EXPECT_EQ(stateAfterBody(withName(R"(","huge":1e999,"x":")")), "notLoggedIn");
    EXPECT_EQ(stateAfter("this is not HTTP at all\r\n\r\n"), "notLoggedIn");
    EXPECT_EQ(stateAfter(httpReply(401, onePackage)), "notLoggedIn");
    EXPECT_EQ(
        stateAfterBody(R"({"errors":[{"message":"Unauthorized: expired"}],"data":{"__typename":"Query"}})"),
        "notLoggedIn");
}

TEST_F(WidgetCommand, ShowsTheSignedOutStateForAReplyThatIsCutShort) {
    signIn();
    const LoopbackServer server([](const ReceivedRequest&, LoopbackServer::Peer& peer) {
        peer.send("HTTP/1.1 200 OK\r\nContent-Length: 5000\r\n\r\n" + std::string(onePackage));
        peer.close();
    });
    serve(server);
    EXPECT_EQ(state(widget({"timeline"})), "notLoggedIn");
}

TEST_F(WidgetCommand, ReadsUnusualButUsableReplies) {
    signIn();
    const auto withName = [](const std::string& name) {
        auto body = std::string(onePackage);
        return body.replace(body.find("Tea"), 3, name);
    };
    EXPECT_EQ(stateAfter(httpReply(500, onePackage)), "loggedIn");
    EXPECT_EQ(stateAfterBody("\xEF\xBB\xBF" + std::string(onePackage)), "loggedIn");
    EXPECT_EQ(stateAfterBody(withName(R"(","big":123456789012345678901234567890,"x":")")), "loggedIn");
    EXPECT_EQ(stateAfterBody(withName(R"(","customName":"twice)")), "loggedIn");
    EXPECT_EQ(stateAfterBody(R"({"data":{"__typename":"Query"}})"), "noPackages");
    EXPECT_EQ(stateAfterBody(R"({"errors":[{"message":"slow"}],"data":{"__typename":"Query"}})"),
              "noPackages");
}

TEST_F(WidgetCommand, MakesALinkOfEveryId) {
    signIn();
    const std::pair<const char*, const char*> rows[] = {
        {"a b", "a%20b"},
        {R"(\"quoted\")", "%22quoted%22"},
        {R"(line\nbreak)", "line%0Abreak"},
        {"😀", "%F0%9F%98%80"},
        {R"(\u0000)", "%00"},
        {"", ""},
        {"%zz", "%25zz"},
        {"[x]", "%5Bx%5D"},
    };
    for (const auto& [id, encoded] : rows) {
        auto body = std::string(onePackage);
        body.replace(body.find("d-1"), 3, id);
        const LoopbackServer server(httpReply(200, body));
        serve(server);
        const auto result = widget({"timeline"});
        EXPECT_NE(result.output.find("velaapp://delivery/" + std::string(encoded) + "?referral=ios_widget"),
                  std::string::npos)
            << id << result.output << result.errors;
    }
}

TEST_F(WidgetCommand, SurvivesAReplyOfAHundredMegabytes) {
    signIn();
    const LoopbackServer server([](const ReceivedRequest&, LoopbackServer::Peer& peer) {
        constexpr std::size_t megabyte = 1 << 20;
        peer.send("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(100 * megabyte) + "\r\n\r\n");
        for (int count = 0; count < 100 && peer.send(std::string(megabyte, ' ')); ++count) continue;
        peer.close();
    });
    serve(server);
    const auto result = widget({"timeline"});
    EXPECT_EQ(state(result), "notLoggedIn");
}

TEST_F(WidgetCommand, ShowsPackagesAsTextWithoutEscapesInAPipe) {
    const LoopbackServer server(httpReply(200, onePackage));
    serve(server);
    signIn();
    environment["COLORTERM"] = "truecolor";
    environment["TERM"] = "xterm-256color";
    const auto result = widget({"show"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_TRUE(result.output.starts_with("  Tea\n  In transit\n")) << result.output;
    EXPECT_EQ(result.output.find('\x1b'), std::string::npos);
}

/// The same with a terminal for standard output and standard error, whose text is the result's output.
class WidgetOnATerminal : public WidgetCommand {
  protected:
    WidgetOnATerminal() {
        environment["TERM"] = "xterm-256color";
        signIn();
    }

    std::string shown(const std::string& command = "show") const {
        ProgramRun script = {.program = "/usr/bin/script"};
        script.arguments = {"-qec",
                            (platform::testing::programFolder() / "vela-widget").string() + " " + command,
                            "/dev/null"};
        script.environment = environment;
        const auto result = script.run();
        EXPECT_EQ(result.status, 0);
        return result.output;
    }

    /// Answers once the spinner has had time to turn.
    const LoopbackServer slowServer{[](const ReceivedRequest&, LoopbackServer::Peer& peer) {
        std::this_thread::sleep_for(std::chrono::milliseconds(400));
        peer.send(httpReply(200, onePackage));
    }};
};

TEST_F(WidgetOnATerminal, ShowsColoursLinksAndASpinnerThatVanishes) {
    serve(slowServer);
    const auto text = shown();
    const auto spinner = text.find("Looking for your packages");
    const auto title = text.find("\x1b]8;;velaapp://delivery/d-1?referral=ios_widget\x1b\\\x1b[1mTea");
    ASSERT_NE(spinner, std::string::npos) << text;
    ASSERT_NE(title, std::string::npos) << text;
    EXPECT_NE(text.substr(0, title).rfind("\r\x1b[2K"), std::string::npos);
    EXPECT_GT(text.substr(0, title).rfind("\r\x1b[2K"), spinner);
}

TEST_F(WidgetOnATerminal, KeepsToPlainTextWhereTheTerminalIsDumb) {
    serve(slowServer);
    environment["TERM"] = "dumb";
    const auto text = shown();
    EXPECT_EQ(text.find('\x1b'), std::string::npos) << text;
    EXPECT_EQ(text.find("Looking for"), std::string::npos) << text;
    EXPECT_NE(text.find("velaapp://delivery/d-1"), std::string::npos);
}

TEST_F(WidgetOnATerminal, DrawsWithoutAnythingToObeyWhereTheTerminalIsDumb) {
    serve(slowServer);
    environment["TERM"] = "dumb";
    const auto drawn = shown("show --image");
    EXPECT_NE(drawn.find("█"), std::string::npos) << drawn;
    EXPECT_EQ(drawn.find('\x1b'), std::string::npos) << drawn;
}

TEST_F(WidgetOnATerminal, RespectsNoColor) {
    serve(slowServer);
    environment["NO_COLOR"] = "1";
    const auto text = shown();
    EXPECT_EQ(text.find("\x1b[1m"), std::string::npos) << text;
    EXPECT_NE(text.find("\x1b]8;;velaapp"), std::string::npos) << text;
}

TEST_F(WidgetCommand, ShowsTheSignInPromptWithoutAnErrorText) {
    EXPECT_EQ(widget({"show"}).output, "  Track your orders in a glance.\n  Sign in to Vela\n");
}

TEST_F(WidgetCommand, ExitsWithTwoOnWrongUsage) {
    for (const auto& arguments : std::vector<std::vector<std::string>>{{},
                                                                       {"dance"},
                                                                       {"timeline", "--family", "systemHuge"},
                                                                       {"timeline", "--family", "other"},
                                                                       {"timeline", "--family"},
                                                                       {"show", "extra"}}) {
        const auto result = widget(arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.output, "");
        EXPECT_NE(result.errors, "");
    }
}

TEST_F(WidgetCommand, HelpsWithAnExampleForEveryCommand) {
    for (const auto* command : {"placeholder", "snapshot", "timeline", "declaration", "show"}) {
        const auto result = widget({command, "--help"});
        EXPECT_EQ(result.status, 0);
        EXPECT_NE(result.output.find("Example:\n  vela-widget " + std::string(command)), std::string::npos);
    }
}

TEST_F(WidgetCommand, StopsWithOneClearLineWhereTheDefaultsCannotBeOpened) {
    folder.write("file", "");
    environment["XDG_DATA_HOME"] = (folder.path() / "file").string();
    const auto result = widget({"timeline"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_NE(result.errors.find("shared defaults suite"), std::string::npos) << result.errors;
    EXPECT_NE(result.errors.find("vela-widget: the extension ended by signal SIGABRT before it answered\n"),
              std::string::npos);
}

TEST_F(WidgetCommand, FindsThePersonsFolderWithoutHome) {
    environment.erase("XDG_DATA_HOME");
    environment["HOME"] = folder.path().string();
    EXPECT_EQ(companion({"sign-in"}, credentials).status, 0);
    EXPECT_TRUE(std::filesystem::exists(folder.path() / ".local/share/vela/keychain.sqlite"));
    environment.erase("HOME");
    EXPECT_EQ(widget({"placeholder"}).status, 0);
    EXPECT_EQ(companion({"status"}).status, 0);
}

TEST_F(WidgetCommand, TakesADefaultsFileThatCannotBeReadForAnEmptyOne) {
    const LoopbackServer server(httpReply(200, onePackage));
    serve(server);
    signIn();
    std::ofstream(defaultsFile(), std::ios::trunc) << R"({"PONTAL_URL":"http://half)";
    EXPECT_EQ(state(widget({"timeline"})), "loggedIn");
    std::ofstream(defaultsFile(), std::ios::trunc) << std::string(50 << 20, ' ');
    EXPECT_EQ(state(widget({"timeline"})), "loggedIn");
    std::filesystem::remove(defaultsFile());
    std::filesystem::create_directory(defaultsFile());
    EXPECT_EQ(state(widget({"timeline"})), "loggedIn");
}

TEST_F(WidgetCommand, SignsNobodyOutWhereTheKeychainIsDamaged) {
    const LoopbackServer server(httpReply(200, onePackage));
    serve(server);
    signIn();
    std::ifstream stream(keychainFile(), std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(stream)), {});
    const auto whole = bytes;
    bytes.replace(0, 64, 64, 'x');
    std::ofstream(keychainFile(), std::ios::trunc | std::ios::binary) << bytes;
    const auto result = widget({"timeline"});
    EXPECT_EQ(state(result), "loggedIn") << "the request goes out without a credential";
    EXPECT_EQ(result.errors,
              "error: the keychain cannot be used: file is not a database\n"
              "Failed to fetch item accessToken with reason io\n"
              "Failed to fetch item accessToken with reason io\n"
              "Failed to fetch item session with reason io\n");
    std::ofstream(keychainFile(), std::ios::trunc | std::ios::binary) << whole;
    EXPECT_EQ(widget({"timeline"}).errors, "");
}

TEST_F(WidgetCommand, RefusesAKeychainThatOthersCanRead) {
    const LoopbackServer server(httpReply(200, onePackage));
    serve(server);
    signIn();
    ::chmod(keychainFile().c_str(), 0644);
    EXPECT_NE(widget({"timeline"}).errors.find("accessToken with reason io"), std::string::npos);
    EXPECT_EQ(server.requests().front().header("authorization"), "");
}

TEST_F(WidgetCommand, LeavesNoExtensionBehindWhenItIsKilled) {
    const LoopbackServer server([](const ReceivedRequest&, LoopbackServer::Peer& peer) { peer.stall(); });
    serve(server);
    signIn();
    BackgroundProgram host(program("vela-widget", {"timeline"}));
    ASSERT_TRUE(server.waitForRequests(1));
    const auto extensions = childrenOf(host.processIdentifier());
    ASSERT_EQ(extensions.size(), 1u);
    host.sendSignal(SIGKILL);
    host.waitForEnd();
    // Half the time after which its request would end by itself.
    EXPECT_TRUE(eventually([&] { return !isAlive(extensions.front()); }, std::chrono::seconds(30)));
}

/// From now on this process is who orphans of its own fall to, as a shell is that runs as a container's
/// first.
class OrphansFosterer {
  public:
    OrphansFosterer() { ::prctl(PR_SET_CHILD_SUBREAPER, 1); }
    ~OrphansFosterer() {
        ::prctl(PR_SET_CHILD_SUBREAPER, 0);
        while (::waitpid(-1, nullptr, WNOHANG) > 0) continue;
    }
};

TEST_F(WidgetCommand, LeavesNoStoppedExtensionBehindWhenItIsKilled) {
    // The system wakes a stopped group that nobody could continue any more. In this process's session
    // somebody could.
    const OrphansFosterer fosterer;
    const LoopbackServer server([](const ReceivedRequest&, LoopbackServer::Peer& peer) { peer.stall(); });
    serve(server);
    signIn();
    BackgroundProgram host(program("vela-widget", {"timeline"}));
    ASSERT_TRUE(server.waitForRequests(1));
    const auto extensions = childrenOf(host.processIdentifier());
    ASSERT_EQ(extensions.size(), 1u);
    ::kill(extensions.front(), SIGSTOP);
    host.sendSignal(SIGKILL);
    host.waitForEnd();
    EXPECT_TRUE(eventually([&] { return !isAlive(extensions.front()); }));
    ::kill(extensions.front(), SIGKILL);
}

TEST_F(WidgetCommand, SurvivesAnExtensionThatIsKilled) {
    const LoopbackServer server([](const ReceivedRequest&, LoopbackServer::Peer& peer) { peer.stall(); });
    serve(server);
    signIn();
    BackgroundProgram host(program("vela-widget", {"timeline"}));
    ASSERT_TRUE(server.waitForRequests(1));
    const auto extensions = childrenOf(host.processIdentifier());
    ASSERT_EQ(extensions.size(), 1u);
    ::kill(extensions.front(), SIGKILL);
    EXPECT_EQ(host.waitForEnd(), 1);
}

TEST_F(WidgetCommand, PrintsAnAnswerOfMegabytes) {
    // Percent-encoded, the address is three times as long.
    const std::string address = "https://shop.example/" + std::string(1 << 20, ' ');
    const LoopbackServer server(httpReply(
        200,
        R"({"data":{"__typename":"Query","deliveriesOrdersList":{"__typename":"DeliveriesOrdersListConnection",)"
        R"("nodes":[{"__typename":"Delivery","id":"d-1","status":"IN_TRANSIT","state":"CURRENT",)"
        R"("deliveryFlags":[],"exceptions":[],"tracker":{"__typename":"Tracker","carrierInfo":)"
        R"({"__typename":"Carrier","id":"c-1","name":"Post","imageUrl":")" +
            address + R"("}}}]}}})"));
    serve(server);
    const auto result = widget({"timeline"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_GT(result.output.size(), std::size_t{3} << 20);
    EXPECT_NE(result.output.find("loggedIn"), std::string::npos);
}

TEST_F(WidgetCommand, NeverPutsATokenWhereOthersSeeIt) {
    const LoopbackServer server([](const ReceivedRequest&, LoopbackServer::Peer& peer) { peer.stall(); });
    serve(server);
    signIn();
    BackgroundProgram host(program("vela-widget", {"timeline"}));
    ASSERT_TRUE(server.waitForRequests(1));
    for (const auto process : childrenOf(host.processIdentifier())) {
        for (const auto* name : {"cmdline", "environ"}) {
            std::ifstream stream("/proc/" + std::to_string(process) + "/" + name, std::ios::binary);
            const std::string text((std::istreambuf_iterator<char>(stream)), {});
            EXPECT_EQ(text.find("secret-"), std::string::npos) << name;
        }
    }
}

}  // namespace
}  // namespace host
