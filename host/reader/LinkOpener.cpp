// SPDX-License-Identifier: Apache-2.0

#include "host/reader/LinkOpener.hpp"

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <system_error>
#include <utility>

#include "host/reader/DetachedProgram.hpp"
#include "platform/Asio/DescriptorWatch.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/ProcessInfo/SiblingProgram.hpp"

namespace host {

namespace {

pid_t startCompanion(const std::string& link, const std::string& activationToken = {}) {
    const auto isConfined = platform::environmentVariable("VELA_CONFINED") == "yes";
    const auto opening =
        linkOpening(link, activationToken, isConfined ? Confinement::ofService : Confinement::none);
    return startDetached(opening.program, opening.arguments, opening.variables);
}

/// Not in every C library.
int descriptorOfProcess(pid_t process) {
    return static_cast<int>(::syscall(SYS_pidfd_open, process, 0));
}

}  // namespace

std::filesystem::path companionProgram() {
    return platform::siblingProgramPath("vela-companion");
}

LinkOpening linkOpening(const std::string& link, const std::string& activationToken,
                        Confinement confinement) {
    std::map<std::string, std::string> variables;
    // For Wayland, and for X.
    if (!activationToken.empty())
        variables = {{"XDG_ACTIVATION_TOKEN", activationToken}, {"DESKTOP_STARTUP_ID", activationToken}};
    if (confinement == Confinement::none)
        return {.program = companionProgram(),
                .arguments = {"vela-companion", "open", link},
                .variables = std::move(variables)};
    // A unit is described in the journal, by its command line where nothing else is said: the link of a
    // person who signs out would stay there.
    std::vector<std::string> arguments = {"systemd-run", "--user", "--collect", "--quiet",
                                          "--description=A link of the widget"};
    for (const auto& [name, value] : variables) arguments.push_back("--setenv=" + name + "=" + value);
    for (const auto& word : {companionProgram().string(), std::string("open"), link})
        arguments.push_back(word);
    return {.program = "/usr/bin/systemd-run", .arguments = std::move(arguments)};
}

void openLink(const std::string& link) {
    startCompanion(link);
}

LinkOpener::LinkOpener(boost::asio::any_io_executor executor, EndHandler onEnd)
    : executor_(std::move(executor)), onEnd_(std::move(onEnd)) {}

LinkOpener::~LinkOpener() = default;

void LinkOpener::open(const std::string& link, const std::string& activationToken) {
    pid_t id = 0;
    try {
        id = startCompanion(link, activationToken);
    } catch (const std::system_error&) {
        return onEnd_(false);
    }
    const int descriptor = descriptorOfProcess(id);
    if (descriptor < 0) return;
    processes_[id] =
        std::make_unique<platform::DescriptorWatch>(executor_, descriptor, [this, id] { take(id); });
}

void LinkOpener::take(pid_t id) {
    int status = 0;
    if (::waitpid(id, &status, WNOHANG) == 0) return;
    processes_.erase(id);
    onEnd_(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

}  // namespace host
