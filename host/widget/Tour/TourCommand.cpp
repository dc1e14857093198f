// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Tour/TourCommand.hpp"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "host/widget/Setup/SetupSnippet.hpp"
#include "host/widget/Tour/SampleFolder.hpp"
#include "host/widget/Tour/SamplePerson.hpp"
#include "host/widget/Tour/Surfaces.hpp"
#include "platform/Files/TrustedFolder.hpp"
#include "platform/Files/Writing.hpp"
#include "platform/ProcessInfo/ChildProgram.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/Streams/Streams.hpp"

namespace host {

namespace {

constexpr int patienceWithPrograms = 10;
constexpr const char* socketUnit = "vela-widget.socket";

std::string widgetCall() {
    return shellCall(platform::executablePath().string(), platform::environmentVariable("PATH").value_or(""));
}

bool isSomebodySignedIn() {
    const auto status = platform::outputOf({.program = ownProgram("vela-companion"), .arguments = {"status"}},
                                           patienceWithPrograms);
    return status.value_or("").find("signed in: yes\n") != std::string::npos;
}

void showOwnPackages(const Guide& guide) {
    guide.run(ownProgram("vela-widget"), {"show"});
}

void showSamplePerson(const Guide& guide) {
    guide.say(
        "A server of this machine's own, and a person who does not exist; your own data is not touched.");
    try {
        const SamplePerson sample(guide);
        guide.run(ownProgram("vela-widget"), {"show"}, sample.variables());
    } catch (const std::exception& failure) {
        guide.say(std::string("That did not work: ") + failure.what() + ".");
        return;
    }
    guide.say("The sample person and her server are gone again.");
}

void showPackages(const Guide& guide) {
    if (isSomebodySignedIn()) {
        guide.say("Somebody is signed in. This is what the widget has:");
        return showOwnPackages(guide);
    }
    if (!guide.asks()) {
        guide.say("Nobody is signed in. To sign in: vela-companion sign-in");
        return showSamplePerson(guide);
    }
    guide.say(
        "Nobody is signed in.\n  1  sign in now\n  2  just look, at a sample person's parcels\n  3  go on");
    while (const auto answer = guide.ask("Which? [2]")) {
        if (answer == "3") return;
        if (answer->empty() || answer == "2") return showSamplePerson(guide);
        if (answer == "1" && guide.run(ownProgram("vela-companion"), {"sign-in"}) == 0)
            return showOwnPackages(guide);
        if (answer != "1") guide.say("1, 2 or 3.");
    }
}

std::string namesOf(const std::vector<Surface>& surfaces, Surface::Presence presence) {
    std::string names;
    for (const auto& surface : surfaces)
        if (surface.presence == presence) names += std::string(names.empty() ? "" : ", ") + surface.name;
    return names;
}

void tellSurfaces(const Guide& guide, const std::vector<Surface>& surfaces,
                  const Surroundings& surroundings) {
    const auto running = namesOf(surfaces, Surface::Presence::runs);
    const auto installed = namesOf(surfaces, Surface::Presence::installed);
    if (!running.empty()) guide.say("Running here, and ready for the widget: " + running + ".");
    if (!installed.empty()) guide.say("Installed: " + installed + ".");
    if (surfaces.empty()) guide.say("None of the bars and desktops that are known is here.");
    guide.say("Without any setup:");
    guide.say("  " + widgetCall() + " show --follow    this terminal");
    const auto isThere = [](const char* program) { return ::access(ownProgram(program).c_str(), X_OK) == 0; };
    if (isThere("vela-widget-page"))
        guide.say("  " + widgetCall() + " serve            a page in the browser");
    if (isThere("vela-widget-window") && hasDisplay(surroundings))
        guide.say("  " + widgetCall() + " window           the widget itself, on this desktop");
}

std::string indented(std::string_view text) {
    std::string lines;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        lines.append("    ").append(text.substr(0, end)).append("\n");
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

void offerFile(const Guide& guide, const std::filesystem::path& file, const std::string& snippet) {
    guide.say("There is no " + file.string() + " yet; these lines would be all of it.");
    if (!guide.asks() || !guide.agrees("Write it?")) return;
    try {
        writeNewFile(file, snippet);
        guide.say("Written: " + file.string());
    } catch (const platform::FileError& error) {
        guide.say(std::string("Nothing was written: ") + error.what());
    }
}

void showSetup(const Guide& guide, SetupTarget target, const Surroundings& surroundings) {
    const auto snippet = setupSnippet(target, widgetCall());
    guide.show("\n" + indented(snippet));
    if (const auto file = newFileFor(target, surroundings)) offerFile(guide, *file, snippet);
}

void showSurfaces(const Guide& guide) {
    const auto surroundings = Surroundings::ofThisProcess();
    const auto surfaces = surfacesIn(surroundings);
    tellSurfaces(guide, surfaces, surroundings);
    if (!guide.asks()) {
        for (const auto& surface : surfaces)
            if (surface.presence == Surface::Presence::runs) showSetup(guide, surface.target, surroundings);
        return;
    }
    while (const auto answer = guide.ask("Show what to paste for which? [none]")) {
        if (answer->empty()) return;
        const auto* row = std::find_if(setupTargets.begin(), setupTargets.end(),
                                       [&](const auto& known) { return known.first == *answer; });
        if (row != setupTargets.end()) {
            showSetup(guide, row->second, surroundings);
            continue;
        }
        std::string names;
        for (const auto& [name, target] : setupTargets) names += std::string(" ") + name;
        guide.say("No surface has that name. There are:" + names);
    }
}

std::optional<std::string> serviceManagerSays(const std::vector<std::string>& words) {
    std::vector<std::string> arguments = {"--user"};
    arguments.insert(arguments.end(), words.begin(), words.end());
    return platform::outputOf({.program = "systemctl", .arguments = arguments}, patienceWithPrograms);
}

void offerService(const Guide& guide) {
    if (!serviceManagerSays({"show-environment"}))
        return guide.say(
            "There is no service manager of your own here; a surface starts the live host itself.");
    if (serviceManagerSays({"is-enabled", socketUnit}))
        return guide.say("The live host is started for you when a surface asks for it.");
    if (!serviceManagerSays({"cat", socketUnit}))
        return guide.say("The units are not installed; a surface starts the live host itself.");
    guide.say("To have the live host started for you when a surface asks for it:");
    guide.show(std::string("\n    systemctl --user enable --now ") + socketUnit + "\n");
    if (!guide.asks() || !guide.agrees("Do that?")) return;
    if (guide.run("systemctl", {"--user", "enable", "--now", socketUnit}) == 0)
        guide.say(std::string("Done. To undo it: systemctl --user disable --now ") + socketUnit);
}

constexpr const char* tourSteps =
    "vela-widget tour asks on a terminal. It would\n"
    "  1  look at what the widget needs        vela-widget doctor\n"
    "  2  offer to sign in, or a sample person vela-companion sign-in\n"
    "     and show the packages                vela-widget show\n"
    "  3  show what to paste for your surfaces vela-widget setup HOST\n"
    "  4  offer to enable the live host's unit vela-widget setup systemd\n"
    "Without questions: vela-widget tour --yes\n";

void guideThrough(const Guide& guide) {
    guide.say(guide.asks()
                  ? "Vela's widget, in four steps. Ctrl-C ends it at any time and leaves nothing behind."
                  : "Vela's widget, in four steps. Nothing is asked, and nothing is changed.");
    guide.say("\n1  What the widget needs\n");
    guide.run(ownProgram("vela-widget"), {"doctor"});
    guide.say("\n2  Your parcels\n");
    showPackages(guide);
    guide.say("\n3  Where you see them\n");
    showSurfaces(guide);
    guide.say("\n4  Always current\n");
    offerService(guide);
    guide.say("\nThat was all. " + widgetCall() + " --help has the rest.");
}

}  // namespace

int runTour(TourManner manner) {
    const bool isTerminal = ::isatty(STDIN_FILENO) == 1 && ::isatty(STDOUT_FILENO) == 1;
    if (manner == TourManner::asking && !isTerminal) {
        platform::writeAll(STDERR_FILENO, tourSteps);
        return 2;
    }
    int ending = 0;
    try {
        const Guide guide(manner);
        SampleFolder::removeLeft();
        guideThrough(guide);
    } catch (const TourInterrupted& interrupted) {
        ending = interrupted.signal;
    } catch (const std::exception& failure) {
        platform::printFailure("vela-widget", failure);
        return 1;
    }
    if (ending != 0) ::raise(ending);
    return ending == 0 ? 0 : 1;
}

}  // namespace host
