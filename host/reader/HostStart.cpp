// SPDX-License-Identifier: Apache-2.0

#include "host/reader/HostStart.hpp"

#include <array>
#include <map>
#include <string>
#include <system_error>

#include "host/reader/DetachedProgram.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace host {

namespace fs = std::filesystem;

namespace {

/// What a host and its extension find files by. A relative $HOME or $XDG_DATA_HOME counts for nothing
/// anywhere, and a relative $XDG_RUNTIME_DIR is refused.
constexpr std::array pathVariables = {"SSL_CERT_DIR", "SSL_CERT_FILE", "TZDIR", "VELA_BUNDLE"};

/// As it is where the working folder is gone.
fs::path absolutePath(const fs::path& path) {
    std::error_code error;
    auto absolute = fs::absolute(path, error);
    return error ? path : absolute;
}

std::map<std::string, std::string> absolutePathVariables() {
    std::map<std::string, std::string> variables;
    for (const char* name : pathVariables) {
        const auto value = platform::environmentVariable(name);
        if (value && !value->empty()) variables[name] = absolutePath(*value).string();
    }
    return variables;
}

}  // namespace

pid_t startLiveHost(const fs::path& program) {
    return startDetached(absolutePath(program), {"vela-widget", "run", "--idle-exit", "600"},
                         absolutePathVariables(), "/");
}

}  // namespace host
