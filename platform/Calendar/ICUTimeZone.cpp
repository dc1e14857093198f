// SPDX-License-Identifier: Apache-2.0

#include "platform/Calendar/ICUTimeZone.hpp"

#include <algorithm>
#include <chrono>
#include <mutex>
#include <typeinfo>

namespace platform {

namespace {

/// ICU's dates are milliseconds since 1970, its offsets milliseconds in 32 bits.
constexpr double millisecondsPerSecond = 1'000;
constexpr double millisecondsPerDay = 86'400'000;

/// No offset of a rule exceeds 25 hours (POSIX.1, TZ), none of a zone file 26 (RFC 8536).
constexpr double longestOffset = 26 * 3'600'000;

class ZoneOfOurs final : public icu::TimeZone {
  public:
    explicit ZoneOfOurs(platform::TimeZone zone)
        : icu::TimeZone(icu::UnicodeString(UCAL_UNKNOWN_ZONE_ID, -1, US_INV)), zone_(zone) {}

    ZoneOfOurs* clone() const override { return new ZoneOfOurs(*this); }
    UClassID getDynamicClassID() const override {
        static char identity = 0;
        return &identity;
    }
    bool operator==(const icu::TimeZone& other) const override { return hasSameRules(other); }
    UBool hasSameRules(const icu::TimeZone& other) const override {
        return typeid(other) == typeid(*this) && static_cast<const ZoneOfOurs&>(other).zone_ == zone_;
    }

    /// The whole offset stands as the standard one: nobody here asks which part of it is saving.
    void getOffset(UDate date, UBool local, std::int32_t& standard, std::int32_t& saving,
                   UErrorCode& status) const override {
        if (U_FAILURE(status)) return;
        standard = local ? offsetAtWallTime(date) : offset(date);
        saving = 0;
    }
    std::int32_t getOffset(std::uint8_t era, std::int32_t year, std::int32_t month, std::int32_t day,
                           std::uint8_t weekday, std::int32_t milliseconds,
                           UErrorCode& status) const override {
        constexpr std::int32_t longestMonth = 31;
        return getOffset(era, year, month, day, weekday, milliseconds, longestMonth, status);
    }
    std::int32_t getOffset(std::uint8_t, std::int32_t year, std::int32_t month, std::int32_t day,
                           std::uint8_t, std::int32_t milliseconds, std::int32_t,
                           UErrorCode& status) const override {
        using namespace std::chrono;
        if (U_FAILURE(status)) return 0;
        const auto first = std::chrono::year(year) / std::chrono::month(unsigned(month) + 1) / 1;
        const auto days = sys_days(first).time_since_epoch().count() + day - 1;
        return offsetAtWallTime(days * millisecondsPerDay + milliseconds);
    }
    std::int32_t getRawOffset() const override { return offset(Date::now()); }
    void setRawOffset(std::int32_t) override {}
    UBool useDaylightTime() const override { return false; }
    UBool inDaylightTime(UDate, UErrorCode&) const override { return false; }

  private:
    std::int32_t offset(Date date) const {
        // A zone file may say anything; beyond three weeks it is lying.
        constexpr int furthest = 2'000'000;
        return std::clamp(zone_.secondsFromGMT(date), -furthest, furthest) * int(millisecondsPerSecond);
    }
    std::int32_t offset(UDate date) const { return offset(Date::since1970(date / millisecondsPerSecond)); }

    std::int32_t offsetAtWallTime(UDate wall) const {
        const std::int32_t before = offset(wall - longestOffset);
        const std::int32_t after = offset(wall + longestOffset);
        for (const auto candidate : {after, offset(wall - after), before})
            if (offset(wall - candidate) == candidate) return candidate;
        return before;
    }

    platform::TimeZone zone_;
};

}  // namespace

std::unique_ptr<icu::TimeZone> icuTimeZone(TimeZone zone) {
    // Whatever ICU makes starts in its default zone, and it would search the whole zone folder for that.
    static std::once_flag once;
    std::call_once(once, [] { icu::TimeZone::adoptDefault(icu::TimeZone::getGMT()->clone()); });
    if (zone == TimeZone::gmt()) return std::unique_ptr<icu::TimeZone>(icu::TimeZone::getGMT()->clone());
    return std::make_unique<ZoneOfOurs>(zone);
}

}  // namespace platform
