// SPDX-License-Identifier: Apache-2.0

#include "platform/Security/SpaceReserve.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace platform {

bool SpaceReserve::keep(std::size_t size) const {
    struct stat found = {};
    const bool isThere = ::lstat(file_.c_str(), &found) == 0 && S_ISREG(found.st_mode);
    if (isThere && static_cast<std::size_t>(found.st_size) >= size) return true;
    return setAside(2 * size) || setAside(size);
}

bool SpaceReserve::release() const {
    return ::unlink(file_.c_str()) == 0;
}

bool SpaceReserve::setAside(std::size_t size) const {
    const int file = ::open(file_.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (file < 0) return false;
    int error = 0;
    do {
        error = ::posix_fallocate(file, 0, static_cast<off_t>(size));
    } while (error == EINTR);
    ::close(file);
    if (error != 0) ::unlink(file_.c_str());
    return error == 0;
}

}  // namespace platform
