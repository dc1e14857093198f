// SPDX-License-Identifier: Apache-2.0

#include <sys/resource.h>

#include <cstdlib>
#include <string>

#include "platform/Log/Journal.hpp"
#include "platform/Log/Logger.hpp"
#include "platform/Log/StandardError.hpp"

namespace platform {

void fatalError(std::string_view message) {
    writeLineToStandardError(std::string("fatal error: ").append(message));
    writeToJournal(LogLevel::fault, "", "", message);
    const rlimit none = {.rlim_cur = 0, .rlim_max = 0};
    setrlimit(RLIMIT_CORE, &none);
    std::abort();
}

}  // namespace platform
