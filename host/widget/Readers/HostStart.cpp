// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Readers/HostStart.hpp"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

#include <array>
#include <string>
#include <system_error>

namespace host {

namespace {

class FileActions {
  public:
    FileActions() {
        ::posix_spawn_file_actions_init(&actions_);
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            ::posix_spawn_file_actions_addopen(&actions_, descriptor, "/dev/null", O_RDWR, 0);
        ::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
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

}  // namespace

pid_t startLiveHost(const std::filesystem::path& program) {
    const FileActions actions;
    const Attributes attributes;
    std::array<std::string, 4> words = {"vela-widget", "run", "--idle-exit", "600"};
    std::array<char*, 5> arguments = {words[0].data(), words[1].data(), words[2].data(), words[3].data(),
                                      nullptr};
    pid_t process = 0;
    const int error =
        ::posix_spawn(&process, program.c_str(), actions.get(), attributes.get(), arguments.data(), environ);
    if (error != 0)
        throw std::system_error(error, std::generic_category(), "cannot start " + program.string());
    return process;
}

}  // namespace host
