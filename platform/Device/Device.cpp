#include "platform/Device/Device.hpp"

#include <sys/utsname.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <optional>
#include <string_view>

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

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks(" \t\r\n\v\f\0", 7);
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string lowered(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
    return result;
}

std::string contents(const std::filesystem::path& path) {
    constexpr std::size_t limit = 64 * 1024;
    std::ifstream file(path, std::ios::binary);
    std::string text(limit, '\0');
    file.read(text.data(), static_cast<std::streamsize>(limit));
    text.resize(static_cast<std::size_t>(file.gcount()));
    return text;
}

bool isName(std::string_view text) {
    return !text.empty() &&
           std::find(placeholders.begin(), placeholders.end(), lowered(text)) == placeholders.end();
}

std::optional<std::string> modelUnder(const std::filesystem::path& root) {
    for (const auto file : modelFiles) {
        const auto text = contents(root / file);
        if (const auto name = trimmed(text); isName(name)) return std::string(name);
    }
    return std::nullopt;
}

/// The value of an os-release assignment: plain, or in single or double quotes with backslash escapes.
std::string unquoted(std::string_view value) {
    if (value.size() < 2 || (value.front() != '"' && value.front() != '\'') || value.back() != value.front())
        return std::string(value);
    std::string result;
    for (std::size_t i = 1; i + 1 < value.size(); ++i) {
        if (value[i] == '\\' && i + 2 < value.size()) ++i;
        result += value[i];
    }
    return result;
}

std::optional<std::string> versionUnder(const std::filesystem::path& root) {
    constexpr std::string_view key = "VERSION_ID=";
    for (const auto file : releaseFiles) {
        const auto text = contents(root / file);
        for (std::string_view rest = text; !rest.empty();) {
            const auto end = rest.find('\n');
            const auto line = trimmed(rest.substr(0, end));
            if (line.starts_with(key))
                if (auto version = unquoted(line.substr(key.size())); !version.empty()) return version;
            rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
        }
    }
    return std::nullopt;
}

}  // namespace

Device Device::describedUnder(const std::filesystem::path& root) {
    utsname kernel = {};
    uname(&kernel);
    return Device(modelUnder(root).value_or(kernel.machine), versionUnder(root).value_or(kernel.release));
}

const Device& Device::current() {
    static const Device device = describedUnder("/");
    return device;
}

}  // namespace platform
