// SPDX-License-Identifier: Apache-2.0

// The widget host's command line.

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <exception>
#include <iostream>
#include <map>
#include <system_error>

#include "host/protocol/EntryCoding.hpp"
#include "host/reader/LinkOpener.hpp"
#include "host/reader/TerminalText.hpp"
#include "host/widget/Bar/BarCommand.hpp"
#include "host/widget/Doctor/DoctorCommand.hpp"
#include "host/widget/DrawingCommand.hpp"
#include "host/widget/ExtensionAnswer.hpp"
#include "host/widget/JSONLine.hpp"
#include "host/widget/Live/RunCommand.hpp"
#include "host/widget/OneShotHost.hpp"
#include "host/widget/Panel/PanelCommand.hpp"
#include "host/widget/Readers/ShowLive.hpp"
#include "host/widget/Setup/SetupSnippet.hpp"
#include "host/widget/SignedOutReason.hpp"
#include "host/widget/Terminal/ShowFollow.hpp"
#include "host/widget/TerminalImage.hpp"
#include "host/widget/TerminalView.hpp"
#include "host/widget/Tour/TourCommand.hpp"
#include "platform/CommandLine/Command.hpp"
#include "platform/CommandLine/Words.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/ProcessInfo/SiblingProgram.hpp"
#include "platform/Streams/LastResort.hpp"
#include "platform/Streams/Streams.hpp"
#include "platform/SystemEvents/LinuxSystemEvents.hpp"
#include "platform/SystemEvents/RealTimeClock.hpp"
#include "widget/SupportedFamilies.hpp"

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
    const auto entry = host::timelineIn(message).entries.front();
    host::writeToStandardOutput(host::terminalView(entry, host::TerminalStyle::ofDescriptor(STDOUT_FILENO)));
    const auto outcome = host::outcomeIn(message);
    auto reason = host::whySignedOut(entry, outcome);
    // A script knows how, and has asked for what is shown alone.
    if (reason.empty() && ::isatty(STDERR_FILENO) == 1) reason = host::howToSignIn(entry, outcome);
    if (!reason.empty()) platform::printError("vela-widget", reason);
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

void addEntryCommand(const platform::Command& app, Options& options, const char* name,
                     const char* description, ExtensionRequest::Kind kind, void (*present)(const Message&)) {
    const auto command = app.subcommand(name, description);
    command.option("--family", options.family, "The family the entry is for")
        .oneOf(platform::familyNames())
        .showsDefault();
    command.footer(std::string("Example:\n  vela-widget ") + name + " --family systemSmall");
    command.action(
        [&options, kind, present] { run({.request = options.request(kind), .present = present}); });
}

void addDeclarationCommand(const platform::Command& app, const Options& options) {
    const auto command = app.subcommand("declaration", "Print what the widget declares to a host, as JSON");
    command.footer("Example:\n  vela-widget declaration");
    command.action([&options] {
        run({.request = options.request(ExtensionRequest::Kind::declaration), .present = printDeclaration});
    });
}

template <typename Values>
auto valueNamed(const std::string& text, const Values& values) {
    return *std::ranges::find_if(values, [&](const auto value) { return name(value) == text; });
}

/// How a person has drawings, as the command line has it.
struct AppearanceOptions {
    std::string textSize = "large";
    std::string contrast = "standard";
    std::string transparency = "standard";
    bool redacted = false;

    drawing::Appearance appearance() const {
        return {.textSize = valueNamed(textSize, drawing::allTextSizes),
                .contrast = valueNamed(contrast, drawing::allContrasts),
                .transparency = valueNamed(transparency, drawing::allTransparencies),
                .redaction = redacted ? drawing::Redaction::placeholder : drawing::Redaction::none};
    }
};

template <typename Values>
std::vector<std::string> namesOf(const Values& values) {
    std::vector<std::string> names;
    for (const auto value : values) names.emplace_back(name(value));
    return names;
}

