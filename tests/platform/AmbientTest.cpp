// SPDX-License-Identifier: Apache-2.0

#include "platform/Date/Ambient.hpp"

#include <gtest/gtest.h>

#include "platform/Calendar/TimeZone.hpp"
#include "platform/Date/SystemAmbient.hpp"
#include "tests/support/FixedAmbient.hpp"
#include "tests/support/ScopedEnvironment.hpp"

namespace platform {
namespace {

using testing::FixedAmbient;
using testing::instant;
using testing::ScopedEnvironment;

using Languages = std::vector<std::string>;

TEST(SystemAmbient, TakesTheLocaleFromTheFirstVariableThatIsSet) {
    const ScopedEnvironment lang({{"LC_ALL", std::nullopt}, {"LC_TIME", ""}, {"LANG", "ja_JP.UTF-8"}});
    EXPECT_EQ(Ambient::system().localeIdentifier(), "ja_JP");
    const ScopedEnvironment time({{"LC_TIME", "sr_RS@latin"}});
    EXPECT_EQ(Ambient::system().localeIdentifier(), "sr_Latn_RS");
    const ScopedEnvironment all({{"LC_ALL", "de_DE.UTF-8@euro"}});
    EXPECT_EQ(Ambient::system().localeIdentifier(), "de_DE");
}

TEST(SystemAmbient, HasThePosixLocaleForCAndForNone) {
    using Value = std::optional<std::string>;
    for (const auto& value : {Value("C"), Value("C.UTF-8"), Value("POSIX"), Value("../x"), Value()}) {
        const ScopedEnvironment environment({{"LC_ALL", value}, {"LC_TIME", {}}, {"LANG", {}}});
        EXPECT_EQ(Ambient::system().localeIdentifier(), "en_US_POSIX");
    }
}

TEST(SystemAmbient, FallsBackToTheNextLanguageThatHasWordsAndKeepsTheRegion) {
    struct Row {
        const char* locale;
        std::optional<std::string> languages;
        const char* expected;
    };
    for (const auto& [locale, languages, expected] : {
             Row{"oc_FR.UTF-8", "oc:fr", "fr_FR"},
             Row{"oc_FR.UTF-8", "oc:fr_CA:en", "fr_CA"},
             Row{"oc_FR.UTF-8", "oc:wa:!:C:ca", "ca_FR"},
             Row{"oc_FR.UTF-8", {}, "en_FR"},
             Row{"oc_FR.UTF-8", "oc:wa:nan", "en_FR"},
             Row{"wa_BE", "wa:nl:fr", "nl_BE"},
             Row{"nan_TW@latin", "nan_TW:zh_TW", "zh_TW"},
             Row{"nan_TW", {}, "en_TW"},
             Row{"cmn_TW", {}, "zh_TW"},
             Row{"be_BY@latin", {}, "en_BY"},
             Row{"be_BY@latin", "be", "be_BY"},
             // The calendar is the region's, whatever the words.
             Row{"nod_TH", {}, "en_TH"},
             Row{"nod_TH", "nod:th", "th_TH"},
             Row{"oc", {}, "en"},
             // A language that has words needs no other.
             Row{"de_DE", "fr", "de_DE"},
             Row{"sr_RS@latin", "oc", "sr_Latn_RS"},
             Row{"C", "fr", "en_US_POSIX"},
             Row{"C.UTF-8", "fr", "en_US_POSIX"},
             Row{"no locale", "fr", "en_US_POSIX"},
         }) {
        const ScopedEnvironment environment({{"LC_ALL", locale}, {"LANGUAGE", languages}});
        EXPECT_EQ(Ambient::system().localeIdentifier(), expected) << locale << " " << languages.value_or("-");
    }
}

TEST(SystemAmbient, ReadsNoMoreLanguagesThanAnyonePrefers) {
    std::string list;
    for (char first = 'a'; first <= 'z'; ++first)
        for (char second = 'a'; second <= 'z'; ++second)
            for (char third = 'a'; third <= 'z'; ++third) list += {first, second, third, ':'};
    const ScopedEnvironment environment({{"LC_ALL", "oc_FR"}, {"LANGUAGE", list}});
    EXPECT_LE(Ambient::system().preferredLanguages().size(), 100u);
    EXPECT_NE(Ambient::system().localeIdentifier(), "");
    const ScopedEnvironment same({{"LANGUAGE", std::string(100'000, 'x') + ":de"}});
    EXPECT_EQ(Ambient::system().localeIdentifier(), "de_FR");
}

TEST(SystemAmbient, TakesTheLanguagesFromTheListElseFromTheLocale) {
    struct Row {
        std::optional<std::string> language, all, messages, lang;
        Languages expected;
    };
    const Row rows[] = {
        {"en_GB:de:fr_FR.UTF-8", "ja_JP", {}, {}, {"en-GB", "de", "fr-FR"}},
        {"en_GB::en_GB:C:!:de", {}, {}, {}, {"en-GB", "de"}},
        {"", "ja_JP.UTF-8", "de_DE", "fr_FR", {"ja-JP"}},
        {{}, {}, "de_DE.UTF-8", "fr_FR", {"de-DE"}},
        {{}, {}, {}, "sr_RS.UTF-8@latin", {"sr-Latn-RS"}},
        {{}, "C.UTF-8", {}, "fr_FR", {}},
        {"POSIX", {}, {}, "fr_FR", {}},
        {{}, {}, {}, {}, {}},
    };
    for (const auto& row : rows) {
        const ScopedEnvironment environment({{"LANGUAGE", row.language},
                                             {"LC_ALL", row.all},
                                             {"LC_MESSAGES", row.messages},
                                             {"LANG", row.lang}});
        EXPECT_EQ(Ambient::system().preferredLanguages(), row.expected) << row.language.value_or("-");
    }
}

TEST(SystemAmbient, TellsTheTimeOfTheRealTimeClock) {
    const auto before = std::chrono::system_clock::now().time_since_epoch();
    const double now = Ambient::system().now().timeIntervalSince1970();
    const auto after = std::chrono::system_clock::now().time_since_epoch();
    EXPECT_GE(now, std::chrono::duration<double>(before).count() - 1e-6);
    EXPECT_LE(now, std::chrono::duration<double>(after).count() + 1e-6);
}

TEST(Ambient, IsTheOverrideWhileThereIsOneAndTheSystemsAfterwards) {
    EXPECT_EQ(&Ambient::current(), &Ambient::system());
    {
        const FixedAmbient outer({.now = "2024-01-01T00:00:00Z", .timeZone = "Asia/Kolkata"});
        EXPECT_EQ(Date::now(), instant("2024-01-01T00:00:00Z"));
        {
            const FixedAmbient inner({.now = "1999-01-01T00:00:00Z"});
            EXPECT_EQ(Date::now(), instant("1999-01-01T00:00:00Z"));
        }
        EXPECT_EQ(TimeZone::current().secondsFromGMT(Date::now()), 19'800);
    }
    EXPECT_EQ(&Ambient::current(), &Ambient::system());
}

}  // namespace
}  // namespace platform
