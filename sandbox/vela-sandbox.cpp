// SPDX-License-Identifier: Apache-2.0

// The sandbox's command line: serves sample people, and shows what came in.

#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "platform/Bundle/Bundle.hpp"
#include "platform/CommandLine/Command.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "sandbox/Error.hpp"
#include "sandbox/EventLogReader.hpp"
#include "sandbox/Sandbox.hpp"

namespace {

using sandbox::FaultScope;
using sandbox::Manner;
using sandbox::Redirection;
using sandbox::Refusal;

struct Options {
    sandbox::SandboxOptions sandbox;
    std::string readyFile;
    std::string caFile;
    std::string caFolder;
    std::string bundleFolder;
    std::string url;
    int delay = 0;
    int padding = 0;
    int longestLife = 0;
    bool stopsWithParent = false;
    int lifelong = 0;
    bool printsCredentials = false;
    bool compresses = false;
    bool closesUnannounced = false;
    bool usesTLS = false;
};

/// Beside its place first and then moved there: whoever sees the file sees all of it.
void writeWhole(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::path beside = path;
    beside += "." + std::to_string(getpid()) + ".new";
    std::ofstream stream(beside, std::ios::binary | std::ios::trunc);
    stream << text;
    stream.close();
    std::error_code error;
    if (stream) std::filesystem::rename(beside, path, error);
    if (!stream || error) {
        std::error_code ignored;
        std::filesystem::remove(beside, ignored);
        throw sandbox::Error(path.string() + " cannot be written");
    }
}

std::string contentsOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream contents;
    contents << stream.rdbuf();
    if (!stream) throw sandbox::Error(path + " cannot be read");
    return contents.str();
}

/// A file that says where the sandbox is, for as long as it is there.
class ReadyFile {
  public:
    ReadyFile(std::string path, const std::string& url) : path_(std::move(path)) {
        if (!path_.empty()) writeWhole(path_, url);
    }
    ~ReadyFile() {
        std::error_code ignored;
        if (!path_.empty()) std::filesystem::remove(path_, ignored);
    }
    ReadyFile(const ReadyFile&) = delete;
    ReadyFile& operator=(const ReadyFile&) = delete;

  private:
    std::string path_;
};

void printCredentials() {
    const sandbox::TokenPair tokens = sandbox::sampleCredentials();
    std::cout << "{\"accessToken\": \"" << tokens.accessToken << "\", \"refreshToken\": \""
              << tokens.refreshToken << "\"}\n";
}

void writeAuthority(const Options& options, const sandbox::Certificates& certificates) {
    if (!options.caFile.empty()) writeWhole(options.caFile, certificates.authority);
    if (options.caFolder.empty()) return;
    std::filesystem::create_directories(options.caFolder);
    writeWhole(std::filesystem::path(options.caFolder) / certificates.hashedName, certificates.authority);
}

/// A bundle like the program's own, but with this sandbox for its event collector. Its other resources are
/// links.
void writeBundle(const std::filesystem::path& folder, const std::string& baseURL) {
    const auto& bundle = platform::Bundle::main();
    auto information = bundle.infoDictionary().value_or(boost::json::object());
    information["EVENT_COLLECTOR_URL"] = baseURL + "/v1/produce";
    std::filesystem::create_directories(folder);
    writeWhole(folder / "Info.json", platform::JSONSerialization::dataWithJSONObject(
                                         information, platform::JSONKeyOrder::ascendingBytes));
    for (const auto& resource : std::filesystem::directory_iterator(bundle.resourceFolder())) {
        const auto link = folder / resource.path().filename();
        if (resource.path().filename() == "Info.json") continue;
        // The folder may be the bundle that this program itself reads.
        if (std::filesystem::exists(link) || !std::filesystem::exists(resource.path())) continue;
        // One of another time may lead to what is there no more.
        if (std::filesystem::is_symlink(link)) std::filesystem::remove(link);
        std::filesystem::create_symlink(std::filesystem::absolute(resource.path()), link);
    }
}

void serve(Options& options) {
    options.sandbox.dataFolder = platform::Bundle::main().resourceFolder() / "sandbox";
    options.sandbox.faults.delay = std::chrono::milliseconds(options.delay);
    options.sandbox.faults.padding = static_cast<std::size_t>(options.padding) << 20;
    if (options.compresses) options.sandbox.faults.coding = sandbox::ContentCoding::asAsked;
    if (options.closesUnannounced) {
        options.sandbox.faults.persistence = sandbox::Persistence::closedUnannounced;
    }
    if (options.usesTLS) options.sandbox.transport = sandbox::Transport::tls;
    if (options.stopsWithParent) options.sandbox.endsWithProcess = ::getppid();
    if (options.lifelong > 0) options.sandbox.endsWithProcess = options.lifelong;
    if (options.longestLife > 0) options.sandbox.longestLife = std::chrono::seconds(options.longestLife);
    options.sandbox.endsOnSignals = true;

    sandbox::Sandbox sandbox(options.sandbox);
    if (sandbox.certificates()) writeAuthority(options, *sandbox.certificates());
    if (!options.bundleFolder.empty()) writeBundle(options.bundleFolder, sandbox.baseURL());
    const ReadyFile ready(options.readyFile, sandbox.baseURL());
    std::cout << sandbox.baseURL() << std::endl;
    sandbox.run();
}

std::string runningSandbox(const Options& options) {
    if (!options.url.empty()) return options.url;
    if (!options.readyFile.empty()) return contentsOf(options.readyFile);
    if (const char* const baseURL = std::getenv("BASE_URL")) return baseURL;
    throw sandbox::Error("where is the sandbox? Give --url or --ready-file, or set BASE_URL");
}

