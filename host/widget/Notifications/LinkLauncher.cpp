// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Notifications/LinkLauncher.hpp"

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <system_error>
#include <utility>

#include "host/widget/DetachedProcess.hpp"
#include "platform/Log/Logger.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace host {

LinkLauncher::LinkLauncher(const boost::asio::any_io_executor& executor)
    : LinkLauncher(executor, platform::executablePath().parent_path() / "vela-companion") {}

LinkLauncher::LinkLauncher(const boost::asio::any_io_executor& executor, std::filesystem::path companion)
    : executor_(executor), companion_(std::move(companion)) {}

void LinkLauncher::open(const std::string& link, const std::string& activationToken) {
    std::map<std::string, std::string> variables;
    if (!activationToken.empty())
        variables = {{"XDG_ACTIVATION_TOKEN", activationToken}, {"DESKTOP_STARTUP_ID", activationToken}};
    try {
        const pid_t process = startDetached(companion_, {"vela-companion", "open", "--", link}, variables);
        const auto ending = static_cast<int>(::syscall(SYS_pidfd_open, process, 0));
        // Where the system cannot tell, it is waited for with the host's own end.
        if (ending < 0) return;
        running_.try_emplace(process, executor_, ending, [this, process] {
            ::waitpid(process, nullptr, WNOHANG);
            running_.erase(process);
        });
    } catch (const std::system_error& error) {
        platform::Logger::standard().log(platform::LogLevel::error, "a link cannot be opened: %s",
                                         {{error.what()}});
    }
}

}  // namespace host
