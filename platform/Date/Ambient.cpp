#include "platform/Date/Ambient.hpp"

#include <sys/stat.h>
#include <unicode/timezone.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>

#include "platform/Date/PosixLocale.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace platform {

namespace {

constexpr std::string_view posixLocaleIdentifier = "en_US_POSIX";
constexpr const char* systemZoneFile = "/etc/localtime";
constexpr auto zoneCheckInterval = std::chrono::minutes(1);

/// The first of the variables that is set to something.
std::optional<std::string> firstSet(std::initializer_list<std::string_view> variables) {
    for (const auto variable : variables)
        if (auto value = environmentVariable(variable); value && !value->empty()) return value;
    return std::nullopt;
}

std::optional<std::string> identifierIfKnown(std::string_view name) {
    if (name.empty()) return std::nullopt;
    const auto id =
        icu::UnicodeString::fromUTF8(icu::StringPiece(name.data(), static_cast<int>(name.size())));
    const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(id));
    if (*zone == icu::TimeZone::getUnknown()) return std::nullopt;
    return std::string(name);
}

/// The Olson identifier in a value of TZ: ":America/New_York", "/usr/share/zoneinfo/Asia/Kolkata",
/// "posix/Japan".
std::string_view olsonName(std::string_view value) {
    if (value.starts_with(':')) value.remove_prefix(1);
    constexpr std::string_view folder = "/zoneinfo/";
    if (value.starts_with('/'))
        if (const auto found = value.find(folder); found != std::string_view::npos)
            value.remove_prefix(found + folder.size());
    for (const std::string_view prefix : {"posix/", "right/"})
        if (value.starts_with(prefix)) value.remove_prefix(prefix.size());
    return value;
}

std::string detectedZone(const std::optional<std::string>& variable) {
    constexpr std::size_t longestName = 255;
    if (variable && variable->size() <= longestName)
        if (auto identifier = identifierIfKnown(olsonName(*variable))) return *std::move(identifier);
    const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::detectHostTimeZone());
    icu::UnicodeString id;
    std::string identifier;
    zone->getID(id).toUTF8String(identifier);
    return identifier;
}

/// What tells one state of the system's zone file from another: the link and what it leads to.
struct ZoneFileStamp {
    ino_t link = 0;
    ino_t target = 0;
    time_t linkChanged = 0;
    time_t targetModified = 0;
    bool operator==(const ZoneFileStamp&) const = default;

    static ZoneFileStamp read() {
        struct stat link = {}, target = {};
        if (lstat(systemZoneFile, &link) != 0 || stat(systemZoneFile, &target) != 0) return {};
        return {.link = link.st_ino,
                .target = target.st_ino,
                .linkChanged = link.st_ctime,
                .targetModified = target.st_mtime};
    }
};

class SystemAmbient final : public Ambient {
  public:
    Date now() const override {
        timespec time = {};
        clock_gettime(CLOCK_REALTIME, &time);
        // The whole seconds are moved first: their difference is exact, so the fraction keeps its precision.
        const double seconds = static_cast<double>(time.tv_sec) - Date::secondsBetween1970And2001;
        return Date::sinceReferenceDate(seconds + static_cast<double>(time.tv_nsec) * 1e-9);
    }

    std::string timeZoneIdentifier() const override {
        auto variable = environmentVariable("TZ");
        const auto time = std::chrono::steady_clock::now();
        const std::lock_guard lock(mutex_);
        if (!zone_ || zone_->variable != variable) {
            auto identifier = detectedZone(variable);
            zone_ = Zone{.identifier = std::move(identifier),
                         .variable = std::move(variable),
                         .file = ZoneFileStamp::read(),
                         .checked = time};
        } else if (time - zone_->checked >= zoneCheckInterval) {
            zone_->checked = time;
            if (const auto file = ZoneFileStamp::read(); file != zone_->file) {
                zone_->file = file;
                zone_->identifier = detectedZone(variable);
            }
        }
        return zone_->identifier;
    }

    std::string localeIdentifier() const override {
        const auto name = firstSet({"LC_ALL", "LC_TIME", "LANG"});
        const auto locale = name ? PosixLocale::parse(*name) : std::nullopt;
        return locale ? locale->identifier() : std::string(posixLocaleIdentifier);
    }

    std::vector<std::string> preferredLanguages() const override {
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

  private:
    struct Zone {
        std::string identifier;
        std::optional<std::string> variable;
        ZoneFileStamp file;
        std::chrono::steady_clock::time_point checked;
    };
    mutable std::mutex mutex_;
    mutable std::optional<Zone> zone_;
};

std::atomic<const Ambient*> overriding = nullptr;

}  // namespace

const Ambient& Ambient::system() {
    static const SystemAmbient ambient;
    return ambient;
}

const Ambient& Ambient::current() {
    const auto* ambient = overriding.load(std::memory_order_acquire);
    return ambient ? *ambient : system();
}

Ambient::Override::Override(const Ambient& ambient)
    : previous_(overriding.exchange(&ambient, std::memory_order_acq_rel)) {}

Ambient::Override::~Override() {
    overriding.store(previous_, std::memory_order_release);
}

}  // namespace platform
