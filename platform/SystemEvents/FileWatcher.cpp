// SPDX-License-Identifier: Apache-2.0

#include "platform/SystemEvents/FileWatcher.hpp"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <deque>
#include <system_error>
#include <utility>

#include "platform/Log/Logger.hpp"

namespace platform {
namespace {

namespace fs = std::filesystem;
using Interest = FileWatcher::Interest;

constexpr std::uint32_t comesOrGoes = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
constexpr std::uint32_t folderGoes = IN_DELETE_SELF | IN_MOVE_SELF;
// Not that it was closed: a database opens its file for writing in order to read.
constexpr std::uint32_t fileChanges = comesOrGoes | IN_MODIFY | IN_ATTRIB;
constexpr int mostLinksOnTheWay = 40;

/// Goes from the root to a file and sets watches on its way. A folder is watched before what is in it is
/// looked at, so that nothing happens in between.
class WatchedWay {
  public:
    WatchedWay(int kernel, std::size_t file, FileWatcher::Interests& interests)
        : kernel_(kernel), file_(file), interests_(interests) {}

    void walk(const fs::path& path) {
        prepend(path.relative_path());
        while (!names_.empty()) {
            const std::string name = std::move(names_.front());
            names_.pop_front();
            if (name == "..")
                reached_ = reached_.parent_path();
            else if (!step(name))
                return;
        }
    }

  private:
    void prepend(const fs::path& path) {
        std::deque<std::string> names;
        for (const auto& name : path)
            if (!name.empty() && name != ".") names.push_back(name.string());
        names_.insert(names_.begin(), names.begin(), names.end());
    }

    /// False where the way ends.
    bool step(const std::string& name) {
        const bool isLast = names_.empty();
        const fs::path path = reached_ / name;
        if (isLast) watchFile(name);
        struct stat found = status(path);
        if (!S_ISDIR(found.st_mode)) {
            watch(comesOrGoes, {.file = file_, .part = Interest::Part::step, .name = name});
            found = status(path);
        }
        if (S_ISLNK(found.st_mode)) return follow(path);
        if (isLast || !S_ISDIR(found.st_mode)) return false;
        reached_ = path;
        watch(folderGoes, {.file = file_, .part = Interest::Part::step, .name = ""});
        return true;
    }

    void watchFile(const std::string& name) {
        // What SQLite writes beside a database before it goes into the file.
        for (const char* ending : {"", "-wal"})
            watch(fileChanges | folderGoes,
                  {.file = file_, .part = Interest::Part::file, .name = name + ending});
    }

    bool follow(const fs::path& link) {
        std::error_code error;
        const fs::path target = fs::read_symlink(link, error);
        if (error || ++links_ > mostLinksOnTheWay) return false;
        if (target.is_absolute()) reached_ = "/";
        prepend(target.relative_path());
        return true;
    }

    static struct stat status(const fs::path& path) {
        struct stat found = {};
        if (::lstat(path.c_str(), &found) != 0) return {};
        return found;
    }

    /// What this process may not look into it cannot watch; the rest it can.
    void watch(std::uint32_t events, Interest interest) {
        const int watch = ::inotify_add_watch(kernel_, reached_.c_str(), events | IN_MASK_ADD | IN_ONLYDIR);
        if (watch >= 0) return interests_[watch].push_back(std::move(interest));
        if (errno == ENOSPC || errno == ENOMEM) throw std::system_error(errno, std::generic_category());
    }

