// SPDX-License-Identifier: Apache-2.0

#include "platform/HTTPServer/Loopback.hpp"

#include "platform/Text/ASCII.hpp"

namespace platform {

void listenOnLoopback(boost::asio::ip::tcp::acceptor& acceptor, unsigned short port) {
    using boost::asio::ip::tcp;
    acceptor.open(tcp::v4());
    acceptor.set_option(tcp::acceptor::reuse_address(true));
    acceptor.bind({boost::asio::ip::address_v4::loopback(), port});
    acceptor.listen();
}

bool namesLoopback(std::string_view host, std::string_view port, PortNaming naming) {
    for (const std::string_view name : {"127.0.0.1", "localhost", "[::1]"}) {
        if (!equalsWithoutCase(host.substr(0, name.size()), name)) continue;
        const std::string_view rest = host.substr(name.size());
        if (rest.empty()) return naming == PortNaming::optional;
        return rest.front() == ':' && rest.substr(1) == port;
    }
    return false;
}

}  // namespace platform
