// SPDX-License-Identifier: Apache-2.0

// The widget host's command line.

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <exception>
#include <iostream>
#include <map>
#include <system_error>

#include "host/protocol/EntryCoding.hpp"
#include "host/widget/DrawingCommand.hpp"
#include "host/widget/ExtensionAnswer.hpp"
#include "host/widget/JSONLine.hpp"
#include "host/widget/Live/RunCommand.hpp"
#include "host/widget/OneShotHost.hpp"
#include "host/widget/Readers/ShowLive.hpp"
#include "host/widget/TerminalImage.hpp"
#include "host/widget/TerminalText.hpp"
#include "host/widget/TerminalView.hpp"
#include "platform/CommandLine/CommandLine.hpp"
#include "platform/Streams/LastResort.hpp"
#include "platform/Streams/Streams.hpp"
#include "platform/SystemEvents/LinuxSystemEvents.hpp"
#include "platform/SystemEvents/RealTimeClock.hpp"

namespace {

using host::ExtensionRequest;
using host::Message;

void print(const boost::json::object& object) {
    host::writeToStandardOutput(host::jsonLine(object));
}

void printDeclaration(const Message& message) {
    print(host::declarationObject(host::declarationIn(message)));
}

void printEntry(const Message& message) {
    print(host::entryObject(host::entryIn(message)));
}

void printTimeline(const Message& message) {
    print(host::timelineObject(host::timelineIn(message)));
}

void showEntry(const Message& message) {
    const auto timeline = host::timelineIn(message);
    host::writeToStandardOutput(
        host::terminalView(timeline.entries.front(), host::TerminalStyle::ofDescriptor(STDOUT_FILENO)));
}

[[noreturn]] void run(const host::OneShotRequest& request) {
    throw platform::ExitStatus(host::runOnce(request));
}

struct Options {
    std::string family = "systemMedium";