/// `prefix` begins what the help says of each.
std::vector<platform::Option> addAppearanceOptions(const platform::Command& command,
                                                   AppearanceOptions& options,
                                                   const std::string& prefix = "") {
    const auto add = [&](const char* option, std::string& value, const std::string& description,
                         const auto& values) {
        return command.option(option, value, prefix + description).oneOf(namesOf(values)).showsDefault();
    };
    return {add("--text-size", options.textSize,
                "How large texts are: each family is drawn at the largest size up to that at which its words "
                "stand "
                "whole",
                drawing::allTextSizes),
            add("--contrast", options.contrast, "standard, or increased: everything stands out more",
                drawing::allContrasts),
            add("--transparency", options.transparency,
                "standard, or reduced: nothing behind the widget shows through", drawing::allTransparencies)};
}

struct ShowOptions {
    bool image = false;
    bool live = false;
    bool follow = false;
    std::string scheme = "dark";
    AppearanceOptions appearance = {};
};

/// Draws into a picture in memory and shows it.
int showImage(const Options& options, const ShowOptions& show) {
    host::DrawingCommand command;
    command.families = {*platform::widgetFamily(options.family)};
    command.colorSchemes = {show.scheme == "dark" ? drawing::ColorScheme::dark : drawing::ColorScheme::light};
    command.appearance = show.appearance.appearance();
    command.scale = 2;
    command.deliver = [](const std::filesystem::path&, const std::string& png) {
        host::writeToStandardOutput(
            host::terminalImage(png, host::TerminalGeometry::ofDescriptor(STDOUT_FILENO)));
    };
    return command.run();
}

