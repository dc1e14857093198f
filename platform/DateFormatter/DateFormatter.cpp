// SPDX-License-Identifier: Apache-2.0

#include "platform/DateFormatter/DateFormatter.hpp"

#include <unicode/smpdtfmt.h>

#include <cmath>
#include <map>
#include <mutex>
#include <stdexcept>

#include "platform/Calendar/ICUTimeZone.hpp"
#include "platform/Date/Ambient.hpp"
#include "platform/DateFormatter/FixedForm.hpp"
#include "platform/Text/UTF16.hpp"

namespace platform {

struct DateFormatter::State {
    std::string pattern;
    TimeZone zone;

    std::mutex mutex = {};
    /// By locale. A process meets one as a rule.
    std::map<std::string, std::unique_ptr<icu::SimpleDateFormat>> formatters = {};

    /// The formatter for the ambient locale as it stands now; to be called with the mutex held.
    icu::SimpleDateFormat& current() {
        const auto locale = Ambient::current().localeIdentifier();
        auto& formatter = formatters[locale];
        if (!formatter) formatter = makeFormatter(locale);
        return *formatter;
    }

    std::unique_ptr<icu::SimpleDateFormat> makeFormatter(const std::string& locale) const {
        auto zoneOfFormatter = icuTimeZone(zone);
        UErrorCode status = U_ZERO_ERROR;
        auto formatter =
            std::make_unique<icu::SimpleDateFormat>(utf16(pattern), icu::Locale(locale.c_str()), status);
        if (U_FAILURE(status)) throw std::runtime_error("ICU has no date formatter for the locale");
        formatter->setLenient(false);
        formatter->adoptTimeZone(zoneOfFormatter.release());
        return formatter;
    }
};

DateFormatter::DateFormatter(std::string pattern) : DateFormatter(std::move(pattern), TimeZone::current()) {}

DateFormatter::DateFormatter(std::string pattern, TimeZone zone)
    : state_(new State{.pattern = std::move(pattern), .zone = zone}) {}

DateFormatter::~DateFormatter() = default;
DateFormatter::DateFormatter(DateFormatter&&) noexcept = default;
DateFormatter& DateFormatter::operator=(DateFormatter&&) noexcept = default;

std::string DateFormatter::string(Date date) const {
    const double milliseconds = date.timeIntervalSince1970() * 1000;
    if (!std::isfinite(milliseconds)) return {};
    icu::UnicodeString text;
    {
        const std::lock_guard lock(state_->mutex);
        state_->current().format(milliseconds, text);
    }
    return utf8(text);
}

std::optional<Date> DateFormatter::date(std::string_view text) const {
    if (state_->pattern == FixedForm::pattern && FixedForm::holdsIn(Ambient::current().localeIdentifier()))
        if (const auto date = FixedForm::parse(text)) return date;

    // No date is this long; ICU's indices have 32 bits.
    constexpr std::size_t longestText = 1024;
    if (text.size() > longestText) return std::nullopt;
    const auto source = utf16(text);
    icu::ParsePosition position;
    double milliseconds = 0;
    {
        const std::lock_guard lock(state_->mutex);
        milliseconds = state_->current().parse(source, position);
    }
    if (position.getErrorIndex() >= 0 || position.getIndex() != source.length()) return std::nullopt;
    return Date::since1970(milliseconds / 1000);
}

}  // namespace platform
