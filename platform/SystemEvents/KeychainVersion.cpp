// SPDX-License-Identifier: Apache-2.0

#include "platform/SystemEvents/KeychainVersion.hpp"

#include <sys/stat.h>

#include <array>
#include <cstdio>
#include <functional>

namespace platform {

namespace {

/// Of a hash in hexadecimal.
constexpr std::size_t digits = 16;

/// The same in all of our programs.
std::string hashed(std::string_view text) {
    std::array<char, digits + 1> number;
    std::snprintf(number.data(), number.size(), "%016zx", std::hash<std::string_view>()(text));
    return {number.data(), digits};
}

}  // namespace

std::string keychainVersion(std::string_view store, std::string_view condition) {
    return hashed(store) + "-" + hashed(condition);
}

std::string keychainVersion(const std::filesystem::path& file) {
    struct stat found = {};
    std::string condition = "absent";
    // Each transaction writes to the file; what only reads does not.
    if (::stat(file.c_str(), &found) == 0)
        condition = std::to_string(found.st_dev) + " " + std::to_string(found.st_ino) + " " +
                    std::to_string(found.st_size) + " " + std::to_string(found.st_mtim.tv_sec) + " " +
                    std::to_string(found.st_mtim.tv_nsec);
    return keychainVersion("file " + file.string(), condition);
}

bool areOfSameKeychain(std::string_view one, std::string_view other) {
    return !one.empty() && one.substr(0, digits) == other.substr(0, digits);
}

}  // namespace platform
