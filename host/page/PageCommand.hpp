// SPDX-License-Identifier: Apache-2.0

#pragma once

// `vela-widget serve`: the page on a port of this machine's loopback, until SIGINT, SIGTERM or SIGHUP.

#include <filesystem>

namespace host {

struct PageCommand {
    /// Zero takes a free one.
    unsigned short port = 0;
    /// Whose `run` is the live host.
    std::filesystem::path program;
    /// The bundle's.
    std::filesystem::path resources;

    /// Prints the page's address and serves; gives the exit status. Throws std::runtime_error for a port that
    /// is not to be had, for resources that are not there and for standard output that takes nothing.
    int run() const;
};

}  // namespace host