    ExtensionRequest request(ExtensionRequest::Kind kind) const {
        return {.kind = kind, .family = *platform::widgetFamily(family)};
    }
};

void addEntryCommand(CLI::App& app, Options& options, const char* name, const char* description,
                     ExtensionRequest::Kind kind, void (*present)(const Message&)) {
    auto* command = app.add_subcommand(name, description);
    command->add_option("--family", options.family, "The family the entry is for")
        ->check(CLI::IsMember(platform::familyNames()))
        ->capture_default_str();
    command->footer(std::string("Example:\n  vela-widget ") + name + " --family systemSmall");
    command->callback(
        [&options, kind, present] { run({.request = options.request(kind), .present = present}); });
}

void addDeclarationCommand(CLI::App& app, const Options& options) {
    auto* command = app.add_subcommand("declaration", "Print what the widget declares to a host, as JSON");
    command->footer("Example:\n  vela-widget declaration");
    command->callback([&options] {
        run({.request = options.request(ExtensionRequest::Kind::declaration), .present = printDeclaration});
    });
}

struct ShowOptions {
    bool image = false;
    bool live = false;
    std::string scheme = "dark";
};

/// Draws into a picture in memory and shows it.
int showImage(const Options& options, const ShowOptions& show) {
    host::DrawingCommand command;
    command.families = {*platform::widgetFamily(options.family)};
    command.colorSchemes = {show.scheme == "dark" ? drawing::ColorScheme::dark : drawing::ColorScheme::light};
    command.scale = 2;
    command.deliver = [](const std::filesystem::path&, const std::string& png) {
        host::writeToStandardOutput(
            host::terminalImage(png, host::TerminalGeometry::ofDescriptor(STDOUT_FILENO)));
    };
    return command.run();
}

void addShowCommand(CLI::App& app, Options& options, ShowOptions& show) {
    auto* command = app.add_subcommand("show", "Show the latest packages in the terminal");
    auto* image = command->add_flag(
        "--image", show.image, "Show the widget itself: by sixels, kitty's or iTerm2's protocol, or symbols");
    command->add_option("--family", options.family, "With --image: the family to draw")
        ->check(CLI::IsMember(platform::familyNames()))
        ->needs(image)
        ->capture_default_str();
    command->add_option("--scheme", show.scheme, "With --image: light or dark")
        ->check(CLI::IsMember({"light", "dark"}))
        ->needs(image)
        ->capture_default_str();
    command->add_flag("--live", show.live, "Show what the live host has, and start it where none runs")
        ->excludes(image);
    command->footer(
        "Example:\n  vela-widget show\n  vela-widget show --image --family systemLarge\n  vela-widget show "
        "--live");
    command->callback([&options, &show] {
        if (show.live)
            throw platform::ExitStatus(host::showLive(host::TerminalStyle::ofDescriptor(STDOUT_FILENO)));
        if (show.image) throw platform::ExitStatus(showImage(options, show));
        run({.request = options.request(ExtensionRequest::Kind::timeline),
             .present = showEntry,
             .caption = "Looking for your packages"});
    });
}

struct RenderOptions {
    std::string family = "systemMedium";
    std::string scheme = "light";
    double scale = 3;
    std::string size;
    std::string entry;
    std::string format = "png";
    std::string tint;
    std::string output;
    double pictureBudget = 20;
};

const std::map<std::string, widget::DrawingFormat> drawingFormats = {{"png", widget::DrawingFormat::png},
                                                                     {"svg", widget::DrawingFormat::svg},
                                                                     {"tree", widget::DrawingFormat::tree}};

std::string checkedSize(const std::string& text) {
    return host::sizeFromText(text)
               ? ""
               : "a size is WIDTHxHEIGHT in points, each 1 to 4096, as in 338x158; 16 million pixels in all";
}

std::string checkedOutput(const std::string& text) {
    return text.empty() ? "a file or a folder must be named" : "";
}

std::string checkedEntry(const std::string& text) {
    return text.empty() ? "an entry is a file, - or placeholder" : "";
}

std::string checkedTint(const std::string& text) {
    const bool isTint = text.size() == 7 && text[0] == '#' &&
                        text.find_first_not_of("0123456789abcdefABCDEF", 1) == std::string::npos;
    return isTint ? "" : "a tint is #RRGGBB";
}

host::DrawingCommand drawingCommand(const RenderOptions& options) {
    using drawing::ColorScheme;
    host::DrawingCommand command;
    if (options.family != "all") command.families = {*platform::widgetFamily(options.family)};
    if (options.scheme != "dark") command.colorSchemes.push_back(ColorScheme::light);
    if (options.scheme != "light") command.colorSchemes.push_back(ColorScheme::dark);
    const bool hasSeveral = options.family == "all" || options.scheme == "all";
    using OutputKind = host::DrawingCommand::OutputKind;
    command.outputKind = hasSeveral ? OutputKind::folder : OutputKind::file;
    command.entry = options.entry;
    if (!options.size.empty()) command.size = host::sizeFromText(options.size);
    command.scale = options.scale;
    command.format = drawingFormats.at(options.format);
    if (!options.tint.empty()) command.tint = options.tint;
    command.pictureBudget = std::chrono::milliseconds(std::lround(options.pictureBudget * 1000));
    command.output = options.output;
    return command;
}

void addRenderCommand(CLI::App& app, RenderOptions& options) {
    auto* command = app.add_subcommand("render", "Draw an entry as a picture");
    auto families = platform::familyNames();
    families.emplace_back("all");
    command->add_option("--family", options.family, "The family to draw, or all that the widget offers")
        ->check(CLI::IsMember(families))
        ->capture_default_str();
    command->add_option("--scheme", options.scheme, "light, dark or all")
        ->check(CLI::IsMember({"light", "dark", "all"}))
        ->capture_default_str();
    command->add_option("--scale", options.scale, "Pixels to a point, 1 to 4")
        ->check(platform::numberWithin(1, 4))
        ->capture_default_str();
    command->add_option("--size", options.size, "WIDTHxHEIGHT in points, in place of the family's own size")
        ->check(CLI::Validator(checkedSize, "WIDTHxHEIGHT"));
    command
        ->add_option("--entry", options.entry,
                     "A file with an entry as snapshot prints it, - for standard input, or placeholder; "
                     "a fresh snapshot where it is not given")
        ->check(CLI::Validator(checkedEntry, ""));
    command->add_option("--format", options.format, "png, svg, or tree: what is displayed, as JSON")
        ->check(CLI::IsMember({"png", "svg", "tree"}))
        ->capture_default_str();
    command
        ->add_option("--tint", options.tint, "The lock screen's colour for the accessory families, #RRGGBB")
        ->check(CLI::Validator(checkedTint, "#RRGGBB"));
    command
        ->add_option(
            "--picture-budget", options.pictureBudget,
            "Seconds to wait for pictures, all drawings together; a placeholder stands for each that "
            "has not come by then. 0.1 to 120: the command has 150 in all")
        ->check(platform::numberWithin(0.1, 120))
        ->capture_default_str();
    command
        ->add_option("--output", options.output,
                     "The file to write, - for standard output; a folder where several are drawn")
        ->check(CLI::Validator(checkedOutput, ""))
        ->required();
    command->footer("Example:\n  vela-widget render --family systemSmall --scheme dark --output widget.png");
    command->callback([&options] { throw platform::ExitStatus(drawingCommand(options).run()); });
}

struct RunOptions {
    std::string output;
    std::vector<std::string> families;
    std::string scheme = "dark";
    double scale = 2;
    bool notifies = false;
    double idleExit = 0;
};

/// Of those that were asked for; beside a folder, the widget as it is drawn by default.
std::vector<host::PictureFile> pictures(const RunOptions& options) {
    using drawing::ColorScheme;
    auto families = options.families;
    if (families.empty() && !options.output.empty()) families = {"systemMedium"};
    std::vector<host::PictureFile> files;
    for (const auto& family : families)
        for (const auto scheme : {ColorScheme::light, ColorScheme::dark})
            if (options.scheme == "all" || options.scheme == widget::name(scheme))
                files.push_back({.family = *platform::widgetFamily(family),
                                 .colorScheme = scheme,
                                 .scale = options.scale});
    return files;
}

host::RunCommand runCommand(const RunOptions& options) {
    host::RunCommand command = {
        .makeClock = [](const auto& executor) { return std::make_unique<platform::RealTimeClock>(executor); },
        .makeEvents =
            [](const auto& executor) {
                return std::make_unique<platform::LinuxSystemEvents>(executor,
                                                                     platform::WatchedStores::ofPerson());
            },
        .version = VELA_VERSION};
    if (!options.output.empty()) command.output = options.output;
    command.pictures = pictures(options);
    command.notifies = options.notifies;
    if (options.idleExit > 0) command.idleLimit = std::chrono::seconds(std::lround(options.idleExit));
    return command;
}

void addRunCommand(CLI::App& app, RunOptions& options) {
    auto* command = app.add_subcommand("run", "Keep the widget current for every surface that reads it");
    command
        ->add_option("--output", options.output,
                     "A folder that holds the entry, its text and pictures as files, each written when it "
                     "changes; beside $XDG_RUNTIME_DIR/vela-widget, which always does")
        ->check(CLI::Validator(checkedOutput, ""));
    command
        ->add_option("--family", options.families,
                     "A family to keep a picture of, as FAMILY-SCHEME@SCALEx.png; may be given several times")
        ->check(CLI::IsMember(platform::familyNames()))
        ->delimiter(',');
    command->add_option("--scheme", options.scheme, "light, dark or all")
        ->check(CLI::IsMember({"light", "dark", "all"}))
        ->capture_default_str();
    command->add_option("--scale", options.scale, "Pixels to a point, 1 to 4")
        ->check(platform::numberWithin(1, 4))
        ->capture_default_str();
    command
        ->add_option("--idle-exit", options.idleExit,
                     "End after so many seconds without readers, 1 to 86400; without it, never")
        ->check(platform::numberWithin(1, 86'400));
    command->add_flag(
        "--notify", options.notifies,
        "Show a desktop notification when a package comes near, arrives or needs you; without it, "
        "where the shared default \"notifications\" says so");
    command->footer(
        "Example:\n  vela-widget run --output ~/.cache/widget --family systemMedium --scheme all");
    command->callback([&options] { throw platform::ExitStatus(runCommand(options).run()); });
}

void addReloadCommand(CLI::App& app) {
    auto* command = app.add_subcommand("reload", "Have the live host ask the server now");
    command->footer("Example:\n  vela-widget reload");
    command->callback([] { throw platform::ExitStatus(host::runReload()); });
}

int runProgram(int count, const char* const* arguments) {
    CLI::App app("Your latest parcels and orders, on every surface you look at.", "vela-widget");
    app.set_version_flag("--version", VELA_VERSION);
    app.require_subcommand(1);
    app.footer("Example:\n  vela-widget show");

    Options options;
    addEntryCommand(app, options, "placeholder", "Print the entry shown while nothing is known, as JSON",
                    ExtensionRequest::Kind::placeholder, printEntry);
    addEntryCommand(app, options, "snapshot", "Fetch the packages and print an entry, as JSON",
                    ExtensionRequest::Kind::snapshot, printEntry);
    addEntryCommand(app, options, "timeline", "Fetch the packages and print a timeline, as JSON",
                    ExtensionRequest::Kind::timeline, printTimeline);
    addDeclarationCommand(app, options);
    ShowOptions showOptions;
    addShowCommand(app, options, showOptions);
    RenderOptions renderOptions;
    addRenderCommand(app, renderOptions);
    RunOptions runOptions;
    addRunCommand(app, runOptions);
    addReloadCommand(app);
    const int status = platform::runCommandLine(app, count, arguments);
    // What CLI11 prints, help and version, goes through the stream.
    if (!std::cout.flush())
        throw std::system_error(errno, std::generic_category(), "cannot write to standard output");
    return status;
}

}  // namespace

int main(int count, char** arguments) {
    platform::holdStandardStreams();
    // A parent that waits for no child of its own bequeaths that.
    ::signal(SIGCHLD, SIG_DFL);
    return platform::statusOf("vela-widget", [&] { return runProgram(count, arguments); });
}
