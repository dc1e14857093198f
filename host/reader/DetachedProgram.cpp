// SPDX-License-Identifier: Apache-2.0

#include "host/reader/DetachedProgram.hpp"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

#include <system_error>

#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace host {

namespace {

class FileActions {
  public:
    explicit FileActions(const std::filesystem::path& folder) {
        ::posix_spawn_file_actions_init(&actions_);
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            ::posix_spawn_file_actions_addopen(&actions_, descriptor, "/dev/null", O_RDWR, 0);
        ::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
        if (!folder.empty()) ::posix_spawn_file_actions_addchdir_np(&actions_, folder.c_str());
    }
    ~FileActions() { ::posix_spawn_file_actions_destroy(&actions_); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    const posix_spawn_file_actions_t* get() const { return &actions_; }

  private:
    posix_spawn_file_actions_t actions_ = {};
};

class Attributes {
  public:
    Attributes() {
        ::posix_spawnattr_init(&attributes_);
        sigset_t signals;
        ::sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&attributes_, &signals);
        ::sigfillset(&signals);
        ::posix_spawnattr_setsigdefault(&attributes_, &signals);
        ::posix_spawnattr_setflags(&attributes_,
                                   POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    ~Attributes() { ::posix_spawnattr_destroy(&attributes_); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    const posix_spawnattr_t* get() const { return &attributes_; }

  private:
    posix_spawnattr_t attributes_ = {};
};

/// As the system wants it: pointers to texts that stay, and none at the end.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> environmentWith(const std::map<std::string, std::string>& variables) {
    auto all = platform::processEnvironment();
    for (const auto& [name, value] : variables) all[name] = value;
    std::vector<std::string> lines;
    for (const auto& [name, value] : all) lines.push_back(name + "=" + value);
    return lines;
}

}  // namespace

pid_t startDetached(const std::filesystem::path& program, std::vector<std::string> arguments,
                    const std::map<std::string, std::string>& variables,
                    const std::filesystem::path& folder) {
    const FileActions actions(folder);
    const Attributes attributes;
    auto environment = environmentWith(variables);
    pid_t process = 0;
    const int error = ::posix_spawn(&process, program.c_str(), actions.get(), attributes.get(),
                                    pointersTo(arguments).data(), pointersTo(environment).data());
    if (error != 0)
        throw std::system_error(error, std::generic_category(), "cannot start " + program.string());
    return process;
}

}  // namespace host