void addShowCommand(const platform::Command& app, Options& options, ShowOptions& show) {
    const auto command = app.subcommand("show", "Show the latest packages in the terminal");
    const auto image = command.flag(
        "--image", show.image, "Show the widget itself: by sixels, kitty's or iTerm2's protocol, or symbols");
    command.option("--family", options.family, "With --image: the family to draw")
        .oneOf(platform::familyNames())
        .needs(image)
        .showsDefault();
    command.option("--scheme", show.scheme, "With --image: light or dark")
        .oneOf(std::vector<std::string>{"light", "dark"})
        .needs(image)
        .showsDefault();
    for (const auto& option : addAppearanceOptions(command, show.appearance, "With --image: "))
        option.needs(image);
    command.flag("--live", show.live, "Show what the live host has, and start it where none runs");
    command.flag("--follow", show.follow,
                 "Show it until you quit, kept current in place; without a terminal, at every change");
    command.footer(
        "Example:\n  vela-widget show\n  vela-widget show --image --family systemLarge\n  vela-widget show "
        "--follow");
    command.action([&options, &show] {
        if (show.live && show.image) platform::refuseArgument("--live", "shows text; --image asks by itself");
        if (show.follow && show.image)
            platform::refuseArgument("--follow", "shows text; --image asks by itself");
        if (show.follow) throw platform::ExitStatus(host::showFollow());
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
    AppearanceOptions appearance = {};
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
                                                                     {"text", widget::DrawingFormat::text},
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
    return widget::DrawingRequest::isTint(text) ? "" : "a tint is #RRGGBB";
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
    command.appearance = options.appearance.appearance();
    command.entry = options.entry;
    if (!options.size.empty()) command.size = host::sizeFromText(options.size);
    command.scale = options.scale;
    command.format = drawingFormats.at(options.format);
    if (!options.tint.empty()) command.tint = options.tint;
    command.pictureBudget = std::chrono::milliseconds(std::lround(options.pictureBudget * 1000));
    command.output = options.output;
    return command;
}

void addRenderCommand(const platform::Command& app, RenderOptions& options) {
    const auto command = app.subcommand("render", "Draw an entry as a picture");
    auto families = platform::familyNames();
    families.emplace_back("all");
    command.option("--family", options.family, "The family to draw, or all that the widget offers")
        .oneOf(families)
        .showsDefault();
    command.option("--scheme", options.scheme, "light, dark or all")
        .oneOf(std::vector<std::string>{"light", "dark", "all"})
        .showsDefault();
    addAppearanceOptions(command, options.appearance);
    command.flag("--redacted", options.appearance.redacted,
                 "Bars for texts and blocks for pictures: what a host shows that has nothing yet");
    command.option("--scale", options.scale, "Pixels to a point, 1 to 4").within(1.0, 4.0).showsDefault();
    command.option("--size", options.size, "WIDTHxHEIGHT in points, in place of the family's own size")
        .checked(checkedSize, "WIDTHxHEIGHT");
    command
        .option("--entry", options.entry,
                "A file with an entry as snapshot prints it, - for standard input, or placeholder; "
                "a fresh snapshot where it is not given")
        .named("FILE")
        .checked(checkedEntry, "");
    command
        .option("--format", options.format,
                "png; svg; text: a sentence for each package that is drawn; or tree: what is "
                "displayed, as JSON")
        .oneOf(std::vector<std::string>{"png", "svg", "text", "tree"})
        .showsDefault();
    command.option("--tint", options.tint, "The lock screen's colour for the accessory families, #RRGGBB")
        .checked(checkedTint, "#RRGGBB");
    command
        .option("--picture-budget", options.pictureBudget,
                "Seconds to wait for pictures, all drawings together; a placeholder stands for each that "
                "has not come by then. 0.1 to 120: the command has 150 in all")
        .within(0.1, 120.0)
        .showsDefault();
    command
        .option("--output", options.output,
                "The file to write, - for standard output; a folder where several are drawn")
        .named("FILE")
        .checked(checkedOutput, "")
        .required();
    command.footer("Example:\n  vela-widget render --family systemSmall --scheme dark --output widget.png");
    command.action([&options] { throw platform::ExitStatus(drawingCommand(options).run()); });
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
std::vector<platform::WidgetFamily> families(const RunOptions& options) {
    if (std::ranges::find(options.families, "all") != options.families.end())
        return {widget::supportedFamilies.begin(), widget::supportedFamilies.end()};
    std::vector<platform::WidgetFamily> wanted;
    for (const auto& family : options.families) wanted.push_back(*platform::widgetFamily(family));
    if (wanted.empty() && !options.output.empty()) wanted = {platform::WidgetFamily::systemMedium};
    return wanted;
}

std::vector<host::PictureFile> pictures(const RunOptions& options) {
    using drawing::ColorScheme;
    std::vector<host::PictureFile> files;
    for (const auto family : families(options))
        for (const auto scheme : {ColorScheme::light, ColorScheme::dark})
            if (options.scheme == "all" || options.scheme == widget::name(scheme))
                files.push_back({.family = family, .colorScheme = scheme, .scale = options.scale});
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

void addRunCommand(const platform::Command& app, RunOptions& options) {
    auto families = platform::familyNames();
    families.emplace_back("all");
    const auto command = app.subcommand("run", "Keep the widget current for every surface that reads it");
    command
        .option("--output", options.output,
                "A folder that holds the entry, its text and pictures as files, each written when it "
                "changes; beside $XDG_RUNTIME_DIR/vela-widget, which always does")
        .named("FOLDER")
        .checked(checkedOutput, "");
    command
        .option("--family", options.families,
                "Families to keep a picture of, as FAMILY-SCHEME@SCALEx.png: several with commas, or given "
                "several times, or all that the widget offers")
        .oneOf(families);
    command.option("--scheme", options.scheme, "light, dark or all")
        .oneOf(std::vector<std::string>{"light", "dark", "all"})
        .showsDefault();
    command.option("--scale", options.scale, "Pixels to a point, 1 to 4").within(1.0, 4.0).showsDefault();
    command
        .option("--idle-exit", options.idleExit,
                "End after so many seconds without readers, 1 to 86400; without it, never")
        .named("SECONDS")
        .within(1.0, 86'400.0);
    command.flag("--notify", options.notifies,
                 "Show a desktop notification when a package comes near, arrives or needs you; without it, "
                 "where the shared default \"notifications\" says so");
    command.footer("Example:\n  vela-widget run --output ~/.cache/widget --family systemMedium --scheme all");
    command.action([&options] { throw platform::ExitStatus(runCommand(options).run()); });
}

struct BarOptions {
    host::BarStyle style;
    int columns = static_cast<int>(host::BarStyle().columns);
    bool follow = false;
    bool next = false;
    bool previous = false;
    bool open = false;
};

host::BarCommand barCommand(const BarOptions& options) {
    using Action = host::BarCommand::Action;
    if (options.follow + options.next + options.previous + options.open > 1)
        platform::refuseArgument("bar", "does one of --follow, --next, --previous and --open at a time");
    if (options.style.isJSON && options.style.format != host::BarFormat::i3blocks)
        platform::refuseArgument("--json", "is for --format i3blocks");
    host::BarCommand command = {.style = options.style};
    command.style.columns = static_cast<std::size_t>(options.columns);
    command.style.companion = host::companionProgram().string();
    command.style.widget = platform::siblingProgramPath("vela-widget").string();
    if (options.follow) command.action = Action::follow;
    if (options.next) command.action = Action::next;
    if (options.previous) command.action = Action::previous;
    if (options.open) command.action = Action::open;
    return command;
}

void addBarCommand(const platform::Command& app, BarOptions& options) {
    const auto command = app.subcommand("bar", "Print what the live host has for a status bar");
    command.choice("--format", options.style.format, host::barFormats,
                   "Which bar reads it; plain by default");
    command.flag("--json", options.style.isJSON, "With --format i3blocks: for a block of format=json");
    command.option("--max-length", options.columns, "Columns of the text, 4 to 1000")
        .within(4, 1000)
        .showsDefault();
    command.flag("--follow", options.follow, "A line at every change, until nobody reads on");
    command.flag("--next", options.next, "For the wheel: put the next package into the bars");
    command.flag("--previous", options.previous, "The one before");
    command.flag("--open", options.open, "For a click: open the package in the bars");
    command.footer("Example:\n  vela-widget bar --format waybar --follow\n  vela-widget bar --next");
    command.action([&options] { throw platform::ExitStatus(barCommand(options).run()); });
}

void addWindowCommand(const platform::Command& app, std::string& family) {
    const auto command = app.subcommand("window", "Show the widget on the desktop, in a window kept current");
    std::vector<std::string> families;
    for (const auto each : widget::supportedFamilies) families.emplace_back(platform::description(each));
    command
        .option("--family", family,
                "The family it begins in; without it the one that was shown last, at first systemMedium")
        .oneOf(families);
    command.footer("Example:\n  vela-widget window --family systemLarge");
    command.action([&family] {
        std::vector<std::string> arguments;
        if (!family.empty()) arguments = {"--family", family};
        platform::SiblingProgram{.name = "vela-widget-window", .package = "vela-widget-gtk"}.become(
            std::move(arguments));
    });
}

void addServeCommand(const platform::Command& app, std::uint16_t& port) {
    const auto command = app.subcommand(
        "serve", "Show the widget in the browser: a page on this machine's loopback, kept current");
    command.option("--port", port, "The page's port; without it, a free one").within(0, 65'535);
    command.footer("Example:\n  vela-widget serve\n  vela-widget serve --port 8123");
    command.action([&port] {
        platform::SiblingProgram{.name = "vela-widget-page", .package = "vela-widget"}.become(
            {"--port", std::to_string(port)});
    });
}

struct PanelOptions {
    std::string family;
    std::string scheme = "dark";
    double scale = 2;
    double textScaling = 1;
    std::string contrast = "standard";
    std::string after;
    std::string keychain;
    bool withoutHost = false;
};

host::PanelCommand panelCommand(const PanelOptions& options) {
    using Wait = host::PanelCommand::Wait;
    host::PanelCommand command = {.after = options.after,
                                  .keychain = options.keychain,
                                  .wait = options.withoutHost ? Wait::forKeychain : Wait::forHost};
    if (options.family.empty()) return command;
    command.picture = {
        .family = *platform::widgetFamily(options.family),
        .colorScheme = options.scheme == "dark" ? drawing::ColorScheme::dark : drawing::ColorScheme::light,
        .scale = options.scale,
        .textScaling = options.textScaling,
        .contrast = valueNamed(options.contrast, drawing::allContrasts)};
    return command;
}

void addPanelCommand(const platform::Command& app, PanelOptions& options) {
    const auto command =
        app.subcommand("panel", "Print what the live host has for a desktop's panel, as a line of JSON");
    const auto family =
        command.option("--family", options.family, "With a picture of this family, as a data URL")
            .oneOf(platform::familyNames());
    command.option("--scheme", options.scheme, "light or dark")
        .oneOf(std::vector<std::string>{"light", "dark"})
        .needs(family)
        .showsDefault();
    command.option("--scale", options.scale, "Pixels to a point, 1 to 4")
        .within(1.0, 4.0)
        .needs(family)
        .showsDefault();
    command
        .option("--text-scaling", options.textScaling,
                "The desktop's factor for texts, 0.5 to 4: the text size that comes nearest is drawn")
        .within(0.5, 4.0)
        .needs(family)
        .showsDefault();
    command.option("--contrast", options.contrast, "standard or increased")
        .oneOf(namesOf(drawing::allContrasts))
        .needs(family)
        .showsDefault();
    command.option("--after", options.after,
                   "The version of what is shown already: waits until there is something else");
    const auto keychain =
        command.option("--keychain", options.keychain,
                       "The keychain of what is shown already: with another it is no longer");
    command
        .flag("--without-host", options.withoutHost,
              "Wait for another keychain alone, where no live host can be had")
        .needs(keychain);
    command.footer(
        "Example:\n  vela-widget panel\n  vela-widget panel --family systemMedium --after VERSION");
    command.action([&options] { throw platform::ExitStatus(panelCommand(options).run()); });
}

void addReloadCommand(const platform::Command& app) {
    const auto command = app.subcommand("reload", "Have the live host ask the server now");
    command.footer("Example:\n  vela-widget reload");
    command.action([] { throw platform::ExitStatus(host::runReload()); });
}

void addSetupCommand(const platform::Command& app, host::SetupTarget& target) {
    const auto command = app.subcommand("setup", "Print what to paste into a bar, a lock screen or a shell");
    command.choice("HOST", target, host::setupTargets, "What is to show the widget").required();
    command.footer("Example:\n  vela-widget setup waybar");
    command.action([&target] {
        const auto search = platform::environmentVariable("PATH").value_or("");
        const auto program = host::shellCall(platform::executablePath().string(), search);
        host::writeToStandardOutput(host::setupSnippet(target, program));
    });
}

void addDoctorCommand(const platform::Command& app, host::DoctorCommand& doctor) {
    const auto command = app.subcommand("doctor", "Look at all that the widget needs, and say what to mend");
    command.flag(
        "--json", [&doctor] { doctor.output = host::DoctorCommand::Output::json; },
        "The same as a line of JSON");
    command.footer("Example:\n  vela-widget doctor");
    command.action([&doctor] { throw platform::ExitStatus(doctor.run()); });
}

void addTourCommand(const platform::Command& app, host::TourManner& manner) {
    const auto command = app.subcommand("tour", "Walk through the first use: sign-in, parcels, surfaces");
    command.flag(
        "--yes", [&manner] { manner = host::TourManner::byItself; },
        "Ask nothing, change nothing: look at the sample person, and say what would be offered");
    command.footer("Example:\n  vela-widget tour");
    command.action([&manner] { throw platform::ExitStatus(host::runTour(manner)); });
}

int runProgram(int count, const char* const* arguments) {
    platform::CommandLine app("vela-widget", "Your latest parcels and orders, on every surface you look at.",
                              VELA_VERSION);
    app.requireSubcommand();
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
    std::string windowFamily;
    addWindowCommand(app, windowFamily);
    std::uint16_t pagePort = 0;
    addServeCommand(app, pagePort);
    BarOptions barOptions;
    addBarCommand(app, barOptions);
    PanelOptions panelOptions;
    addPanelCommand(app, panelOptions);
    host::SetupTarget setupTarget = {};
    addSetupCommand(app, setupTarget);
    host::DoctorCommand doctor;
    addDoctorCommand(app, doctor);
    auto tourManner = host::TourManner::asking;
    addTourCommand(app, tourManner);
    return app.run(count, arguments);
}

}  // namespace

int main(int count, char** arguments) {
    platform::holdStandardStreams();
    // A parent that waits for no child of its own bequeaths that.
    ::signal(SIGCHLD, SIG_DFL);
    return platform::statusOf("vela-widget", [&] { return runProgram(count, arguments); });
}
