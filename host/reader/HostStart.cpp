// SPDX-License-Identifier: Apache-2.0

#include "host/reader/HostStart.hpp"

#include "host/reader/DetachedProgram.hpp"

namespace host {

pid_t startLiveHost(const std::filesystem::path& program) {
    return startDetached(program, {"vela-widget", "run", "--idle-exit", "600"});
}

}  // namespace host
