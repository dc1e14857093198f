// SPDX-License-Identifier: Apache-2.0

#include "platform/Files/TrustedFolder.hpp"

#include <fcntl.h>

#include <array>
#include <cerrno>
#include <climits>
#include <deque>
#include <fstream>
#include <system_error>

#include "platform/Files/ShellWord.hpp"

namespace platform {
namespace {

namespace fs = std::filesystem;

enum class IfMissing { leave, make };

// As the kernel's own limit on a path.
constexpr int mostLinks = 40;

[[noreturn]] void distrust(const fs::path& path, const std::string& fault) {
    throw FileError(path.string() + " is not trusted: " + fault);
}

bool isRootMapped() {
    std::ifstream map("/proc/self/uid_map");
    for (unsigned long inside = 0, outside = 0, count = 0; map >> inside >> outside >> count;)
        if (inside == 0 && count > 0) return true;
    return !map.is_open();
}

bool isOwnOrRoots(const struct stat& found) {
    return found.st_uid == ::geteuid() || found.st_uid == 0;
}

// In a user namespace without root, root's folders show as the overflow user's.
bool isOwnOrRootsInNamespace(const struct stat& found) {
    constexpr uid_t overflowUser = 65534;
    return isOwnOrRoots(found) || (found.st_uid == overflowUser && !isRootMapped());
}

std::string foreignOwner(const struct stat& found) {
    return "it belongs to another user (uid " + std::to_string(found.st_uid) + ")";
}

// The folder that is asked for, and its files.
void requireOwnerAlone(const struct stat& found, const fs::path& path, TrustedFolder::Others others) {
    if (S_ISLNK(found.st_mode)) distrust(path, "it is a symbolic link; put what it leads to in its place");
    if (!isOwnOrRoots(found)) distrust(path, foreignOwner(found) + "; move it out of the way");
    const std::string command =
        (S_ISDIR(found.st_mode) ? "chmod 700 " : "chmod 600 ") + shellWord(path.string());
    if ((found.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        distrust(path, "other users can change it; make sure that it holds what it should, then: " + command);
    if (others == TrustedFolder::Others::mayDoNothing && (found.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        distrust(path, "other users can read it; mend it with: " + command);
}

// A folder on the way.
void requireHarmless(const struct stat& found, const fs::path& path) {
    if (!isOwnOrRootsInNamespace(found))
        distrust(path, foreignOwner(found) + ", who can replace what lies in it");
    // A sticky folder lets nobody replace what is not theirs, and whose the next step is, is looked at.
    if ((found.st_mode & S_IWOTH) != 0 && (found.st_mode & S_ISVTX) == 0)
        distrust(path, "every user can replace what lies in it; mend it with: chmod o-w " +
                           shellWord(path.string()));
}

struct stat statusOf(int descriptor, const fs::path& path) {
    struct stat found = {};
    if (::fstat(descriptor, &found) != 0) throw FileError(path, errno);
    return found;
}

// The way from the root to a folder, one name after another.
class Descent {
  public:
    Descent(const fs::path& path, IfMissing ifMissing) : ifMissing_(ifMissing) {
        // A home that is mounted when it is first passed through would stay unmounted step by step.
        struct stat ignored = {};
        ::stat(path.c_str(), &ignored);
        startAtRoot();
        prepend(path);
    }

    /// Nothing where a folder is missing.
    std::optional<Descriptor> end() {
        while (!names_.empty())
            if (!step()) return std::nullopt;
        Descriptor folder(::openat(reached_, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!folder.isOpen()) throw FileError(path_, errno);
        return folder;
    }

  private:
    void startAtRoot() {
        path_ = "/";
        reached_ = Descriptor(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!reached_.isOpen()) throw FileError(path_, errno);
        requireHarmless(statusOf(reached_, path_), path_);
    }

    void prepend(const fs::path& path) {
        auto position = names_.begin();
        for (const auto& name : path.relative_path()) {
            if (name.empty() || name == ".") continue;
            position = std::next(names_.insert(position, name.string()));
        }
    }

    bool step() {
        const std::string name = names_.front();
        names_.pop_front();
        auto next = opened(name);
        if (!next) return false;
        fs::path path = path_ / name;
        const auto found = statusOf(*next, path);
        if (!S_ISDIR(found.st_mode) && !S_ISLNK(found.st_mode)) throw FileError(path, ENOTDIR);
        if (names_.empty()) {
            requireOwnerAlone(found, path, TrustedFolder::Others::mayRead);
        } else if (S_ISLNK(found.st_mode)) {
            follow(*next, found, path);
            return true;
        } else {
            requireHarmless(found, path);
        }
        path_ = std::move(path);
        reached_ = std::move(*next);
        return true;
    }

    std::optional<Descriptor> opened(const std::string& name) const {
        const auto open = [&] { return ::openat(reached_, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC); };
        Descriptor next(open());
        if (!next.isOpen() && errno == ENOENT) {
            if (ifMissing_ == IfMissing::leave) return std::nullopt;
            if (::mkdirat(reached_, name.c_str(), 0700) != 0 && errno != EEXIST)
                throw FileError(path_ / name, errno);
            next = Descriptor(open());
        }
        if (!next.isOpen()) throw FileError(path_ / name, errno);
        return next;
    }

    void follow(const Descriptor& link, const struct stat& found, const fs::path& path) {
        if (!isOwnOrRootsInNamespace(found)) distrust(path, foreignOwner(found));
        if (++links_ > mostLinks) throw FileError(path, ELOOP);
        std::array<char, PATH_MAX> target;
        const ssize_t length = ::readlinkat(link, "", target.data(), target.size());
        if (length < 0) throw FileError(path, errno);
        const fs::path destination(std::string(target.data(), static_cast<std::size_t>(length)));
        if (destination.is_absolute()) startAtRoot();
        prepend(destination);
    }

    IfMissing ifMissing_;
    fs::path path_;
    Descriptor reached_{-1};
    std::deque<std::string> names_;
    int links_ = 0;
};

void requireTrustedFile(const struct stat& found, const fs::path& path, TrustedFolder::Others others) {
    if (!S_ISREG(found.st_mode) && !S_ISLNK(found.st_mode))
        throw FileError(path.string() + ": is not a regular file");
    requireOwnerAlone(found, path, others);
}

}  // namespace

FileError::FileError(const fs::path& path, int error)
    : std::runtime_error(path.string() + ": " + std::generic_category().message(error)) {}

std::optional<TrustedFolder> TrustedFolder::open(const fs::path& path) {
    auto descriptor = Descent(path, IfMissing::leave).end();
    if (!descriptor) return std::nullopt;
    return TrustedFolder(path, *std::move(descriptor));
}

TrustedFolder TrustedFolder::make(const fs::path& path) {
    auto descriptor = Descent(path, IfMissing::make).end();
    if (!descriptor) throw FileError(path, ENOENT);
    return {path, *std::move(descriptor)};
}

std::optional<struct stat> TrustedFolder::fileStatus(const std::string& name, Others others) const {
    struct stat found = {};
    if (::fstatat(descriptor_, name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno == ENOENT) return std::nullopt;
        throw FileError(path_ / name, errno);
    }
    requireTrustedFile(found, path_ / name, others);
    return found;
}

std::optional<Descriptor> TrustedFolder::openFile(const std::string& name, Others others) const {
    // Asked before it is opened, because opening a device can have effects, and after, because it counts.
    if (!fileStatus(name, others)) return std::nullopt;
    Descriptor file(
        ::openat(descriptor_, name.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC));
    if (!file.isOpen()) {
        if (errno == ENOENT) return std::nullopt;
        throw FileError(path_ / name, errno);
    }
    requireTrustedFile(statusOf(file, path_ / name), path_ / name, others);
    return file;
}

}  // namespace platform
