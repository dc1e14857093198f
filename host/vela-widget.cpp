// The widget host's command line.

#include <signal.h>
#include <unistd.h>

#include "host/CommandLine.hpp"
#include "host/EntryCoding.hpp"
#include "host/OneShotHost.hpp"
#include "host/TerminalView.hpp"
#include "platform/JSON/JSONSerialization.hpp"

namespace {

using host::ExtensionRequest;
using host::Message;

/// Prints one member of the answer as a line of JSON with sorted keys.
std::function<void(const Message&)> printingMember(const char* member) {
    return [member](const Message& message) {
        const auto text = platform::JSONSerialization::dataWithJSONObject(
            message.body.at(member), platform::JSONKeyOrder::ascendingBytes);
        host::writeToStandardOutput(text + "\n");
    };
}

void showEntry(const Message& message) {
    const auto timeline = host::timelineFromValue(message.body.at("timeline"));
    host::writeToStandardOutput(
        host::terminalView(timeline.entries.front(), host::TerminalStyle::ofDescriptor(STDOUT_FILENO)));
}

[[noreturn]] void run(const host::OneShotRequest& request) {
    throw host::ExitStatus(host::runOnce(request));
}

struct Options {
    std::string family = "systemMedium";

    ExtensionRequest request(ExtensionRequest::Kind kind) const {
        return {.kind = kind, .family = *platform::widgetFamily(family)};
    }
};

void addEntryCommand(CLI::App& app, Options& options, const char* name, const char* description,
                     ExtensionRequest::Kind kind, const char* member) {
    auto* command = app.add_subcommand(name, description);
    command->add_option("--family", options.family, "The family the entry is for")
        ->check(CLI::IsMember(host::familyNames()))
        ->capture_default_str();
    command->footer(std::string("Example:\n  vela-widget ") + name + " --family systemSmall");
    command->callback([&options, kind, member] {
        run({.request = options.request(kind), .present = printingMember(member)});
    });
}

void addDeclarationCommand(CLI::App& app, const Options& options) {
    auto* command = app.add_subcommand("declaration", "Print what the widget declares to a host, as JSON");
    command->footer("Example:\n  vela-widget declaration");
    command->callback([&options] {
        run({.request = options.request(ExtensionRequest::Kind::declaration),
             .present = printingMember("declaration")});
    });
}

void addShowCommand(CLI::App& app, const Options& options) {
    auto* command = app.add_subcommand("show", "Show the latest packages in the terminal");
    command->footer("Example:\n  vela-widget show");
    command->callback([&options] {
        run({.request = options.request(ExtensionRequest::Kind::timeline),
             .present = showEntry,
             .caption = "Looking for your packages"});
    });
}

}  // namespace

int main(int count, char** arguments) {
    ::signal(SIGPIPE, SIG_IGN);
    CLI::App app("Your latest parcels and orders, on every surface you look at.", "vela-widget");
    app.set_version_flag("--version", VELA_VERSION);
    app.require_subcommand(1);
    app.footer("Example:\n  vela-widget show");

    Options options;
    addEntryCommand(app, options, "placeholder", "Print the entry shown while nothing is known, as JSON",
                    ExtensionRequest::Kind::placeholder, "entry");
    addEntryCommand(app, options, "snapshot", "Fetch the packages and print an entry, as JSON",
                    ExtensionRequest::Kind::snapshot, "entry");
    addEntryCommand(app, options, "timeline", "Fetch the packages and print a timeline, as JSON",
                    ExtensionRequest::Kind::timeline, "timeline");
    addDeclarationCommand(app, options);
    addShowCommand(app, options);
    return host::runCommandLine(app, count, arguments);
}
