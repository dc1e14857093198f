// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/LocalSocket.hpp"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <system_error>

#include "platform/Files/Descriptor.hpp"

namespace host {

sockaddr_un localSocketAddress(const std::filesystem::path& path) {
    const auto& text = path.native();
    if (text.size() > longestSocketPath)
        throw std::system_error(
            ENAMETOOLONG, std::generic_category(),
            text + " is too long for a socket (" + std::to_string(longestSocketPath) + " bytes at most)");
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, text.data(), text.size());
    return address;
}

int connectedLocalSocket(const std::filesystem::path& path) {
    const auto address = localSocketAddress(path);
    platform::Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket.isOpen()) return -errno;
    const auto* general = reinterpret_cast<const sockaddr*>(&address);
    return ::connect(socket, general, sizeof address) == 0 ? socket.release() : -errno;
}

bool isOfThisPerson(int socket) {
    ucred peer = {};
    socklen_t length = sizeof peer;
    return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 && peer.uid == ::geteuid();
}

}  // namespace host
