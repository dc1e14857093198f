// SPDX-License-Identifier: Apache-2.0

#pragma once

// A package on one line: "Name: status". A pure function, safe from any thread.

#include <cstddef>
#include <string>
#include <string_view>

namespace host {

struct PackageLine {
    static constexpr std::string_view between = ": ";

    /// Empty where there is none, or no room for it beside the status.
    std::string name;
    std::string status;
};

/// The two, of text that is safe to show, in at most `columns` columns with what stands between them. The
/// status comes first: of the name there is what is left.
PackageLine packageLine(std::string_view name, std::string_view status, std::size_t columns);

}  // namespace host
