// SPDX-License-Identifier: Apache-2.0

#pragma once

// The zone this process is in, as the C library has it: TZ in all its forms, else /etc/localtime, by the
// rules of the machine's own zone files. Safe from any thread as long as nobody changes the environment
// meanwhile.

#include <filesystem>
#include <optional>

#include "platform/Date/Date.hpp"

namespace platform {

struct SystemZone {
    /// Takes in what has changed of TZ or /etc/localtime; about a microsecond when nothing has.
    static void refresh();

    /// The offset from GMT in force at `date`, in seconds, positive east of Greenwich.
    static int secondsFromGMT(Date date);

    /// The file that the rules are read from, which need not exist. Nothing where TZ is a rule itself, or
    /// empty.
    static std::optional<std::filesystem::path> file();
    /// Whether it is a whole zone file; the C library takes any other for none, and counts in GMT.
    static bool isZoneFile(const std::filesystem::path& file);
};

}  // namespace platform
