// SPDX-License-Identifier: Apache-2.0

#pragma once

// Local sockets, as both ends of the live host's door need them. Safe from any thread.

#include <sys/un.h>

#include <cstddef>
#include <filesystem>

namespace host {

/// Bytes of a path that a socket can lie at, at most.
inline constexpr std::size_t longestSocketPath = sizeof sockaddr_un::sun_path - 1;

/// Throws std::system_error (ENAMETOOLONG) for a path that is longer.
sockaddr_un localSocketAddress(const std::filesystem::path& path);

/// A descriptor that is connected to whoever listens there, or minus the error; -EAGAIN where it is too busy
/// to let anybody in now. Waits for nothing.
int connectedLocalSocket(const std::filesystem::path& path);

/// Whether this user is at the other end of a connected socket.
bool isOfThisPerson(int socket);

}  // namespace host
