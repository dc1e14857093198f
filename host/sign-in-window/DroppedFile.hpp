// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a person drops, as the address that comes with it (RFC 8089). Plain functions, of any thread.

#include <string>
#include <string_view>

namespace host {

/// A file of this machine, or why it is none.
struct DroppedFile {
    std::string path = {};
    /// A sentence for a person; empty where there is a path.
    std::string_view refusal = {};
};

/// The host in it has to be absent, "localhost", or `machine`, which is this machine's name.
DroppedFile droppedFile(const std::string& address, std::string_view machine);

}  // namespace host
