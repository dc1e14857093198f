// SPDX-License-Identifier: Apache-2.0

#include "sandbox/HostField.hpp"

#include <algorithm>

namespace sandbox {

bool isAddressedToLoopback(const Request& request, std::string_view port) {
    const auto fields =
        std::count_if(request.headers.begin(), request.headers.end(),
                      [](const HeaderField& field) { return equalsWithoutCase(field.name, "Host"); });
    if (fields != 1) return false;
    const std::string_view host = *request.value("Host");
    for (const std::string_view name : {"127.0.0.1", "localhost", "[::1]"}) {
        if (!equalsWithoutCase(host.substr(0, name.size()), name)) continue;
        const std::string_view rest = host.substr(name.size());
        return rest.empty() || (rest.front() == ':' && rest.substr(1) == port);
    }
    return false;
}

}  // namespace sandbox
