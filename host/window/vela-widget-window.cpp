// SPDX-License-Identifier: Apache-2.0

// The desktop window's command line.

#include <glib-unix.h>
#include <glibmm/main.h>
#include <gtkmm/main.h>
#include <signal.h>
#include <stdlib.h>

#include <string>

#include "host/window/WidgetWindow.hpp"
#include "platform/CommandLine/Command.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/ProcessInfo/SiblingProgram.hpp"
#include "platform/ProcessInfo/WipedHeap.hpp"
#include "platform/ProcessInfo/WipedMemory.hpp"
#include "platform/Streams/LastResort.hpp"
#include "platform/Streams/Streams.hpp"

namespace {

constexpr const char* programName = "vela-widget";

std::vector<std::string> offeredFamilies() {
    std::vector<std::string> names;
    for (const auto family : widget::supportedFamilies) names.emplace_back(platform::description(family));
    return names;
}

/// The one that is asked for, else the one that was shown last.
platform::WidgetFamily chosenFamily(const std::string& name,
                                    const std::optional<host::WindowPlaces>& places) {
    if (!name.empty()) return *platform::widgetFamily(name);
    std::optional<platform::WidgetFamily> remembered;
    if (places) remembered = places->read().family;
    return host::windowFamily(remembered.value_or(platform::WidgetFamily::systemMedium)).family;
}

gboolean quitLoop(gpointer loop) {
    ::g_main_loop_quit(static_cast<GMainLoop*>(loop));
    return G_SOURCE_CONTINUE;
}

/// Without the machine's graphics library, which a picture has no use for and which takes more memory than
/// all else. What this process starts is not to be told.
bool openDisplay() {
    constexpr const char* variable = "GDK_GL";
    const bool isOurs = !platform::environmentVariable(variable);
    if (isOurs) ::setenv(variable, "disable", 1);
    const bool isOpen = ::gtk_init_check(nullptr, nullptr);
    if (isOurs) ::unsetenv(variable);
    return isOpen;
}

int runWindow(const std::string& family) {
    ::g_set_prgname(programName);
    ::gdk_set_program_class(programName);
    if (!openDisplay()) {
        platform::printError(
            programName,
            "there is no display for a window: neither WAYLAND_DISPLAY nor DISPLAY names one that answers");
        return 1;
    }
    Gtk::Main::init_gtkmm_internals();
    const auto loop = Glib::MainLoop::create();
    int status = 0;
    const auto places = host::WindowPlaces::ofPerson();
    host::WidgetWindow window({.family = chosenFamily(family, places),
                               .program = platform::siblingProgramPath("vela-widget"),
                               .places = places,
                               .onQuit = [&] { loop->quit(); },
                               .onFailure =
                                   [&](const std::string& why) {
                                       platform::printError(programName, why);
                                       status = 1;
                                       loop->quit();
                                   }});
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) ::g_unix_signal_add(signal, quitLoop, loop->gobj());
    loop->run();
    return status;
}

int runProgram(int count, const char* const* arguments) {
    platform::CommandLine app("vela-widget-window", "The widget as a window on the desktop.", VELA_VERSION);
    std::string family;
    app.option("--family", family,
               "The family it begins in; the one that was shown last where it is not given")
        .oneOf(offeredFamilies());
    app.footer("Example:\n  vela-widget window --family systemLarge");
    app.actionWithoutSubcommand([&] { throw platform::ExitStatus(runWindow(family)); });
    return app.run(count, arguments);
}

}  // namespace

int main(int count, char** arguments) {
    platform::holdStandardStreams();
    platform::wipeFreedMemory();
    platform::wipeFreedHeap();
    platform::returnFreedMemory();
    // A parent that waits for no child of its own bequeaths that.
    ::signal(SIGCHLD, SIG_DFL);
    ::signal(SIGPIPE, SIG_IGN);
    return platform::statusOf("vela-widget", [&] { return runProgram(count, arguments); });
}
