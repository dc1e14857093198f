// SPDX-License-Identifier: Apache-2.0

#pragma once

// How long a test waits for what must happen. It goes on as soon as that has happened, so this costs nothing
// but where something is wrong, and a machine that has much else to do, or stands still for a while, is not.

#include <chrono>

namespace platform::testing {

constexpr std::chrono::seconds patience(60);

}  // namespace platform::testing
