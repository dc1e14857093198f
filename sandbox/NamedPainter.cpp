// SPDX-License-Identifier: Apache-2.0

#include "sandbox/NamedPainter.hpp"

#include <algorithm>
#include <string>

#include "sandbox/Error.hpp"

namespace sandbox {

const NamedPainter& named(std::string_view name, std::span<const NamedPainter> painters) {
    const auto found = std::find_if(painters.begin(), painters.end(),
                                    [name](const NamedPainter& painter) { return painter.name == name; });
    if (found == painters.end()) throw Error("nothing called \"" + std::string(name) + "\" can be drawn");
    return *found;
}

}  // namespace sandbox
