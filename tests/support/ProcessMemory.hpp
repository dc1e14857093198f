// SPDX-License-Identifier: Apache-2.0

#pragma once

// What another process holds in the memory that it may write to.

#include <sys/types.h>

#include <fstream>
#include <ios>
#include <optional>
#include <string>

namespace platform::testing {

/// How often `word` stands there; nothing where this process may not look.
inline std::optional<int> timesInMemory(pid_t process, const std::string& word) {
    const auto folder = "/proc/" + std::to_string(process);
    std::ifstream maps(folder + "/maps");
    std::ifstream memory(folder + "/mem", std::ios::binary);
    if (!maps.is_open() || !memory.is_open()) return std::nullopt;
    int count = 0;
    for (std::string line; std::getline(maps, line);) {
        if (line.find(" rw") == std::string::npos) continue;
        const auto begin = std::stoull(line, nullptr, 16);
        const auto end = std::stoull(line.substr(line.find('-') + 1), nullptr, 16);
        std::string bytes(end - begin, '\0');
        memory.clear();
        memory.seekg(static_cast<std::streamoff>(begin));
        memory.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        for (auto found = bytes.find(word); found != std::string::npos; found = bytes.find(word, found + 1))
            ++count;
    }
    return count;
}

// A sanitizer keeps what is freed, and reserves more than can be read.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VELA_SANITIZED_MEMORY
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(VELA_SANITIZED_MEMORY)
inline constexpr bool isMemorySanitized = true;
#else
inline constexpr bool isMemorySanitized = false;
#endif

}  // namespace platform::testing
