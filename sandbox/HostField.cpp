// SPDX-License-Identifier: Apache-2.0

#include "sandbox/HostField.hpp"

#include <algorithm>

#include "platform/HTTPServer/Loopback.hpp"

namespace sandbox {

bool isAddressedToLoopback(const Request& request, std::string_view port) {
    const auto fields =
        std::count_if(request.headers.begin(), request.headers.end(),
                      [](const HeaderField& field) { return equalsWithoutCase(field.name, "Host"); });
    if (fields != 1) return false;
    return platform::namesLoopback(*request.value("Host"), port, platform::PortNaming::optional);
}

}  // namespace sandbox
