// SPDX-License-Identifier: Apache-2.0

#pragma once

// What every server of ours has to do with this machine's loopback: listening there, and telling whom a
// request is addressed to. A web page from anywhere can have its own name resolve to 127.0.0.1 and would then
// read a server here as a page of its own; but its browser sends that name along.

#include <boost/asio/ip/tcp.hpp>
#include <string_view>

namespace platform {

/// Opens `acceptor` at 127.0.0.1; port 0 takes a free one. Throws boost::system::system_error.
void listenOnLoopback(boost::asio::ip::tcp::acceptor& acceptor, unsigned short port);

enum class PortNaming { optional, required };

/// Whether a Host field names loopback (127.0.0.1, localhost or [::1]) with this port, or where the port is
/// optional with none. A pure function.
bool namesLoopback(std::string_view host, std::string_view port, PortNaming naming);

}  // namespace platform
