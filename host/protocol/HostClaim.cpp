// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/HostClaim.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <climits>
#include <string>
#include <system_error>
#include <utility>

#include "host/protocol/HostFiles.hpp"
#include "platform/Files/FileReplacement.hpp"
#include "platform/Files/Patience.hpp"
#include "platform/Files/Reading.hpp"
#include "platform/Files/TrustedFolder.hpp"
#include "platform/Files/Writing.hpp"

namespace host {

using platform::Descriptor;
using platform::TrustedFolder;

namespace {

/// A host that ends, or is killed, gives its place up within this; one that is activated by mistake does.
constexpr platform::Patience patienceWithHost = {.inAll = std::chrono::milliseconds(300),
                                                 .pause = std::chrono::milliseconds(20)};

[[noreturn]] void failClaiming(const std::string& what, int error) {
    throw HostPlaceError(what + ": " + std::generic_category().message(error));
}

Descriptor duplicateOf(const Descriptor& descriptor) {
    return Descriptor(::fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
}

void requireOwn(const HostAddress& address, const struct stat& folder) {
    if (folder.st_uid != ::geteuid())
        throw HostPlaceError(address.folder.string() + " is not trusted: it belongs to another user");
}

Descriptor openedFolder(const HostAddress& address) {
    try {
        const auto folder = TrustedFolder::make(address.folder);
        struct stat found = {};
        if (::fstat(folder.descriptor(), &found) != 0) failClaiming(address.folder.string(), errno);
        requireOwn(address, found);
        // Nobody else can have changed what lies in it, and from now on nobody reads it.
        if ((found.st_mode & (S_IRWXG | S_IRWXO)) != 0 && ::fchmod(folder.descriptor(), 0700) != 0)
            failClaiming(address.folder.string(), errno);
        return duplicateOf(folder.descriptor());
    } catch (const platform::FileError& error) {
        throw HostPlaceError(error.what());
    }
}

/// A lock on a file that was removed meanwhile excludes nobody. `name` is one in the folder, or absolute.
HostClaim::Standing standingOf(const Descriptor& lock, const Descriptor& folder, const char* name) {
    struct stat opened = {};
    struct stat found = {};
    if (::fstatat(folder, name, &found, AT_SYMLINK_NOFOLLOW) != 0) return HostClaim::Standing::lost;
    const bool isTheSame =
        ::fstat(lock, &opened) == 0 && opened.st_dev == found.st_dev && opened.st_ino == found.st_ino;
    return isTheSame ? HostClaim::Standing::held : HostClaim::Standing::anothers;
}

pid_t processIn(const Descriptor& lock) {
    std::array<char, 32> text = {};
    const auto length = ::pread(lock, text.data(), text.size(), 0);
    pid_t process = 0;
    std::from_chars(text.data(), text.data() + std::max<ssize_t>(length, 0), process);
    return process;
}

/// The folder of files beside the host's own; closed where there is none.
Descriptor outputFolder(const Descriptor& folder) {
    const int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    const Descriptor record(::openat(folder, HostClaim::outputName, flags));
    const auto path = record.isOpen() ? platform::readUpTo(record, PATH_MAX) : std::nullopt;
    if (!path || !path->starts_with('/')) return Descriptor(-1);
    return Descriptor(::open(path->c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

}  // namespace

std::optional<HostClaim> HostClaim::lockIn(const HostAddress& address, Descriptor folder) {
    const int flags = O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    Descriptor lock(::openat(folder, lockName, flags, 0600));
    if (!lock.isOpen()) failClaiming("the live host's lock cannot be opened", errno);
    if (::flock(lock, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK) return std::nullopt;
        failClaiming("the live host's lock cannot be had", errno);
    }
    if (standingOf(lock, folder, lockName) != Standing::held) return std::nullopt;
    return HostClaim(address, std::move(folder), std::move(lock));
}

std::optional<HostClaim> HostClaim::tryToTake(const HostAddress& address, const Descriptor& folder) {
    try {
        return lockIn(address, duplicateOf(folder));
    } catch (const HostPlaceError&) {
        struct stat found = {};
        if (::fstat(folder, &found) != 0 || found.st_nlink > 0) throw;
        return std::nullopt;
    }
}

HostClaim HostClaim::wait(const HostAddress& address) {
    std::optional<Descriptor> folder;
    std::optional<HostClaim> claim;
    const bool isHad = patienceWithHost.suffices([&] {
        // The folder goes with its host.
        folder = openedFolder(address);
        if (auto taken = tryToTake(address, *folder)) claim.emplace(*std::move(taken));
        return claim.has_value();
    });
    if (!isHad) {
        const auto holder = Holder(*folder).process();
        throw HostPlaceError("a live host is running already" +
                             (holder > 0 ? ", process " + std::to_string(holder) : "") +
                             "; vela-widget reload reaches it");
    }
    return *std::move(claim);
}

HostClaim HostClaim::take(const HostAddress& address) {
    auto claim = wait(address);
    claim.removeFiles();
    return claim;
}

HostClaim HostClaim::inherit(const HostAddress& address) {
    return wait(address);
}

void HostClaim::requirePlace(const HostAddress& address) {
    try {
        const auto folder = TrustedFolder::open(address.folder);
        const auto& written = folder ? address.folder : address.folder.parent_path();
        struct stat found = {};
        if (folder && ::fstat(folder->descriptor(), &found) == 0) requireOwn(address, found);
        if (::access(written.c_str(), W_OK | X_OK) != 0) failClaiming(written.string(), errno);
    } catch (const platform::FileError& error) {
        throw HostPlaceError(error.what());
    }
}

/// The first error, 0 where there is none.
int HostClaim::removeFiles() const {
    int error = HostFiles::removeAll(folder_);
    const auto output = outputFolder(folder_);
    const int errorBeside = output.isOpen() ? HostFiles::removeAll(output) : 0;
    for (const auto& name : {std::string(outputName), HostFiles::temporaryName(outputName)})
        ::unlinkat(folder_, name.c_str(), 0);
    return error != 0 ? error : errorBeside;
}

HostClaim::Standing HostClaim::standing() const {
    return standingOf(lock_, folder_, lockFile().c_str());
}

HostClaim::Holder::Holder(const Descriptor& folder)
    : lock_(::openat(folder, lockName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)),
      process_(lock_.isOpen() ? processIn(lock_) : 0) {}

bool HostClaim::Holder::isStopped() const {
    if (process_ <= 1) return false;
    const Descriptor file(
        ::open(("/proc/" + std::to_string(process_) + "/stat").c_str(), O_RDONLY | O_CLOEXEC));
    const auto text = file.isOpen() ? platform::readUpTo(file, 4096).value_or("") : "";
    // What comes before is its number and its name, in which anything may stand (proc(5)).
    const auto end = text.rfind(") ");
    return end != std::string::npos && text.substr(end + 2, 1) == "T";
}

void HostClaim::Holder::expel(const Descriptor& folder) const {
    if (lock_.isOpen() && standingOf(lock_, folder, lockName) == Standing::held)
        ::unlinkat(folder, lockName, 0);
}

void HostClaim::sign() const {
    const auto pid = std::to_string(::getpid()) + "\n";
    if (::ftruncate(lock_, 0) == 0) platform::writeAll(lock_, pid);
}

void HostClaim::noteOutput(const std::filesystem::path& output) const {
    try {
        std::error_code error;
        const auto path = std::filesystem::absolute(output, error);
        if (error) failClaiming(output.string() + " cannot be used", error.value());
        platform::FileReplacement(folder_, address_.folder / outputName, HostFiles::temporaryName(outputName),
                                  path.native())
            .commit();
    } catch (const platform::FileError& error) {
        throw HostPlaceError(error.what());
    }
}

HostClaim::~HostClaim() {
    // What lies in a place that was lost is another's.
    if (!lock_.isOpen() || !isHeld()) return;
    removeFiles();
    ::unlinkat(folder_, lockName, 0);
    // Where it is empty; a service manager keeps its socket there.
    ::rmdir(address_.folder.c_str());
}

}  // namespace host
