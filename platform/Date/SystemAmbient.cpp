#include "platform/Date/SystemAmbient.hpp"

#include <sys/stat.h>
#include <unicode/timezone.h>

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <system_error>

#include "platform/Date/PosixLocale.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace platform {

namespace {

constexpr const char* posixLocaleIdentifier = "en_US_POSIX";

/// The first of the variables that is set to something.
std::optional<std::string> firstSet(std::initializer_list<std::string_view> variables) {
    for (const auto variable : variables)
        if (auto value = environmentVariable(variable); value && !value->empty()) return value;
    return std::nullopt;
}

/// The Olson identifier in a value of TZ or behind the zone file: ":America/New_York", "posix/Japan",
/// "/usr/share/zoneinfo/Asia/Kolkata". Nothing when it names no zone.
std::optional<std::string> zoneNamed(std::string_view value) {
    constexpr std::size_t longestName = 255;
    if (value.starts_with(':')) value.remove_prefix(1);
    constexpr std::string_view folder = "zoneinfo/";
    if (const auto found = value.find(folder); found != std::string_view::npos)
        value.remove_prefix(found + folder.size());
    for (const std::string_view prefix : {"posix/", "right/"})
        if (value.starts_with(prefix)) value.remove_prefix(prefix.size());
    if (value.empty() || value.size() > longestName) return std::nullopt;

    const icu::StringPiece name(value.data(), static_cast<int>(value.size()));
    const std::unique_ptr<icu::TimeZone> zone(
        icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(name)));
    if (*zone == icu::TimeZone::getUnknown()) return std::nullopt;
    return std::string(value);
}

}  // namespace

SystemAmbient::SystemAmbient() : SystemAmbient(Settings{}) {}

SystemAmbient::SystemAmbient(Settings settings) : settings_(std::move(settings)) {}

Date SystemAmbient::now() const {
    timespec time = {};
    clock_gettime(CLOCK_REALTIME, &time);
    // The whole seconds are moved first: their difference is exact, so the fraction keeps its precision.
    const double seconds = static_cast<double>(time.tv_sec) - Date::secondsBetween1970And2001;
    return Date::sinceReferenceDate(seconds + static_cast<double>(time.tv_nsec) * 1e-9);
}

std::string SystemAmbient::timeZoneIdentifier() const {
    auto variable = environmentVariable("TZ");
    const auto time = std::chrono::steady_clock::now();
    const std::lock_guard lock(mutex_);
    const bool same = zone_ && zone_->variable == variable;
    if (same && time - zone_->checked < settings_.zoneCheckInterval) return zone_->identifier;

    const auto file = zoneFileStamp();
    if (same && file == zone_->file) {
        zone_->checked = time;
    } else {
        auto identifier = detectedZone(variable);
        zone_ = Zone{.identifier = std::move(identifier),
                     .variable = std::move(variable),
                     .file = file,
                     .checked = time};
    }
    return zone_->identifier;
}

std::string SystemAmbient::localeIdentifier() const {
    const auto name = firstSet({"LC_ALL", "LC_TIME", "LANG"});
    const auto locale = name ? PosixLocale::parse(*name) : std::nullopt;
    return locale ? locale->identifier() : posixLocaleIdentifier;
}

std::vector<std::string> SystemAmbient::preferredLanguages() const {
    const auto list = firstSet({"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}).value_or("");
    std::vector<std::string> languages;
    for (std::string_view rest = list; !rest.empty();) {
        const auto colon = rest.find(':');
        if (const auto locale = PosixLocale::parse(rest.substr(0, colon))) {
            auto tag = locale->languageTag();
            if (std::find(languages.begin(), languages.end(), tag) == languages.end())
                languages.push_back(std::move(tag));
        }
        rest = colon == std::string_view::npos ? std::string_view() : rest.substr(colon + 1);
    }
    return languages;
}

std::string SystemAmbient::detectedZone(const std::optional<std::string>& variable) const {
    if (variable)
        if (auto named = zoneNamed(*variable)) return *std::move(named);
    if (!variable) {
        std::error_code error;
        if (auto named = zoneNamed(std::filesystem::read_symlink(settings_.zoneFile, error).string()))
            return *std::move(named);
    }
    // A rule such as "EST5EDT4", a name of no zone, a zone file that is a copy: ICU makes of them what it
    // can.
    const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::detectHostTimeZone());
    icu::UnicodeString id;
    std::string identifier;
    zone->getID(id).toUTF8String(identifier);
    return identifier.empty() ? "UTC" : identifier;
}

SystemAmbient::ZoneFileStamp SystemAmbient::zoneFileStamp() const {
    struct stat link = {}, target = {};
    if (lstat(settings_.zoneFile.c_str(), &link) != 0 || stat(settings_.zoneFile.c_str(), &target) != 0)
        return {};
    return {.link = link.st_ino,
            .target = target.st_ino,
            .linkChanged = link.st_ctime,
            .targetModified = target.st_mtime};
}

}  // namespace platform
