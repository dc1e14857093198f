// SPDX-License-Identifier: Apache-2.0

#include "platform/Log/Journal.hpp"

#include <dlfcn.h>
#include <sys/uio.h>
#include <syslog.h>
#include <unistd.h>

#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

#include <array>
#include <string>

namespace platform {

namespace {

constexpr const char* journalSocket = "/run/systemd/journal/socket";

using SendFunction = decltype(&sd_journal_sendv);

SendFunction openedJournal() {
    if (access(journalSocket, W_OK) != 0) return nullptr;
    void* library = dlopen("libsystemd.so.0", RTLD_NOW | RTLD_LOCAL);
    if (!library) return nullptr;
    return reinterpret_cast<SendFunction>(dlsym(library, "sd_journal_sendv"));
}

int priority(LogLevel level) {
    switch (level) {
        case LogLevel::debug: return LOG_DEBUG;
        case LogLevel::info: return LOG_INFO;
        case LogLevel::error: return LOG_ERR;
        case LogLevel::fault: return LOG_CRIT;
    }
    return LOG_ERR;
}

std::string field(std::string_view name, std::string_view value) {
    std::string text(name);
    return text.append("=").append(value);
}

}  // namespace

bool writeToJournal(LogLevel level, std::string_view subsystem, std::string_view category,
                    std::string_view message) {
    static const SendFunction send = openedJournal();
    if (!send) return false;
    std::array fields = {
        field("MESSAGE", message),
        field("PRIORITY", std::to_string(priority(level))),
        field("SUBSYSTEM", subsystem),
        field("CATEGORY", category),
    };
    std::array<iovec, fields.size()> vectors;
    for (std::size_t i = 0; i < fields.size(); ++i)
        vectors[i] = {.iov_base = fields[i].data(), .iov_len = fields[i].size()};
    return send(vectors.data(), static_cast<int>(vectors.size())) == 0;
}

}  // namespace platform
