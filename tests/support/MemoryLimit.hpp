// SPDX-License-Identifier: Apache-2.0

#pragma once

// Whether something can be done with so much memory and no more.

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <fstream>
#include <string>
#include <string_view>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VELA_SANITIZER_ALLOCATES 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VELA_SANITIZER_ALLOCATES 1
#endif
#endif

namespace tests {

#ifdef VELA_SANITIZER_ALLOCATES
constexpr bool memoryCanBeLimited = false;  // sanitizers map terabytes of their own
#else
constexpr bool memoryCanBeLimited = true;
#endif

inline std::size_t residentKilobytes(std::string_view field) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(field)) return std::stoul(line.substr(field.size()));
    return 0;
}

/// Whether `work` succeeds in a child process whose resident memory grows by `bytes` at most on the way.
template <typename Work>
bool succeedsWithin(std::size_t bytes, Work work) {
    if (!memoryCanBeLimited) return work();
    const pid_t child = fork();
    if (child == 0) {
        malloc_trim(0);  // what earlier work left free in the heap is no present
        std::ofstream("/proc/self/clear_refs") << "5";  // the peak begins anew
        const std::size_t before = residentKilobytes("VmRSS:");
        const bool succeeded = [&]() noexcept { return work(); }();
        _exit(succeeded && (residentKilobytes("VmHWM:") - before) * 1024 <= bytes ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace tests
