#pragma once

// Whether something can be done with so much memory and no more.

#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <fstream>
#include <new>

namespace tests {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool memoryCanBeLimited = false;  // sanitizers map terabytes of their own
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool memoryCanBeLimited = false;
#else
constexpr bool memoryCanBeLimited = true;
#endif
#else
constexpr bool memoryCanBeLimited = true;
#endif

/// Runs `work` in a child process whose address space may grow by `bytes`.
template <typename Work>
bool succeedsWithin(std::size_t bytes, Work work) {
    if (!memoryCanBeLimited) return work();
    const pid_t child = fork();
    if (child == 0) {
        malloc_trim(0);
        std::size_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        const rlim_t limit = pages * std::size_t(sysconf(_SC_PAGESIZE)) + bytes;
        const rlimit addressSpace{limit, limit};
        setrlimit(RLIMIT_AS, &addressSpace);
        try {
            _exit(work() ? 0 : 1);
        } catch (const std::bad_alloc&) {
            _exit(2);
        }
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace tests
