// SPDX-License-Identifier: Apache-2.0

#include "tests/platform/SystemCallFaults.hpp"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>

namespace platform::testing {
namespace {

struct Meeting {
    std::function<int(int)> meet;
    int number = 0;

    bool letsHappen() {
        const int error = meet ? meet(++number) : 0;
        if (error != 0) errno = error;
        return error == 0;
    }
};

struct Disk {
    Meeting changes;
    Meeting looks;
    std::function<void()> meetOpening;
    std::filesystem::path folder;
    std::uintmax_t capacity = UINTMAX_MAX;

    bool letsHappen() { return changes.letsHappen(); }

    bool hasRoomFor(std::uintmax_t growth) const {
        std::uintmax_t used = 0;
        if (growth == 0 || capacity == UINTMAX_MAX) return true;
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.is_regular_file()) used += entry.file_size();
        if (used + growth <= capacity) return true;
        errno = ENOSPC;
        return false;
    }
};

Disk& disk() {
    static Disk shared;
    return shared;
}

int openFile(const char* path, int flags, int mode) {
    const bool isThere = ::access(path, F_OK) == 0;
    const bool makesOne = !isThere && (flags & O_CREAT) != 0;
    if (!(makesOne ? disk().letsHappen() : disk().looks.letsHappen())) return -1;
    if (isThere && disk().meetOpening) disk().meetOpening();
    return ::open(path, flags, mode);
}

int openDirectory(const char* path, int* descriptor) {
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    *descriptor = disk().letsHappen() ? ::open(folder.c_str(), O_RDONLY | O_CLOEXEC) : -1;
    return *descriptor >= 0 ? SQLITE_OK : SQLITE_CANTOPEN;
}

ssize_t readAt(int descriptor, void* bytes, std::size_t size, off_t offset) {
    return disk().looks.letsHappen() ? ::pread(descriptor, bytes, size, offset) : -1;
}

ssize_t writeAt(int descriptor, const void* bytes, std::size_t size, off_t offset) {
    struct stat found = {};
    ::fstat(descriptor, &found);
    const auto end = static_cast<std::uintmax_t>(offset) + size;
    const auto length = static_cast<std::uintmax_t>(found.st_size);
    if (!disk().letsHappen() || !disk().hasRoomFor(end > length ? end - length : 0)) return -1;
    return ::pwrite(descriptor, bytes, size, offset);
}

int truncate(int descriptor, off_t size) {
    return disk().letsHappen() ? ::ftruncate(descriptor, size) : -1;
}

int removeFile(const char* path) {
    return disk().letsHappen() ? ::unlink(path) : -1;
}

void install() {
    static const bool isInstalled = [] {
        sqlite3_vfs* system = sqlite3_vfs_find(nullptr);
        const auto set = [system](const char* name, auto* function) {
            return system->xSetSystemCall(system, name, reinterpret_cast<sqlite3_syscall_ptr>(function)) ==
                   SQLITE_OK;
        };
        return set("open", openFile) && set("openDirectory", openDirectory) && set("pwrite64", writeAt) &&
               set("pwrite", writeAt) && set("pread64", readAt) && set("pread", readAt) &&
               set("ftruncate", truncate) && set("unlink", removeFile);
    }();
    (void)isInstalled;
}

}  // namespace

void meetSystemCalls(std::function<int(int number)> meet) {
    install();
    disk().changes = {.meet = std::move(meet)};
}

void meetLooks(std::function<int(int number)> meet) {
    install();
    disk().looks = {.meet = std::move(meet)};
}

void meetOpenings(std::function<void()> meet) {
    install();
    disk().meetOpening = std::move(meet);
}

void fillDisk(const std::filesystem::path& folder, std::uintmax_t capacity) {
    install();
    disk().folder = folder;
    disk().capacity = capacity;
}

}  // namespace platform::testing

// The database's flushes, which it has no other door to. While calls are counted nothing is flushed: no power
// is cut.
extern "C" int fdatasync(int descriptor) {
    using platform::testing::disk;
    if (disk().changes.meet) return disk().letsHappen() ? 0 : -1;
    return static_cast<int>(::syscall(SYS_fdatasync, descriptor));
}
