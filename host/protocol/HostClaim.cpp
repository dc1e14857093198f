// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/HostClaim.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "host/protocol/HostFiles.hpp"
#include "host/protocol/LocalSocket.hpp"
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

Descriptor openedFolder(const HostAddress& address) {
    try {
        const auto folder = TrustedFolder::make(address.folder);
        struct stat found = {};
        if (::fstat(folder.descriptor(), &found) != 0) failClaiming(address.folder.string(), errno);
        if (found.st_uid != ::geteuid())
            throw HostPlaceError(address.folder.string() + " is not trusted: it belongs to another user");
        // Nobody else can have changed what lies in it, and from now on nobody reads it.
        if ((found.st_mode & (S_IRWXG | S_IRWXO)) != 0 && ::fchmod(folder.descriptor(), 0700) != 0)
            failClaiming(address.folder.string(), errno);
        return duplicateOf(folder.descriptor());
    } catch (const platform::FileError& error) {
        throw HostPlaceError(error.what());
    }
}

/// A lock on a file that was removed meanwhile excludes nobody. `name` is one in the folder, or absolute.
bool isStillThere(const Descriptor& folder, const char* name, const Descriptor& lock) {
    struct stat opened = {};
    struct stat found = {};
    return ::fstat(lock, &opened) == 0 && ::fstatat(folder, name, &found, AT_SYMLINK_NOFOLLOW) == 0 &&
           opened.st_dev == found.st_dev && opened.st_ino == found.st_ino;
}

std::string holderIn(const Descriptor& folder) {
    const Descriptor lock(::openat(folder, HostClaim::lockName, O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    std::array<char, 32> text = {};
    const auto length = lock.isOpen() ? ::read(lock, text.data(), text.size()) : 0;
    const std::string_view digits(text.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    const auto end = digits.find_first_not_of("0123456789");
    return std::string(digits.substr(0, end));
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

std::optional<HostClaim> HostClaim::tryToTake(const HostAddress& address, Descriptor folder) {
    const int flags = O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    Descriptor lock(::openat(folder, lockName, flags, 0600));
    if (!lock.isOpen()) failClaiming("the live host's lock cannot be opened", errno);
    if (::flock(lock, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK) return std::nullopt;
        failClaiming("the live host's lock cannot be had", errno);
    }
    if (!isStillThere(folder, lockName, lock)) return std::nullopt;
    return HostClaim(address, std::move(folder), std::move(lock));
}

/// Nothing as well where the folder went with its host.
std::optional<HostClaim> HostClaim::tryToTakeOf(const HostAddress& address, const Descriptor& folder) {
    try {
        return tryToTake(address, duplicateOf(folder));
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
        if (auto taken = tryToTakeOf(address, *folder)) claim.emplace(*std::move(taken));
        return claim.has_value();
    });
    if (!isHad) {
        const auto holder = holderIn(*folder);
        throw HostPlaceError("a live host is running already" +
                             (holder.empty() ? "" : ", process " + holder) +
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

/// The first error, 0 where there is none.
int HostClaim::removeFiles() const {
    int error = HostFiles::removeAll(folder_);
    const auto output = outputFolder(folder_);
    const int errorBeside = output.isOpen() ? HostFiles::removeAll(output) : 0;
    for (const auto& name : {std::string(outputName), HostFiles::temporaryName(outputName)})
        ::unlinkat(folder_, name.c_str(), 0);
    return error != 0 ? error : errorBeside;
}

bool HostClaim::isHeld() const {
    return isStillThere(folder_, lockFile().c_str(), lock_);
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

namespace {

std::optional<HostAddress> placeOfPerson() {
    try {
        return HostAddress::ofPerson();
    } catch (const HostAddressError&) {
        return std::nullopt;
    }
}

}  // namespace

void removeLeftoversOfDeadHost() {
    const auto address = placeOfPerson();
    if (!address) return;
    try {
        std::optional<HostClaim> claim;
        patienceWithHost.suffices([&] {
            const auto folder = TrustedFolder::open(address->folder);
            if (!folder) return true;
            if (auto taken = HostClaim::tryToTakeOf(*address, folder->descriptor()))
                claim.emplace(*std::move(taken));
            return claim.has_value();
        });
        if (!claim) return;
        const int error = claim->removeFiles();
        for (const char* name : {HostClaim::notificationsName, HostClaim::notificationsTemporaryName})
            ::unlinkat(claim->folder(), name, 0);
        // A service manager may listen on it.
        if (connectedLocalSocket(address->socket()) == -ECONNREFUSED)
            ::unlinkat(claim->folder(), HostClaim::socketName, 0);
        if (error != 0)
            failClaiming("what lies in " + address->folder.string() + " cannot be removed", error);
    } catch (const platform::FileError& error) {
        throw HostPlaceError(error.what());
    }
}

}  // namespace host
