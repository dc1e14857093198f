// SPDX-License-Identifier: Apache-2.0

#pragma once

// The files in which a live host shows its state, as they are named in each of its folders. Safe from any
// thread.

#include <optional>
#include <string>
#include <vector>

#include "platform/Files/Descriptor.hpp"

namespace host {

struct HostFiles {
    static constexpr const char* entry = "entry.json";
    static constexpr const char* state = "state.json";
    static constexpr const char* panel = "panel.json";
    static constexpr const char* text = "widget.txt";
    // Pictures are named by PictureFile.

    /// What a file is called until it is whole.
    static std::string temporaryName(const std::string& name);

    /// The names of those that are there, of half-written ones too; nothing, with
    /// errno set, where it cannot be read.
    static std::optional<std::vector<std::string>> in(const platform::Descriptor& folder);
    /// Removes them all, and nothing else; gives the first error, 0 where there is none.
    static int removeAll(const platform::Descriptor& folder);
};

}  // namespace host
