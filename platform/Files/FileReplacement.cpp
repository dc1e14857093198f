// SPDX-License-Identifier: Apache-2.0

#include "platform/Files/FileReplacement.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "platform/Files/TrustedFolder.hpp"
#include "platform/Files/Writing.hpp"

namespace platform {

FileReplacement::FileReplacement(const Descriptor& folder, std::filesystem::path file,
                                 std::string temporaryName, std::string_view text)
    : folder_(folder), file_(std::move(file)), temporaryName_(std::move(temporaryName)) {
    ::unlinkat(folder_, temporaryName_.c_str(), 0);
    const Descriptor written(::openat(folder_, temporaryName_.c_str(),
                                      O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!written.isOpen()) fail();
    if (writeAll(written, text) && ::fsync(written) == 0) {
        isPending_ = true;
        return;
    }
    const int error = errno;
    ::unlinkat(folder_, temporaryName_.c_str(), 0);
    errno = error;
    fail();
}

FileReplacement::~FileReplacement() {
    if (isPending_) ::unlinkat(folder_, temporaryName_.c_str(), 0);
}

void FileReplacement::commit() {
    if (::renameat(folder_, temporaryName_.c_str(), folder_, file_.filename().c_str()) != 0) fail();
    isPending_ = false;
    if (::fsync(folder_) != 0) fail();
}

void FileReplacement::fail() const {
    throw FileError(file_.string() + " cannot be written: " + std::generic_category().message(errno));
}

}  // namespace platform
