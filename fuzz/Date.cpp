// SPDX-License-Identifier: Apache-2.0

// Texts of dates: the fast path of the fixed form agrees with ICU, and every text decodes to some instant.
// The first byte picks the locale, the second the zone.

#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "VelaApi/Sources/VelaApi/Module.hpp"
#include "fuzz/Require.hpp"
#include "platform/Date/Ambient.hpp"
#include "platform/DateFormatter/DateFormatter.hpp"
#include "platform/DateFormatter/FixedForm.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "presentation/DeliveredDateText.hpp"

namespace {

constexpr std::array locales = {"en_US", "en_US_POSIX", "de_DE", "ar_EG", "th_TH", "fa_IR", "ja_JP", "hi_IN"};
/// Seconds from GMT; each zone is an hour further east in the odd months of 30 days.
constexpr std::array zones = {0, -18'000, 19'800, 43'200};

struct Surroundings final : platform::Ambient {
    Surroundings(const char* givenLocale, int givenZone) : locale(givenLocale), zone(givenZone) {}

    platform::Date now() const override { return platform::Date::since1970(1'718'452'800); }
    int secondsFromGMT(platform::Date date) const override {
        const double month = std::floor(date.timeIntervalSince1970() / (30 * 86'400.0));
        return zone + (zone != 0 && std::fmod(month, 2) != 0 ? 3'600 : 0);
    }
    std::string localeIdentifier() const override { return locale; }
    std::vector<std::string> preferredLanguages() const override { return {}; }

    const char* locale;
    int zone;
    Override override{*this};
};

/// The client's pattern in another spelling of the same meaning, for which there is no fast path.
const platform::DateFormatter& formatterWithoutFastPath(std::size_t locale) {
    static const std::vector<platform::DateFormatter> formatters = [] {
        std::vector<platform::DateFormatter> all;
        for (std::size_t count = 0; count < locales.size(); ++count) {
            all.emplace_back("yyyy-MM-dd'T'HH:mm:ssZZ", platform::TimeZone::gmt());
        }
        return all;
    }();
    return formatters[locale];
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    if (size < 2) return 0;
    const std::size_t locale = input[0] % locales.size();
    const Surroundings surroundings(locales[locale], zones[input[1] % zones.size()]);
    const std::string_view date = text(input + 2, size - 2);

    if (platform::FixedForm::holdsIn(surroundings.locale)) {
        if (const auto fast = platform::FixedForm::parse(date)) {
            require(fast == formatterWithoutFastPath(locale).date(date),
                    "the fast path reads what ICU reads");
        }
    }
    std::string quoted;
    try {
        quoted =
            platform::JSONSerialization::dataWithJSONObject(boost::json::string(date.data(), date.size()));
    } catch (const platform::JSONError&) {
        return 0;
    }
    const auto decoded = VelaApi::Module::customDecoder().decode<platform::Date>(quoted);
    require(std::isfinite(decoded.timeIntervalSince1970()), "every text decodes to an instant");
    require(presentation::deliveredDateText(decoded).starts_with("Delivered "), "every instant has words");
    VelaApi::Module::customEncoder().encode(decoded);
    return 0;
}
