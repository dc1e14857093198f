// SPDX-License-Identifier: Apache-2.0

#include "platform/Date/SystemZone.hpp"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <fstream>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/Text/ASCII.hpp"

namespace platform {

namespace fs = std::filesystem;

namespace {

/// Whether it begins as a rule of TZ does: a name, and how far that is from GMT. POSIX, Base Definitions,
/// section 8.3.
bool isZoneRule(std::string_view text) {
    const bool isQuoted = text.starts_with('<');
    if (isQuoted) text.remove_prefix(1);
    const auto belongsToName = [&](char character) {
        const bool isSign = character == '+' || character == '-';
        return isASCIILetter(character) || (isQuoted && (isSign || isASCIIDigit(character)));
    };
    const auto nameLength =
        static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), belongsToName) - text.begin());
    constexpr std::size_t shortestName = 3;
    if (nameLength < shortestName) return false;
    text.remove_prefix(nameLength);
    if (isQuoted && !text.starts_with('>')) return false;
    if (isQuoted) text.remove_prefix(1);
    if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
    return !text.empty() && isASCIIDigit(text.front());
}

/// A header of a zone file and the block that it counts; RFC 8536, sections 3.1 and 3.2.
struct ZoneBlock {
    bool hasSuccessor;
    std::size_t end;

    /// Nothing where the text has no whole one there. `timeLength` is that of an instant, in bytes.
    static std::optional<ZoneBlock> at(std::string_view text, std::size_t begin, std::size_t timeLength) {
        constexpr std::size_t headerLength = 44;
        const auto header = text.substr(std::min(begin, text.size()), headerLength);
        if (header.size() < headerLength || !header.starts_with("TZif")) return std::nullopt;
        const auto count = [&](std::size_t place) {
            std::size_t value = 0;
            for (const char byte : header.substr(place, 4))
                value = value << 8 | static_cast<unsigned char>(byte);
            return value;
        };
        const auto universal = count(20);
        const auto standard = count(24);
        const auto leaps = count(28);
        const auto times = count(32);
        const auto types = count(36);
        const auto characters = count(40);
        const auto end = begin + headerLength + times * (timeLength + 1) + types * 6 + characters +
                         leaps * (timeLength + 4) + standard + universal;
        if (types == 0 || end > text.size()) return std::nullopt;
        return ZoneBlock{.hasSuccessor = header[4] != '\0', .end = end};
    }
};

}  // namespace

void SystemZone::refresh() {
    tzset();
}

int SystemZone::secondsFromGMT(Date date) {
    // The rules say nothing new beyond these instants, and the C library counts years in 32 bits.
    constexpr double furthest =
        std::min(8.64e12, static_cast<double>(std::numeric_limits<std::time_t>::max()));
    const double seconds = date.timeIntervalSince1970();
    if (std::isnan(seconds)) return 0;
    const auto time = static_cast<std::time_t>(std::floor(std::clamp(seconds, -furthest, furthest)));
    std::tm parts = {};
    return localtime_r(&time, &parts) ? static_cast<int>(parts.tm_gmtoff) : 0;
}

std::optional<fs::path> SystemZone::file() {
    const auto zone = environmentVariable("TZ");
    if (!zone) return "/etc/localtime";
    const std::string_view name = std::string_view(*zone).substr(zone->starts_with(':') ? 1 : 0);
    if (name.empty()) return std::nullopt;
    const std::string folder = environmentVariable("TZDIR").value_or("");
    const auto file = fs::path(folder.empty() ? "/usr/share/zoneinfo" : folder) / name;
    // A file comes first: some have the names of rules.
    std::error_code error;
    if (isZoneRule(name) && !fs::exists(file, error)) return std::nullopt;
    return file;
}

bool SystemZone::isZoneFile(const fs::path& file) {
    // The longest of them has less than 4 KiB.
    constexpr std::size_t longest = 256 << 10;
    std::string text(longest, '\0');
    std::ifstream stream(file, std::ios::binary);
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(stream.gcount()));
    const auto first = ZoneBlock::at(text, 0, 4);
    return first && (!first->hasSuccessor || ZoneBlock::at(text, first->end, 8));
}

}  // namespace platform