    int kernel_;
    std::size_t file_;
    FileWatcher::Interests& interests_;
    fs::path reached_ = "/";
    std::deque<std::string> names_;
    int links_ = 0;
};

std::string identityOf(const fs::path& path) {
    struct stat found = {};
    if (::stat(path.c_str(), &found) != 0) return "absent";
    std::string identity;
    const std::array<std::uint64_t, 7> parts = {found.st_dev,
                                                found.st_ino,
                                                found.st_mode,
                                                found.st_uid,
                                                static_cast<std::uint64_t>(found.st_size),
                                                static_cast<std::uint64_t>(found.st_mtim.tv_sec),
                                                static_cast<std::uint64_t>(found.st_mtim.tv_nsec)};
    for (const auto part : parts) identity += std::to_string(part) + ' ';
    return identity;
}

}  // namespace

FileWatcher::FileWatcher(const boost::asio::any_io_executor& executor, std::vector<fs::path> files,
                         std::function<void(std::size_t)> changed)
    : executor_(executor),
      files_(std::move(files)),
      changed_(std::move(changed)),
      identities_(files_.size(), std::string()),
      retry_(executor, [this] { start(); }) {
    Changes ignored(files_.size());
    compareIdentities(ignored);
    start();
}

FileWatcher::Interests FileWatcher::watchAll(const Descriptor& kernel) const {
    Interests interests;
    for (std::size_t file = 0; file < files_.size(); ++file)
        WatchedWay(kernel, file, interests).walk(files_[file]);
    return interests;
}

void FileWatcher::start() {
    Changes changes(files_.size());
    try {
        Descriptor kernel(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
        if (!kernel.isOpen()) throw std::system_error(errno, std::generic_category());
        Interests interests = watchAll(kernel);
        // What the former watches have seen until the new ones were there.
        drain(changes);
        interests_ = std::move(interests);
        kernel_.emplace(executor_, kernel.release(), [this] { read(); });
    } catch (const std::system_error& error) {
        return fail(error.code().value());
    }
    isWayChanged_ = false;
    pause_.reset();
    hasComplained_ = false;
    compareIdentities(changes);
    tell(changes);
}

void FileWatcher::read() {
    Changes changes(files_.size());
    drain(changes);
    tell(changes);
    if (isWayChanged_) start();
}

void FileWatcher::drain(Changes& changes) {
    if (!kernel_) return;
    alignas(inotify_event) std::array<char, 16384> buffer;
    for (;;) {
        const ssize_t count = ::read(kernel_->descriptor(), buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return;
        for (std::size_t at = 0; at < static_cast<std::size_t>(count);) {
            inotify_event event = {};
            std::memcpy(&event, buffer.data() + at, sizeof event);
            // The kernel fills the name up with zeros.
            const char* name = event.len > 0 ? buffer.data() + at + sizeof event : "";
            note(event.wd, event.mask, name, changes);
            at += sizeof event + event.len;
        }
    }
}

void FileWatcher::note(int watch, std::uint32_t mask, std::string_view name, Changes& changes) {
    if ((mask & IN_Q_OVERFLOW) != 0) {
        changes.assign(files_.size(), true);
        isWayChanged_ = true;
        return;
    }
    const auto interests = interests_.find(watch);
    if (interests == interests_.end()) return;
    if ((mask & (folderGoes | IN_IGNORED | IN_UNMOUNT)) != 0) isWayChanged_ = true;
    for (const Interest& interest : interests->second) {
        const bool isFile = interest.part == Interest::Part::file;
        // Whether a file is read depends on who may change its folder.
        if (isFile && (mask & fileChanges) != 0 && (name == interest.name || name.empty()))
            changes[interest.file] = true;
        if (!isFile && (mask & comesOrGoes) != 0 && name == interest.name) isWayChanged_ = true;
    }
}

void FileWatcher::compareIdentities(Changes& changes) {
    for (std::size_t file = 0; file < files_.size(); ++file) {
        std::string identity = identityOf(files_[file]);
        if (identity != identities_[file]) changes[file] = true;
        identities_[file] = std::move(identity);
    }
}

void FileWatcher::tell(const Changes& changes) const {
    for (std::size_t file = 0; file < changes.size(); ++file)
        if (changes[file]) changed_(file);
}

void FileWatcher::fail(int error) {
    if (!std::exchange(hasComplained_, true))
        Logger::standard().log(LogLevel::info, "files cannot be watched: %s",
                               {{std::generic_category().message(error)}});
    kernel_.reset();
    retry_.set(pause_.next());
}

}  // namespace platform
