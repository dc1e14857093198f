// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/HostPlace.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "host/widget/Live/RuntimeFolder.hpp"
#include "platform/Files/Patience.hpp"
#include "platform/Files/TrustedFolder.hpp"
#include "platform/Files/Writing.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace host {

using platform::Descriptor;

namespace {

constexpr const char* lockName = "host.lock";
constexpr const char* socketName = "host.socket";
/// A host that ends gives its place up within this; one that is activated by mistake does.
constexpr platform::Patience patienceWithHost = {.inAll = std::chrono::milliseconds(300),
                                                 .pause = std::chrono::milliseconds(20)};
constexpr int longestBacklog = 128;

[[noreturn]] void fail(const std::string& what, int error) {
    throw HostPlaceError(what + ": " + std::generic_category().message(error));
}

Descriptor openedFolder(const HostAddress& address) {
    try {
        const auto folder = platform::TrustedFolder::make(address.folder);
        struct stat found = {};
        if (::fstat(folder.descriptor(), &found) != 0) fail(address.folder.string(), errno);
        if (found.st_uid != ::geteuid())
            throw HostPlaceError(address.folder.string() + " is not trusted: it belongs to another user");
        // Nobody else can have changed what lies in it, and from now on nobody reads it.
        if ((found.st_mode & (S_IRWXG | S_IRWXO)) != 0 && ::fchmod(folder.descriptor(), 0700) != 0)
            fail(address.folder.string(), errno);
        return Descriptor(::fcntl(folder.descriptor(), F_DUPFD_CLOEXEC, 0));
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
    const Descriptor lock(::openat(folder, lockName, O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    std::array<char, 32> text = {};
    const auto length = lock.isOpen() ? ::read(lock, text.data(), text.size()) : 0;
    const std::string_view digits(text.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    const auto end = digits.find_first_not_of("0123456789");
    return std::string(digits.substr(0, end));
}

/// Nothing while another holds it.
std::optional<Descriptor> tryToLock(const Descriptor& folder) {
    Descriptor lock(::openat(folder, lockName, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    if (!lock.isOpen()) fail("the live host's lock cannot be opened", errno);
    if (::flock(lock, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK) return std::nullopt;
        fail("the live host's lock cannot be had", errno);
    }
    if (!isStillThere(folder, lockName, lock)) return std::nullopt;
    return lock;
}

sockaddr_un socketAddress(const std::filesystem::path& path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const auto& text = path.native();
    if (text.size() >= sizeof address.sun_path)
        throw HostPlaceError(path.string() + " is too long for a socket");
    std::memcpy(address.sun_path, text.data(), text.size());
    return address;
}

bool doesSomebodyListen(const sockaddr_un& address) {
    const Descriptor probe(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const auto* general = reinterpret_cast<const sockaddr*>(&address);
    return ::connect(probe, general, sizeof address) == 0 || errno == EAGAIN;
}

bool listensLocally(int socket) {
    const auto option = [&](int name) {
        int value = -1;
        socklen_t length = sizeof value;
        return ::getsockopt(socket, SOL_SOCKET, name, &value, &length) == 0 ? value : -1;
    };
    return option(SO_DOMAIN) == AF_UNIX && option(SO_TYPE) == SOCK_STREAM && option(SO_ACCEPTCONN) == 1;
}

}  // namespace

std::optional<Descriptor> HostPlace::handedDownSocket() {
    constexpr int firstHandedDown = 3;
    const auto process = platform::environmentVariable("LISTEN_PID");
    const auto count = platform::environmentVariable("LISTEN_FDS");
    for (const char* name : {"LISTEN_PID", "LISTEN_FDS", "LISTEN_FDNAMES"}) ::unsetenv(name);
    if (!process || !count || *process != std::to_string(::getpid())) return std::nullopt;
    if (*count != "1") throw HostPlaceError("one socket is handed down to a live host, not " + *count);
    if (!listensLocally(firstHandedDown))
        throw HostPlaceError("what is handed down to the live host is no local socket that listens");
    ::fcntl(firstHandedDown, F_SETFD, FD_CLOEXEC);
    return Descriptor(firstHandedDown);
}

HostPlace HostPlace::locked(const HostAddress& address) {
    std::optional<Descriptor> folder;
    std::optional<Descriptor> lock;
    const bool isHad = patienceWithHost.suffices([&] {
        // The folder goes with its host.
        folder = openedFolder(address);
        try {
            lock = tryToLock(*folder);
        } catch (const HostPlaceError&) {
            struct stat found = {};
            if (::fstat(*folder, &found) != 0 || found.st_nlink > 0) throw;
        }
        return lock.has_value();
    });
    if (!isHad) {
        const auto holder = holderIn(*folder);
        throw HostPlaceError("a live host is running already" +
                             (holder.empty() ? "" : ", process " + holder) +
                             "; vela-widget reload reaches it");
    }
    return {address, *std::move(folder), *std::move(lock)};
}

HostPlace HostPlace::claim(const HostAddress& address, std::optional<Descriptor> listening) {
    auto place = locked(address);
    place.removeLeftovers();
    if (listening) {
        place.socket_ = *std::move(listening);
        place.isHandedDown_ = true;
    } else {
        place.listen();
    }
    place.sayWhoseItIs();
    return place;
}

HostPlace HostPlace::inherit(const HostAddress& address, Descriptor listening, bool ownsSocket) {
    if (!listensLocally(listening))
        throw HostPlaceError("what was left to the live host is no local socket that listens");
    auto place = locked(address);
    place.socket_ = std::move(listening);
    place.isHandedDown_ = !ownsSocket;
    place.sayWhoseItIs();
    return place;
}

/// Said once it listens: who reads it here can ask it.
void HostPlace::sayWhoseItIs() const {
    const auto pid = std::to_string(::getpid()) + "\n";
    if (::ftruncate(lock_, 0) == 0) platform::writeAll(lock_, pid);
}

bool HostPlace::isHeld() const {
    return isStillThere(folder_, lockFile().c_str(), lock_);
}

std::filesystem::path HostPlace::lockFile() const {
    return address_.folder / lockName;
}

void HostPlace::removeLeftovers() const {
    RuntimeFolder::removeLeftovers(folder_);
}

void HostPlace::listen() {
    const auto path = address_.socket();
    const auto address = socketAddress(path);
    struct stat found = {};
    if (::fstatat(folder_, socketName, &found, AT_SYMLINK_NOFOLLOW) == 0) {
        if (doesSomebodyListen(address))
            throw HostPlaceError(path.string() +
                                 " is listened on already, by a service manager perhaps; start the live host "
                                 "with: systemctl --user start vela-widget.service");
        // Its host was killed.
        if (::unlinkat(folder_, socketName, 0) != 0) fail(path.string() + " cannot be replaced", errno);
    }
    socket_ = Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!socket_.isOpen()) fail("a socket cannot be made", errno);
    if (::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        fail(path.string() + " cannot be made", errno);
    if (::listen(socket_, longestBacklog) != 0) fail(path.string() + " cannot be listened on", errno);
}

HostPlace::~HostPlace() {
    // What lies in a place that was lost is another's.
    if (!lock_.isOpen() || !isHeld()) return;
    removeLeftovers();
    if (!isHandedDown_ && socket_.isOpen()) ::unlinkat(folder_, socketName, 0);
    ::unlinkat(folder_, lockName, 0);
    // Where it is empty; a service manager keeps its socket there.
    ::rmdir(address_.folder.c_str());
}

}  // namespace host
