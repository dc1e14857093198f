// SPDX-License-Identifier: Apache-2.0

#include "host/extension/EntryDrawer.hpp"

namespace host {

std::string drawnEntry(const std::string& request) {
    static const auto draw = reinterpret_cast<decltype(&velaDrawEntry)>(
        platform::moduleFunction("vela-drawing.so", "velaDrawEntry"));
    return platform::moduleResult(draw, request.data(), request.size());
}

}  // namespace host
