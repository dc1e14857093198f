// SPDX-License-Identifier: Apache-2.0

#include "platform/ProcessInfo/Spawning.hpp"

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace platform {

namespace {

/// As the system wants it: pointers to texts that stay, and none at the end.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> environmentWith(const std::map<std::string, std::string>& variables) {
    auto all = processEnvironment();
    for (const auto& [name, value] : variables) all[name] = value;
    std::vector<std::string> lines;
    for (const auto& [name, value] : all) lines.push_back(name + "=" + value);
    return lines;
}

}  // namespace

Spawning::Spawning(int flags) {
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawnattr_init(&attributes_);
    sigset_t signals;
    ::sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes_, &signals);
    ::sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(&attributes_, &signals);
    ::posix_spawnattr_setpgroup(&attributes_, 0);
    ::posix_spawnattr_setflags(&attributes_,
                               static_cast<short>(POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | flags));
}

Spawning::~Spawning() {
    ::posix_spawn_file_actions_destroy(&actions);
    ::posix_spawnattr_destroy(&attributes_);
}

pid_t Spawning::start(const std::string& program, std::vector<std::string> words,
                      const std::map<std::string, std::string>& variables) {
    ::posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    auto environment = environmentWith(variables);
    pid_t process = 0;
    const int error = ::posix_spawnp(&process, program.c_str(), &actions, &attributes_,
                                     pointersTo(words).data(), pointersTo(environment).data());
    if (error != 0) throw std::system_error(error, std::generic_category(), "cannot start " + program);
    return process;
}

int replaceProcess(const std::filesystem::path& program, std::vector<std::string> words,
                   const std::map<std::string, std::string>& variables) {
    auto environment = environmentWith(variables);
    ::execve(program.c_str(), pointersTo(words).data(), pointersTo(environment).data());
    return errno;
}

}  // namespace platform
