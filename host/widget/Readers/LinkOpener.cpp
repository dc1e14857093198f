// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Readers/LinkOpener.hpp"

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <system_error>
#include <utility>

#include "host/widget/Readers/DetachedProgram.hpp"
#include "platform/Asio/DescriptorWatch.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace host {

namespace {

pid_t startCompanion(const std::string& link, const std::string& activationToken = {}) {
    std::map<std::string, std::string> variables;
    // For Wayland, and for X.
    if (!activationToken.empty())
        variables = {{"XDG_ACTIVATION_TOKEN", activationToken}, {"DESKTOP_STARTUP_ID", activationToken}};
    return startDetached(companionProgram(), {"vela-companion", "open", link}, variables);
}

/// Not in every C library.
int descriptorOfProcess(pid_t process) {
    return static_cast<int>(::syscall(SYS_pidfd_open, process, 0));
}

}  // namespace

std::filesystem::path companionProgram() {
    return platform::executablePath().parent_path() / "vela-companion";
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
