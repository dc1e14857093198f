// SPDX-License-Identifier: Apache-2.0

#include "platform/ProcessInfo/ProcessInfo.hpp"

#include <malloc.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <system_error>
#include <vector>

namespace platform {

namespace fs = std::filesystem;

namespace {

std::optional<fs::path> absolutePathIn(std::string_view variable) {
    auto value = environmentVariable(variable);
    if (!value || !value->starts_with('/')) return std::nullopt;
    return fs::path(*std::move(value));
}

std::optional<fs::path> homeInUserDatabase() {
    const long suggested = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(suggested > 0 ? static_cast<std::size_t>(suggested) : 16384);
    passwd entry = {};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
        return std::nullopt;
    if (!found->pw_dir || found->pw_dir[0] != '/') return std::nullopt;
    return fs::path(found->pw_dir);
}

std::optional<fs::path> baseFolder(std::string_view variable, const char* belowHome) {
    if (auto folder = absolutePathIn(variable)) return folder;
    auto home = absolutePathIn("HOME");
    if (!home) home = homeInUserDatabase();
    if (!home) return std::nullopt;
    return *home / belowHome;
}

}  // namespace

std::map<std::string, std::string> processEnvironment() {
    std::map<std::string, std::string> environment;
    for (char** entry = environ; entry && *entry; ++entry) {
        const std::string_view text = *entry;
        const auto equals = text.find('=');
        if (equals != std::string_view::npos)
            environment.emplace(text.substr(0, equals), text.substr(equals + 1));
    }
    return environment;
}

std::optional<std::string> environmentVariable(std::string_view name) {
    const char* value = std::getenv(std::string(name).c_str());
    if (!value) return std::nullopt;
    return value;
}

std::optional<fs::path> dataHome() {
    return baseFolder("XDG_DATA_HOME", ".local/share");
}

std::optional<fs::path> stateHome() {
    return baseFolder("XDG_STATE_HOME", ".local/state");
}

fs::path executablePath() {
    // What the kernel appends where the file has gone (proc(5)), or another has taken its name.
    constexpr std::string_view mark = " (deleted)";
    std::error_code error;
    const auto path = fs::read_symlink("/proc/self/exe", error);
    const std::string_view text = path.native();
    if (!text.ends_with(mark) || fs::exists(path, error)) return path;
    return text.substr(0, text.size() - mark.size());
}

std::size_t connectionsWithin(std::size_t most) {
    rlimit files = {};
    if (::getrlimit(RLIMIT_NOFILE, &files) != 0 || files.rlim_cur == RLIM_INFINITY) return most;
    return std::min<std::size_t>(most, std::max<std::size_t>(files.rlim_cur / 2, 1));
}

void forbidCoreFiles() {
    const rlimit none = {.rlim_cur = 0, .rlim_max = 0};
    setrlimit(RLIMIT_CORE, &none);
    prctl(PR_SET_DUMPABLE, 0);
}

void returnFreedMemory() {
    // Left alone, glibc takes every large block that was freed as a reason to keep the next one.
    constexpr int largeBlock = 128 << 10;
    mallopt(M_MMAP_THRESHOLD, largeBlock);
    mallopt(M_ARENA_MAX, 1);
}

}  // namespace platform
