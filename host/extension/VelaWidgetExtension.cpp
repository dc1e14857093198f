// SPDX-License-Identifier: Apache-2.0

// The extension process: started by a widget host, which hands down one end of a socket pair.

#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>

#include <charconv>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

#include "host/extension/BundleRunLoop.hpp"
#include "platform/ProcessInfo/ExpiringActivity.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace {

constexpr const char* help =
    "VelaWidgetExtension: the widget's extension process. A widget host starts it, not a person.\n"
    "\n"
    "Usage: VelaWidgetExtension --host-socket=DESCRIPTOR\n"
    "\n"
    "  --host-socket  an inherited, connected local stream socket over which the host asks\n"
    "  --help         this text\n"
    "\n"
    "Example (what vela-widget does for you):\n"
    "  vela-widget timeline --family systemSmall\n";

std::optional<int> hostSocket(std::string_view argument) {
    constexpr std::string_view option = "--host-socket=";
    if (!argument.starts_with(option)) return std::nullopt;
    argument.remove_prefix(option.size());
    int descriptor = -1;
    const auto parsed = std::from_chars(argument.data(), argument.data() + argument.size(), descriptor);
    if (parsed.ec != std::errc() || parsed.ptr != argument.data() + argument.size()) return std::nullopt;
    int type = 0;
    socklen_t length = sizeof type;
    if (::getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &length) != 0 || type != SOCK_STREAM)
        return std::nullopt;
    return descriptor;
}

}  // namespace

int main(int count, char** arguments) {
    if (count == 2 && std::strcmp(arguments[1], "--help") == 0) {
        std::fputs(help, stdout);
        return 0;
    }
    const auto socket = count == 2 ? hostSocket(arguments[1]) : std::nullopt;
    if (!socket) {
        std::fputs(help, stderr);
        return 2;
    }
    // It holds tokens, and it is nothing without its host. A host that died before this line is noticed all
    // the same: its end of the socket is closed.
    platform::forbidCoreFiles();
    platform::returnFreedMemory();
    platform::endAfterActivitiesOnSignals();
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    ::signal(SIGPIPE, SIG_IGN);
    host::runBundle(widget::VelaWidgetBundle(), *socket);
}
