// SPDX-License-Identifier: Apache-2.0

#pragma once

// How the parts of a store fail, and how that becomes the status that a caller sees. Safe from any thread.

#include <functional>
#include <string>

#include "platform/Security/SecItem.hpp"

namespace platform {

/// Raised by transactions and locks; the calls answer with its status.
struct KeychainFailure {
    OSStatus status;
    /// What is wrong and, where a command mends it, which one; empty where the status says all.
    std::string fault = {};
};

/// The status that `work` gives or fails with. A failure leaves its fault to `SecItemFault` and the log.
OSStatus keychainStatusOf(const std::function<OSStatus()>& work);

}  // namespace platform
