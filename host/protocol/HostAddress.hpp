// SPDX-License-Identifier: Apache-2.0

#pragma once

// Where a person's live host is found: one folder and one socket in it. Safe from any thread as long as
// nobody changes the environment meanwhile.

#include <filesystem>
#include <stdexcept>

namespace host {

/// There is no place for a live host, or none to be trusted; `what()` says why, and what to do.
class HostAddressError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct HostAddress {
    /// Of mode 0700. It need not be there.
    std::filesystem::path folder;

    std::filesystem::path socket() const { return folder / "host.socket"; }

    /// $XDG_RUNTIME_DIR/vela-widget. Throws HostAddressError where the variable names no folder of the
    /// person's own that others cannot change, or one whose path is too long for a socket.
    static HostAddress ofPerson();
};

}  // namespace host
