// SPDX-License-Identifier: Apache-2.0

#include "platform/Files/PrivateFile.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "platform/Files/Descriptor.hpp"
#include "platform/Files/Reading.hpp"
#include "platform/Files/ShellWord.hpp"
#include "platform/Files/TrustedFolder.hpp"

namespace platform {

namespace {

[[noreturn]] void refuse(const std::filesystem::path& path, const std::string& why) {
    throw FileError(path.string() + " is not taken: " + why);
}

void requirePrivate(const struct stat& found, const std::filesystem::path& path) {
    if (!S_ISREG(found.st_mode)) refuse(path, "it is not a regular file");
    if (found.st_uid != ::geteuid())
        refuse(path, "it belongs to another user (uid " + std::to_string(found.st_uid) + ")");
    // A list of further users shows as rights of the group.
    if ((found.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        refuse(path, "other users can read or change it; if nobody has, mend it with: chmod 600 " +
                         shellWord(path.string()));
}

}  // namespace

std::string readPrivateFile(const std::filesystem::path& path, std::size_t limit) {
    // A pipe that nobody writes to would not open at all, and a device might do something.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat found = {};
    if (!file.isOpen() || ::fstat(file, &found) != 0) throw FileError(path, errno);
    requirePrivate(found, path);
    auto text = readUpTo(file, limit);
    if (!text) throw FileError(path, errno);
    if (text->size() > limit) refuse(path, "it is too long");
    return *std::move(text);
}

}  // namespace platform
