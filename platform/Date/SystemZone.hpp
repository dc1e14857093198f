// SPDX-License-Identifier: Apache-2.0

#pragma once

// The zone this process is in, as the C library has it: TZ in all its forms, else /etc/localtime, by the
// rules of the machine's own zone files. Safe from any thread as long as nobody changes the environment
// meanwhile.

#include "platform/Date/Date.hpp"

namespace platform {

struct SystemZone {
    /// Takes in what has changed of TZ or /etc/localtime; about a microsecond when nothing has.
    static void refresh();

    /// The offset from GMT in force at `date`, in seconds, positive east of Greenwich.
    static int secondsFromGMT(Date date);
};

}  // namespace platform
