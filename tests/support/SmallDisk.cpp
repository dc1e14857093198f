// SPDX-License-Identifier: Apache-2.0

#include "tests/support/SmallDisk.hpp"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "tests/support/ChildProcess.hpp"

namespace platform::testing {

int withSmallDisk(const std::filesystem::path& folder, const char* size, const std::function<int()>& work) {
    return runInChild([&] {
        const uid_t user = ::geteuid();
        if (::unshare(CLONE_NEWNS) != 0) {
            if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return cannotMount;
            std::ofstream("/proc/self/uid_map") << user << " " << user << " 1";
        }
        if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("none", folder.c_str(), "tmpfs", 0, (std::string("mode=0700,size=") + size).c_str()) != 0)
            return cannotMount;
        return work();
    });
}

void fillUp(const std::filesystem::path& folder) {
    std::ofstream filler(folder / "filler");
    while (filler.write("x", 1)) filler.flush();
}

}  // namespace platform::testing
