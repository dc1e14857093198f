#include "platform/Calendar/TimeZone.hpp"

#include <unicode/timezone.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <mutex>

#include "platform/Date/Ambient.hpp"

namespace platform {

namespace {

constexpr const char* gmtIdentifier = "GMT";

/// ICU's zones are made once each and kept: a program names few, and an offset is asked for with every date
/// read.
const icu::TimeZone& sharedZone(const std::string& identifier) {
    static std::mutex mutex;
    static std::map<std::string, std::unique_ptr<const icu::TimeZone>> zones;
    const std::lock_guard lock(mutex);
    auto& zone = zones[identifier];
    if (!zone) zone.reset(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(identifier)));
    return *zone;
}

}  // namespace

TimeZone TimeZone::current() {
    return TimeZone(Ambient::current().timeZoneIdentifier());
}

TimeZone TimeZone::gmt() {
    return TimeZone(gmtIdentifier);
}

TimeZone TimeZone::named(std::string identifier) {
    return TimeZone(std::move(identifier));
}

int TimeZone::secondsFromGMT(Date date) const {
    if (identifier_ == gmtIdentifier) return 0;
    // The zone's rules say nothing new beyond these instants, and ICU counts days in 32 bits.
    constexpr double furthest = 8.64e12;
    const double seconds = date.timeIntervalSince1970();
    if (std::isnan(seconds)) return 0;
    std::int32_t standard = 0;
    std::int32_t saving = 0;
    UErrorCode status = U_ZERO_ERROR;
    sharedZone(identifier_)
        .getOffset(std::clamp(seconds, -furthest, furthest) * 1000, false, standard, saving, status);
    return U_FAILURE(status) ? 0 : (standard + saving) / 1000;
}

}  // namespace platform
