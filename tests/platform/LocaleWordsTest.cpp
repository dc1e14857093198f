// SPDX-License-Identifier: Apache-2.0

#include "platform/Date/LocaleWords.hpp"

#include <gtest/gtest.h>
#include <unicode/locid.h>

#include <algorithm>
#include <string>

#include "platform/DateFormatter/DateFormatter.hpp"
#include "tests/support/FixedAmbient.hpp"

namespace platform {
namespace {

using testing::FixedAmbient;
using testing::instant;

TEST(LocaleWords, AreUnderTheLocalesOwnNameOrUnderItsCommonOne) {
    struct Row {
        const char* identifier;
        const char* expected;
    };
    for (const auto& [identifier, expected] : {
             Row{"en_US", "en_US"},
             Row{"en_US_POSIX", "en_US_POSIX"},
             Row{"en_FR", "en_FR"},
             Row{"de", "de"},
             Row{"sr_Latn_RS", "sr_Latn_RS"},
             Row{"ca_ES_VALENCIA", "ca_ES_VALENCIA"},
             Row{"zh_Hant_TW", "zh_Hant_TW"},
             Row{"iw_IL", "iw_IL"},
             Row{"deu_DE", "deu_DE"},
             Row{"ger_DE", "de_DE"},
             Row{"cmn_TW", "zh_TW"},
             Row{"ekk_EE", "et_EE"},
         })
        EXPECT_EQ(localeWithWords(identifier), expected) << identifier;
}

TEST(LocaleWords, AreNoneOfALanguageThatICUDoesNotHave) {
    for (const std::string identifier : {"oc_FR", "wa_BE", "nan_TW", "xx_YY", "und_DE", "mul", "zxx_US",
                                         "de_Arab_DE", "be_Latn_BY", "vai_Latn_LR", "_US", "", "\xff\xfe"})
        EXPECT_EQ(localeWithWords(identifier), std::nullopt) << identifier;
}

TEST(LocaleWords, ShowNoMonthAsANumberedOne) {
    int count = 0;
    const auto* available = icu::Locale::getAvailableLocales(count);
    ASSERT_GT(count, 500);
    FixedAmbient ambient;
    const DateFormatter formatter("MMM");
    for (int i = 0; i < count; ++i) {
        const auto locale = localeWithWords(available[i].getName());
        if (!locale) continue;
        ambient.setLocale(*locale);
        EXPECT_NE(formatter.string(instant("2026-03-05T12:00:00Z")), "M03") << *locale;
    }
}

}  // namespace
}  // namespace platform
