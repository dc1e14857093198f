// SPDX-License-Identifier: Apache-2.0

#include "platform/DateFormatter/FixedForm.hpp"

#include <gtest/gtest.h>
#include <unicode/calendar.h>
#include <unicode/numsys.h>
#include <unicode/smpdtfmt.h>

#include <memory>
#include <random>
#include <string>

namespace platform {
namespace {

/// ICU's own reading, for comparison.
class Reference {
  public:
    explicit Reference(const char* locale) {
        UErrorCode status = U_ZERO_ERROR;
        formatter_ = std::make_unique<icu::SimpleDateFormat>(
            icu::UnicodeString::fromUTF8(std::string(FixedForm::pattern)), icu::Locale(locale), status);
        formatter_->setLenient(false);
        formatter_->adoptTimeZone(icu::TimeZone::createTimeZone("GMT"));
    }
    std::optional<Date> parse(const std::string& text) const {
        const auto source = icu::UnicodeString::fromUTF8(text);
        icu::ParsePosition position;
        const double milliseconds = formatter_->parse(source, position);
        if (position.getErrorIndex() >= 0 || position.getIndex() != source.length()) return std::nullopt;
        return Date::since1970(milliseconds / 1000);
    }

  private:
    std::unique_ptr<icu::SimpleDateFormat> formatter_;
};

constexpr const char* locales[] = {"en_US", "en_US_POSIX", "de_DE",      "ja_JP",
                                   "he_IL", "fr_CH",       "sr_Latn_RS", "zh_Hant_TW"};

class RandomTexts {
  public:
    std::string date() {
        std::string text = number(1500, 9999, 4) + "-" + number(0, 13, 2) + "-" + number(0, 32, 2) + "T" +
                           number(0, 24, 2) + ":" + number(0, 60, 2) + ":" + number(0, 60, 2);
        text += random_() % 2 ? "+" : "-";
        return text + number(0, 24, 2) + number(0, 60, 2);
    }
    std::string mutated() {
        static constexpr std::string_view material = "0123456789-+:TZ .,'GM\xC2\xA0\xFFx";
        auto text = date();
        for (auto changes = random_() % 3 + 1; changes > 0; --changes) {
            const auto place = random_() % text.size();
            const char c = material[random_() % material.size()];
            switch (random_() % 3) {
                case 0: text[place] = c; break;
                case 1: text.insert(place, 1, c); break;
                default: text.erase(place, 1); break;
            }
        }
        return text;
    }

  private:
    std::string number(int low, int high, std::size_t digits) {
        auto text = std::to_string(std::uniform_int_distribution(low, high)(random_));
        return text.insert(0, digits - std::min(digits, text.size()), '0');
    }
    std::mt19937 random_{20240501};
};

TEST(FixedForm, ReadsWhatICUReadsInEveryLocaleItHoldsIn) {
    RandomTexts texts;
    int read = 0;
    for (const char* locale : locales) {
        ASSERT_TRUE(FixedForm::holdsIn(locale)) << locale;
        const Reference reference(locale);
        for (int i = 0; i < 4'000; ++i) {
            const auto text = i % 2 ? texts.date() : texts.mutated();
            const auto date = FixedForm::parse(text);
            if (!date) continue;
            ++read;
            ASSERT_EQ(date, reference.parse(text)) << text << " in " << locale;
        }
    }
    EXPECT_GT(read, 5'000);
}

TEST(FixedForm, ReadsEveryWellFormedDateFrom1583OnThatICUReads) {
    RandomTexts texts;
    const Reference reference("en_US");
    for (int i = 0; i < 10'000; ++i) {
        const auto text = texts.date();
        const auto date = reference.parse(text);
        if (date && text >= "1583") {
            ASSERT_EQ(FixedForm::parse(text), date) << text;
        }
    }
}

TEST(FixedForm, HoldsOnlyWhereASCIIDigitsAndTheGregorianCalendarAreUsed) {
    int count = 0;
    const auto* available = icu::Locale::getAvailableLocales(count);
    ASSERT_GT(count, 500);
    for (int i = 0; i < count; ++i) {
        if (!FixedForm::holdsIn(available[i].getName())) continue;
        UErrorCode status = U_ZERO_ERROR;
        const std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(available[i], status));
        const std::unique_ptr<icu::NumberingSystem> digits(
            icu::NumberingSystem::createInstance(available[i], status));
        EXPECT_STREQ(calendar->getType(), "gregorian") << available[i].getName();
        EXPECT_STREQ(digits->getName(), "latn") << available[i].getName();
    }
}

TEST(FixedForm, HoldsNowhereElse) {
    for (const char* locale : {"", "ar_EG", "fa_IR", "th_TH", "en_TH", "en_IR", "de_AF", "en_SA", "mr_IN",
                               "xx_YY", "en_US@calendar=japanese", "ja_JP@numbers=jpan"})
        EXPECT_FALSE(FixedForm::holdsIn(locale)) << locale;
}

TEST(FixedForm, LeavesEveryOtherFormToICU) {
    for (const std::string_view text :
         {"", "2024-05-01", "2024-05-01T12:00:00Z", "2024-05-01T12:00:00+05:30", "1582-12-31T00:00:00+0000",
          "2024-05-01T24:00:00+0000", "2024-02-30T12:00:00+0000", "2024-05-01T12:00:00+2400"})
        EXPECT_FALSE(FixedForm::parse(text)) << text;
}

}  // namespace
}  // namespace platform
