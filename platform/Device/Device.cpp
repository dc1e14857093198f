// SPDX-License-Identifier: Apache-2.0

#include "platform/Device/Device.hpp"

#include <sys/utsname.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <optional>
#include <string_view>

#include "platform/Text/ASCII.hpp"
#include "platform/Text/Text.hpp"

namespace platform {

namespace {

/// What firmware says when nobody has filled in the name (compared without case).
constexpr std::array<std::string_view, 10> placeholders = {
    "to be filled by o.e.m.",
    "system product name",
    "default string",
    "not applicable",
    "not specified",
    "product name",
    "none",
    "n/a",
    "unknown",
    "o.e.m.",
};

constexpr std::array<std::string_view, 2> modelFiles = {
    "sys/class/dmi/id/product_name",
    "proc/device-tree/model",
};

constexpr std::array<std::string_view, 2> releaseFiles = {
    "etc/os-release",
    "usr/lib/os-release",
};

/// As the kernel and who fills its files pad what they write.
std::string_view withoutPadding(std::string_view text) {
    return trimmed(text, std::string_view(" \t\r\n\v\f\0", 7));
}

std::string contents(const std::filesystem::path& path) {
    constexpr std::size_t limit = 64 * 1024;
    std::ifstream file(path, std::ios::binary);
    std::string text(limit, '\0');
    file.read(text.data(), static_cast<std::streamsize>(limit));
    text.resize(static_cast<std::size_t>(file.gcount()));
    return text;
}

/// Something to read, and nothing else: firmware is written by whoever made the board.
bool isReadable(std::string_view text) {
    const auto isControl = [](char c) { return (c >= 0 && c < ' ') || c == '\x7F'; };
    return !withoutPadding(text).empty() && isValidUTF8(text) &&
           std::none_of(text.begin(), text.end(), isControl);
}

bool isName(std::string_view text) {
    return isReadable(text) &&
           std::find(placeholders.begin(), placeholders.end(), lowercasedASCII(text)) == placeholders.end();
}

std::optional<std::string> modelUnder(const std::filesystem::path& root) {
    for (const auto file : modelFiles) {
        const auto text = contents(root / file);
        if (const auto name = withoutPadding(text); isName(name)) return std::string(name);
    }
    return std::nullopt;
}

/// The value of an os-release assignment, which a shell could read too: plain, in single quotes as it stands,
/// or in double quotes with a backslash before what would otherwise mean something. Empty where a quote stays
/// open.
std::string unquoted(std::string_view value) {
    if (value.starts_with('\'') || value.starts_with('"')) {
        const char quote = value.front();
        if (value.size() < 2 || value.back() != quote) return {};
        value = value.substr(1, value.size() - 2);
        if (quote == '\'') return std::string(value);
    }
    constexpr std::string_view escaped = "\"\\$`";
    std::string result;
    for (std::size_t i = 0; i < value.size(); ++i) {
        const bool startsEscape =
            value[i] == '\\' && i + 1 < value.size() && escaped.find(value[i + 1]) != std::string_view::npos;
        if (startsEscape) ++i;
        result += value[i];
    }
    return result;
}

std::optional<std::string> versionIn(std::string_view release) {
    constexpr std::string_view key = "VERSION_ID=";
    while (!release.empty()) {
        const auto end = release.find('\n');
        const auto line = withoutPadding(release.substr(0, end));
        if (line.starts_with(key))
            if (auto version = unquoted(line.substr(key.size())); isReadable(version)) return version;
        release = end == std::string_view::npos ? std::string_view() : release.substr(end + 1);
    }
    return std::nullopt;
}

std::optional<std::string> versionUnder(const std::filesystem::path& root) {
    for (const auto file : releaseFiles)
        if (auto version = versionIn(contents(root / file))) return version;
    return std::nullopt;
}

/// The kernel's own word, which is the last to be asked.
std::string readable(const char* word) {
    return isReadable(word) ? word : "Unknown";
}

}  // namespace

Device Device::describedUnder(const std::filesystem::path& root) {
    utsname kernel = {};
    uname(&kernel);
    return Device(modelUnder(root).value_or(readable(kernel.machine)),
                  versionUnder(root).value_or(readable(kernel.release)));
}

const Device& Device::current() {
    static const Device device = describedUnder("/");
    return device;
}

}  // namespace platform
