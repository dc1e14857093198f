// SPDX-License-Identifier: Apache-2.0

#include "platform/Date/PosixLocale.hpp"

#include <gtest/gtest.h>

namespace platform {
namespace {

TEST(PosixLocale, GivesIdentifierAndTag) {
    struct Row {
        std::string_view name;
        std::string_view identifier;
        std::string_view tag;
    };
    for (const auto& [name, identifier, tag] : {
             Row{"de", "de", "de"},
             Row{"de_DE", "de_DE", "de-DE"},
             Row{"de_DE.UTF-8", "de_DE", "de-DE"},
             Row{"de_DE.UTF-8@euro", "de_DE", "de-DE"},
             Row{"de_DE@euro", "de_DE", "de-DE"},
             Row{"EN_gb", "en_GB", "en-GB"},
             Row{"en-GB", "en_GB", "en-GB"},
             Row{"sr_RS@latin", "sr_Latn_RS", "sr-Latn-RS"},
             Row{"sr_RS.UTF-8@Latin", "sr_Latn_RS", "sr-Latn-RS"},
             Row{"uz_UZ@cyrillic", "uz_Cyrl_UZ", "uz-Cyrl-UZ"},
             Row{"ks_IN@devanagari", "ks_Deva_IN", "ks-Deva-IN"},
             Row{"zh_Hant_TW", "zh_Hant_TW", "zh-Hant-TW"},
             Row{"ca_ES@valencia", "ca_ES_VALENCIA", "ca-ES-valencia"},
             Row{"ca@valencia", "ca__VALENCIA", "ca-valencia"},
             Row{"es_419", "es_419", "es-419"},
             Row{"fil_PH.UTF-8", "fil_PH", "fil-PH"},
         }) {
        const auto locale = PosixLocale::parse(name);
        ASSERT_TRUE(locale) << name;
        EXPECT_EQ(locale->identifier(), identifier) << name;
        EXPECT_EQ(locale->languageTag(), tag) << name;
    }
}

TEST(PosixLocale, IsNoneForCAndForWhatIsNoName) {
    for (const std::string_view name :
         {"", "C", "C.UTF-8", "POSIX", "e", "english", "en_USA1", "en_US_x", "../../etc", "@euro", ".UTF-8",
          "en US", "e\xff", "en_\xff\xff", "de_DE_DE_DE"})
        EXPECT_FALSE(PosixLocale::parse(name)) << name;
}

TEST(PosixLocale, IsNoneForALongName) {
    EXPECT_FALSE(PosixLocale::parse(std::string(100'000, 'a')));
}

}  // namespace
}  // namespace platform
