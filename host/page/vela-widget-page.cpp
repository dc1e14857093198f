// SPDX-License-Identifier: Apache-2.0

// The page's command line, which is that of `vela-widget serve`.

#include <signal.h>

#include <cstdint>

#include "host/page/PageCommand.hpp"
#include "platform/Bundle/Bundle.hpp"
#include "platform/CommandLine/Command.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/ProcessInfo/SiblingProgram.hpp"
#include "platform/ProcessInfo/WipedMemory.hpp"
#include "platform/Streams/LastResort.hpp"
#include "platform/Streams/Streams.hpp"

namespace {

int runProgram(int count, const char* const* arguments) {
    platform::CommandLine app("vela-widget-page", "Shows your latest parcels and orders in the browser.",
                              VELA_VERSION);
    std::uint16_t port = 0;
    app.option("--port", port, "The page's port; without it, a free one").within(0, 65'535);
    app.footer("Example:\n  vela-widget serve --port 8123");
    app.actionWithoutSubcommand([&port] {
        const host::PageCommand command = {.port = port,
                                           .program = platform::siblingProgramPath("vela-widget"),
                                           .resources = platform::Bundle::main().resourceFolder()};
        throw platform::ExitStatus(platform::statusOf("vela-widget", [&command] { return command.run(); }));
    });
    return app.run(count, arguments);
}

}  // namespace

int main(int count, char** arguments) {
    platform::holdStandardStreams();
    platform::forbidCoreFiles();
    // What somebody who signs out leaves behind is overwritten with the last use of it.
    platform::wipeFreedMemory();
    ::signal(SIGCHLD, SIG_DFL);
    return platform::statusOf("vela-widget", [&] { return runProgram(count, arguments); });
}