void printEvents(const Options& options) {
    std::optional<std::string> authority;
    if (!options.caFile.empty()) authority = contentsOf(options.caFile);
    std::cout << sandbox::readEventLog(runningSandbox(options), authority);
}

template <typename Action>
void orFail(Action action) {
    try {
        action();
    } catch (const std::exception& error) {
        std::cerr << "vela-sandbox: " << error.what() << "\n";
        throw platform::ExitStatus(1);
    }
}

template <typename Value, std::size_t count>
using Choices = std::array<std::pair<const char*, Value>, count>;

constexpr Choices<Refusal, 2> refusals = {{{"401", Refusal::status401}, {"error", Refusal::graphQLError}}};
constexpr Choices<FaultScope, 4> scopes = {{{"all", FaultScope::all},
                                            {"graphql", FaultScope::graphql},
                                            {"pictures", FaultScope::pictures},
                                            {"produce", FaultScope::produce}}};
constexpr Choices<Redirection, 3> redirections = {
    {{"cross-origin", Redirection::crossOrigin}, {"loop", Redirection::loop}, {"once", Redirection::once}}};

void addFaults(const platform::Command& app, Options& options) {
    sandbox::Faults& faults = options.sandbox.faults;
    const std::string group = "Faults";
    app.choice("--faults-on", faults.scope, scopes,
               "Whose replies the faults touch: graphql (default), produce, "
               "pictures or all")
        .inGroup(group);
    app.option("--faults-first", faults.count, "Touch only the first N requests")
        .notNegative()
        .named("N")
        .inGroup(group);
    app.option("--delay", options.delay, "Wait before each reply").notNegative().named("MS").inGroup(group);
    app.option("--status", faults.status, "Reply with this status; the body stays")
        .within(200, 599)
        .named("CODE")
        .inGroup(group);
    app.choice("--redirect", faults.redirection, redirections, "Redirect: loop, once, or cross-origin")
        .inGroup(group);
    app.option("--redirect-status", faults.redirectionStatus, "302 (default), 301, 303, 307 or 308")
        .oneOf(std::vector<int>{301, 302, 303, 307, 308})
        .inGroup(group);
    app.flag("--gzip", options.compresses, "Compress what is sent to clients that accept it").inGroup(group);
    app.option("--pad", options.padding, "Put so many MiB of blanks behind each body")
        .within(0, 1024)
        .named("MIB")
        .inGroup(group);
    app.flag("--close-between", options.closesUnannounced, "Close after each reply without saying so")
        .inGroup(group);
    const auto addManner = [&](const char* name, Manner manner, const char* description) {
        app.flag(
               name, [&faults, manner] { faults.manner = manner; }, description)
            .inGroup(group);
    };
    addManner("--drop", Manner::dropped, "Close in the middle of each body");
    addManner("--truncate", Manner::truncated, "Send half of each body as if it were all");
    addManner("--garbage", Manner::garbled, "Send something else than JSON");
    addManner("--stall", Manner::stalled, "Take requests and never answer");
    addManner("--reset", Manner::reset, "Reset the connection instead of answering");
}

void addServing(const platform::Command& app, Options& options) {
    app.option("--bundle", options.bundleFolder,
               "Where to write a bundle whose event collector is this sandbox, for VELA_BUNDLE")
        .named("FOLDER");
    app.option("--port", options.sandbox.port, "Port on 127.0.0.1; 0 (default) takes a free one")
        .named("PORT");
    app.option("--scenario", options.sandbox.scenario, "Scenario: a name or a file (default: everyday)")
        .named("FILE");
    app.option("--ready-file", options.readyFile, "Where to write the base URL once it is served")
        .named("FILE");
    app.choice("--unauthorized", options.sandbox.refusal, refusals,
               "How a bad credential is refused: with status 401 (default) or a GraphQL error");
    app.flag("--tls", options.usesTLS, "Serve https, with a certificate made for this run");
    app.option("--ca-file", options.caFile, "Where to write what an https client must trust").named("FILE");
    app.option("--ca-folder", options.caFolder, "The same, as a folder of trusted certificates")
        .named("FOLDER");
    app.option("--stop-after", options.longestLife, "End by itself").positive().named("SECONDS");
    app.flag("--stop-with-parent", options.stopsWithParent, "End when the process that started it ends");
    app.option("--stop-with", options.lifelong, "End when that process ends").positive().named("PROCESS");
    app.flag("--print-credentials", options.printsCredentials,
             "Print what a sample person signs in with, and end");
}

void addEvents(const platform::Command& app, Options& options) {
    const auto command = app.subcommand("events", "Print the log of a running sandbox as JSON");
    command.option("--url", options.url, "Its base URL (default: that of --ready-file, else BASE_URL)")
        .named("URL");
    command.option("--ready-file", options.readyFile, "The file that holds its base URL").named("FILE");
    command.option("--ca-file", options.caFile, "What to trust, if it serves https").named("FILE");
    command.footer("Example:\n  vela-sandbox events --ready-file ready");
    command.action([&options] { orFail([&options] { printEvents(options); }); });
}

}  // namespace

int main(int count, char** arguments) {
    platform::CommandLine app("vela-sandbox",
                              "A local account server and event collector with sample people.", VELA_VERSION);
    app.footer(
        "Example:\n"
        "  vela-sandbox --scenario everyday --ready-file ready & sleep 1\n"
        "  export BASE_URL=$(cat ready)\n"
        "  vela-sandbox --print-credentials | vela-companion sign-in");
    Options options;
    addServing(app, options);
    addFaults(app, options);
    addEvents(app, options);
    app.actionWithoutSubcommand([&] {
        if (options.printsCredentials) return printCredentials();
        orFail([&options] { serve(options); });
    });
    return app.run(count, arguments);
}
