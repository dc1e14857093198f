// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/HostPlace.hpp"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>
#include <utility>

#include "host/protocol/LocalSocket.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace host {

using platform::Descriptor;

namespace {

constexpr int longestBacklog = 128;

[[noreturn]] void fail(const std::string& what, int error) {
    throw HostPlaceError(what + ": " + std::generic_category().message(error));
}

bool doesSomebodyListen(const std::filesystem::path& path) {
    const Descriptor probe(connectedLocalSocket(path));
    return probe.isOpen() || probe == -EAGAIN;
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

HostPlace HostPlace::claim(const HostAddress& address, std::optional<Descriptor> listening) {
    HostPlace place(HostClaim::take(address));
    if (listening) {
        place.socket_ = *std::move(listening);
        place.isHandedDown_ = true;
    } else {
        place.listen();
    }
    // Said once it listens: who reads it here can ask it.
    place.claim_.sign();
    return place;
}

HostPlace HostPlace::inherit(const HostAddress& address, Descriptor listening, bool ownsSocket) {
    if (!listensLocally(listening))
        throw HostPlaceError("what was left to the live host is no local socket that listens");
    HostPlace place(HostClaim::inherit(address));
    place.socket_ = std::move(listening);
    place.isHandedDown_ = !ownsSocket;
    place.claim_.sign();
    return place;
}

void HostPlace::listen() {
    const auto path = claim_.address().socket();
    const auto address = localSocketAddress(path);
    struct stat found = {};
    if (::fstatat(claim_.folder(), HostClaim::socketName, &found, AT_SYMLINK_NOFOLLOW) == 0) {
        if (doesSomebodyListen(path))
            throw HostPlaceError(path.string() +
                                 " is listened on already, by a service manager perhaps; start the live host "
                                 "with: systemctl --user start vela-widget.service");
        // Its host was killed.
        if (::unlinkat(claim_.folder(), HostClaim::socketName, 0) != 0)
            fail(path.string() + " cannot be replaced", errno);
    }
    socket_ = Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!socket_.isOpen()) fail("a socket cannot be made", errno);
    if (::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        fail(path.string() + " cannot be made", errno);
    if (::listen(socket_, longestBacklog) != 0) fail(path.string() + " cannot be listened on", errno);
}

HostPlace::~HostPlace() {
    // What lies in a place that was lost is another's.
    if (!isHandedDown_ && socket_.isOpen() && claim_.isHeld())
        ::unlinkat(claim_.folder(), HostClaim::socketName, 0);
}

}  // namespace host
