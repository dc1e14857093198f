// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/HostAddress.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

#include "host/protocol/LocalSocket.hpp"
#include "platform/Files/ShellWord.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace host {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void refuse(const std::string& what) {
    throw HostAddressError("the live host has no place: " + what);
}

/// As the base directory rules have it, but that others may look: what lies in our own folder they may not.
void requireOwnFolder(const fs::path& folder) {
    const auto named = "XDG_RUNTIME_DIR, " + folder.string() + ", ";
    struct stat found = {};
    if (::stat(folder.c_str(), &found) != 0)
        refuse(named + "cannot be used: " + std::generic_category().message(errno));
    if (!S_ISDIR(found.st_mode)) refuse(named + "is no folder");
    if (found.st_uid != ::geteuid())
        refuse(named + "belongs to another user (uid " + std::to_string(found.st_uid) + ")");
    if ((found.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        refuse(named + "can be changed by other users; mend it with: chmod 700 " +
               platform::shellWord(folder.string()));
}

}  // namespace

HostAddress HostAddress::ofPerson() {
    const auto runtime = platform::environmentVariable("XDG_RUNTIME_DIR");
    if (!runtime || runtime->empty())
        refuse("XDG_RUNTIME_DIR is not set; a login session sets it, to /run/user/" +
               std::to_string(::geteuid()));
    const fs::path folder = *runtime;
    if (!folder.is_absolute()) refuse("XDG_RUNTIME_DIR, " + folder.string() + ", is not an absolute path");
    requireOwnFolder(folder);
    HostAddress address = {.folder = folder / "vela-widget"};
    if (address.socket().native().size() > longestSocketPath)
        refuse("the path " + address.socket().string() + " is too long for a socket (" +
               std::to_string(longestSocketPath) + " bytes at most); set a shorter XDG_RUNTIME_DIR");
    return address;
}

}  // namespace host
