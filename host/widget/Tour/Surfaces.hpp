// SPDX-License-Identifier: Apache-2.0

#pragma once

// Which surfaces a machine has for the widget, and what of it can be written for them. Pure, but for
// `Surroundings::ofThisProcess` and `writeNewFile`; safe from any thread.

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/widget/Setup/SetupSnippet.hpp"

namespace host {

/// What is known of the machine and its session.
struct Surroundings {
    /// Of the environment; empty for one that is not set.
    std::function<std::string(const std::string& name)> variable;
    std::function<bool(const std::string& program)> isInstalled;
    /// As the person's own.
    std::function<bool(const std::string& program)> isRunning;
    std::function<bool(const std::filesystem::path& file)> exists;

    static Surroundings ofThisProcess();
};

struct Surface {
    enum class Presence { runs, installed };

    SetupTarget target;
    /// As `setup` takes it.
    const char* name;
    Presence presence;

    bool operator==(const Surface&) const = default;
};

/// The surfaces that are there, those that run first, else in `setup`'s order. The service manager is none.
std::vector<Surface> surfacesIn(const Surroundings& surroundings);

bool hasDisplay(const Surroundings& surroundings);

/// The file that the surface reads, where the snippet makes a whole configuration of it, and nothing of the
/// person's or the machine's that the surface would read is there.
std::optional<std::filesystem::path> newFileFor(SetupTarget target, const Surroundings& surroundings);

/// Writes a file that is not there, with the folders above it. Throws FileError, and leaves none, where
/// there is one or it cannot be written.
void writeNewFile(const std::filesystem::path& file, std::string_view text);

}  // namespace host
