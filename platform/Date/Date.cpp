// SPDX-License-Identifier: Apache-2.0

#include "platform/Date/Date.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "platform/Date/Ambient.hpp"

namespace platform {

namespace {

using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr double secondsPerDay = 86'400;
constexpr sys_days referenceDay = std::chrono::year(2001) / 1 / 1;

/// Days from the reference date to the first and behind the last day that four digits can name.
constexpr std::int64_t firstDay = (sys_days(std::chrono::year(1) / 1 / 1) - referenceDay).count();
constexpr std::int64_t endDay = (sys_days(std::chrono::year(10000) / 1 / 1) - referenceDay).count();
constexpr std::int64_t millisecondsPerDay = 86'400'000;

class Scanner {
  public:
    explicit Scanner(std::string_view text) : rest_(text) {}

    bool atEnd() const { return rest_.empty(); }

    bool take(char expected) {
        if (rest_.empty() || rest_.front() != expected) return false;
        rest_.remove_prefix(1);
        return true;
    }
    bool takeAny(char first, char second) { return take(first) || take(second); }

    /// A number of exactly `digits` digits.
    std::optional<int> number(std::size_t digits) {
        const auto text = rest_.substr(0, digits);
        if (text.size() != digits || takeDigits(digits).size() != digits) return std::nullopt;
        int value = 0;
        std::from_chars(text.data(), text.data() + text.size(), value);
        return value;
    }

    std::string_view takeDigits(std::size_t limit = std::string_view::npos) {
        const auto end = std::min({rest_.find_first_not_of("0123456789"), limit, rest_.size()});
        const auto digits = rest_.substr(0, end);
        rest_.remove_prefix(end);
        return digits;
    }

  private:
    std::string_view rest_;
};

std::optional<double> fraction(Scanner& scanner) {
    if (!scanner.take('.')) return 0.0;
    const auto digits = scanner.takeDigits();
    if (digits.empty()) return std::nullopt;
    // Digits beyond the twentieth cannot change a double between 0 and 1 that is added to whole seconds.
    const std::string text = "0." + std::string(digits.substr(0, 20));
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

/// Seconds east of Greenwich.
std::optional<int> zoneOffset(Scanner& scanner) {
    if (scanner.takeAny('Z', 'z')) return 0;
    const bool east = scanner.take('+');
    if (!east && !scanner.take('-')) return std::nullopt;
    const auto hours = scanner.number(2);
    if (!hours || *hours > 23 || !scanner.take(':')) return std::nullopt;
    const auto minutes = scanner.number(2);
    if (!minutes || *minutes > 59) return std::nullopt;
    const int seconds = *hours * 3600 + *minutes * 60;
    return east ? seconds : -seconds;
}

}  // namespace

Date Date::now() {
    return Ambient::current().now();
}

std::string internetDateTime(Date date) {
    const double seconds = date.timeIntervalSinceReferenceDate();
    const double inRange = std::isnan(seconds) ? 0.0
                                               : std::clamp(seconds, double(firstDay) * secondsPerDay,
                                                            double(endDay) * secondsPerDay);
    const std::int64_t milliseconds =
        std::min<std::int64_t>(std::llround(inRange * 1000), endDay * millisecondsPerDay - 1);

    std::int64_t day = milliseconds / millisecondsPerDay;
    std::int64_t rest = milliseconds % millisecondsPerDay;
    if (rest < 0) {
        --day;
        rest += millisecondsPerDay;
    }
    const year_month_day ymd(referenceDay + days(day));
    const auto inDay = static_cast<int>(rest);
    std::array<char, 64> buffer;
    const int length = std::snprintf(buffer.data(), buffer.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ",
                                     int(ymd.year()), unsigned(ymd.month()), unsigned(ymd.day()),
                                     inDay / 3'600'000, inDay / 60'000 % 60, inDay / 1000 % 60, inDay % 1000);
    return std::string(buffer.data(), static_cast<std::size_t>(length));
}

std::optional<Date> dateFromInternetDateTime(std::string_view text) {
    Scanner scanner(text);
    const auto year = scanner.number(4);
    if (!year || *year < 1 || !scanner.take('-')) return std::nullopt;
    const auto month = scanner.number(2);
    if (!month || !scanner.take('-')) return std::nullopt;
    const auto day = scanner.number(2);
    if (!day || !scanner.takeAny('T', 't')) return std::nullopt;
    const year_month_day ymd(std::chrono::year(*year), std::chrono::month(static_cast<unsigned>(*month)),
                             std::chrono::day(static_cast<unsigned>(*day)));
    if (!ymd.ok()) return std::nullopt;

    const auto hour = scanner.number(2);
    if (!hour || *hour > 23 || !scanner.take(':')) return std::nullopt;
    const auto minute = scanner.number(2);
    if (!minute || *minute > 59 || !scanner.take(':')) return std::nullopt;
    const auto second = scanner.number(2);
    if (!second || *second > 59) return std::nullopt;
    const auto part = fraction(scanner);
    if (!part) return std::nullopt;
    const auto offset = zoneOffset(scanner);
    if (!offset || !scanner.atEnd()) return std::nullopt;

    const auto wholeDays = (sys_days(ymd) - referenceDay).count();
    const double seconds =
        double(wholeDays) * secondsPerDay + *hour * 3600 + *minute * 60 + *second - *offset;
    return Date::sinceReferenceDate(seconds + *part);
}

}  // namespace platform
