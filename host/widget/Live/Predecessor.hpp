// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a live host leaves to the program that takes its own place in the same process: the socket that
// readers go on connecting to, and what is shown. For the process's one thread.

#include <filesystem>
#include <optional>
#include <string>

#include "host/widget/Live/LiveHost.hpp"
#include "platform/Files/Descriptor.hpp"

namespace host {

struct Predecessor {
    platform::Descriptor socket;
    /// The socket is the live host's own, and not a service manager's.
    bool ownsSocket = false;
    /// Nothing where it cannot be read: the successor then begins as any host.
    std::optional<LiveHost::Remembered> remembered = std::nullopt;

    /// What was left to this process, once; nothing where nothing was. Signals are held back until
    /// `takeSignals`.
    static std::optional<Predecessor> ofThisProcess();
    static void takeSignals();
};

/// Runs `program` in this process, with the arguments of the one that runs. What is open is closed, but for
/// the standard streams, `socket` and what is left. Comes back only where it fails, and says why; nothing has
/// changed then.
std::string becomeProgram(const std::filesystem::path& program, int socket, bool ownsSocket,
                          const LiveHost::Remembered& remembered);

}  // namespace host
