// SPDX-License-Identifier: Apache-2.0

#include "platform/Security/LockFile.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "platform/Files/TrustedFolder.hpp"
#include "platform/Security/KeychainFailure.hpp"

namespace platform {
namespace {

[[noreturn]] void fail(const std::filesystem::path& path, const char* what) {
    throw KeychainFailure{
        errSecIO, path.string() + " cannot be " + what + ": " + std::generic_category().message(errno)};
}

// Of the open file and not of the process: two of one process exclude each other, and closing another
// descriptor of the file lets nothing go.
int setLock(int descriptor, LockFile::Byte byte, short type) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = static_cast<off_t>(byte);
    lock.l_len = 1;
    int result = 0;
    do {
        result = ::fcntl(descriptor, F_OFD_SETLK, &lock);
    } while (result != 0 && errno == EINTR);
    return result;
}

}  // namespace

LockFile LockFile::open(const std::filesystem::path& path) {
    LockFile file(path);
    file.openFile();
    return file;
}

LockFile::~LockFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

LockFile::LockFile(LockFile&& other) noexcept
    : path_(std::move(other.path_)), descriptor_(std::exchange(other.descriptor_, -1)) {}

LockFile& LockFile::operator=(LockFile&& other) noexcept {
    std::swap(path_, other.path_);
    std::swap(descriptor_, other.descriptor_);
    return *this;
}

void LockFile::openFile() {
    const auto folder = TrustedFolder::make(path_.parent_path());
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = ::openat(folder.descriptor(), path_.filename().c_str(),
                           O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (descriptor_ < 0) fail(path_, "opened");
}

// A lock on a file that was removed meanwhile excludes nobody.
bool LockFile::isStillThere() const {
    struct stat opened = {};
    struct stat found = {};
    return ::fstat(descriptor_, &opened) == 0 && ::stat(path_.c_str(), &found) == 0 &&
           opened.st_dev == found.st_dev && opened.st_ino == found.st_ino;
}

bool LockFile::tryLock(Byte byte, Mode mode) {
    const short type = mode == Mode::shared ? F_RDLCK : F_WRLCK;
    for (int attempt = 0; attempt < 3; ++attempt) {
        if (setLock(descriptor_, byte, type) != 0) {
            if (errno == EAGAIN || errno == EACCES) return false;
            fail(path_, "locked");
        }
        if (isStillThere()) return true;
        openFile();
    }
    return false;
}

void LockFile::unlock(Byte byte) {
    setLock(descriptor_, byte, F_UNLCK);
}

}  // namespace platform
