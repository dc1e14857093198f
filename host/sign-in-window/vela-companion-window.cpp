// SPDX-License-Identifier: Apache-2.0

// The window for signing in, which `vela-companion sign-in --window` goes on as.

#include <signal.h>

#include <string>

#include "host/sign-in-window/SignInWindow.hpp"
#include "platform/CommandLine/Command.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/ProcessInfo/WipedMemory.hpp"
#include "platform/Streams/LastResort.hpp"
#include "platform/Streams/Streams.hpp"

namespace {

constexpr const char* program = "vela-companion-window";

int showWindow() {
    if (!gtk_init_check(nullptr, nullptr)) {
        platform::printError(
            program, "there is no desktop to show a window on; on a terminal: vela-companion sign-in");
        return 1;
    }
    const auto application = Gtk::Application::create("example.vela.SignIn");
    host::SignInWindow window;
    return application->run(window);
}

int runProgram(int count, const char* const* arguments) {
    platform::CommandLine app(program, "The window for signing in to Vela.", VELA_VERSION);
    app.footer("Example:\n  vela-companion sign-in --window");
    app.actionWithoutSubcommand([] { throw platform::ExitStatus(showWindow()); });
    return app.run(count, arguments);
}

}  // namespace

int main(int count, char** arguments) {
    platform::holdStandardStreams();
    platform::forbidCoreFiles();
    platform::wipeFreedMemory();
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGCHLD, SIG_DFL);
    return platform::statusOf(program, [&] { return runProgram(count, arguments); });
}
