// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Readers/DetachedProgram.hpp"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

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

pid_t startDetached(const std::filesystem::path& program, std::vector<std::string> arguments) {
    const FileActions actions;
    const Attributes attributes;
    std::vector<char*> words;
    for (auto& argument : arguments) words.push_back(argument.data());
    words.push_back(nullptr);
    pid_t process = 0;
    const int error =
        ::posix_spawn(&process, program.c_str(), actions.get(), attributes.get(), words.data(), environ);
    if (error != 0)
        throw std::system_error(error, std::generic_category(), "cannot start " + program.string());
    return process;
}

}  // namespace host
