// SPDX-License-Identifier: Apache-2.0

#include "drawing/Painters/ScriptRuns.hpp"

#include <gmock/gmock.h>

namespace {

using drawing::ScriptRun;
using drawing::ScriptRuns;
using testing::ElementsAre;

/// "Jpan ja", or several of them.
std::string described(const std::string& text, const std::vector<std::string>& preferred = {}) {
    std::string words;
    for (const ScriptRun& run : ScriptRuns(preferred).of(text)) {
        if (!words.empty()) words += ", ";
        words += run.script + " " + run.language;
    }
    return words;
}

TEST(ScriptRuns, TellTheLanguageByTheLetters) {
    struct Row {
        const char* text;
        const char* expected;
    };
    const std::vector<Row> rows = {
        {"Northwind Books", "Latn en"},
        {"12 ★", "Latn en"},
        {"Магазин", "Cyrl ru"},
        {"Ανθοπωλείο", "Grek el"},
        {"مكتبة الشروق", "Arab ar"},
        {"کتاب‌فروشی گل‌ها", "Arab fa"},
        {"اردو بازار ٹکٹ گھر کے", "Arab ur"},
        {"חנות הספרים", "Hebr he"},
        {"ร้านหนังสือ", "Thai th"},
        {"किताबों की दुकान", "Deva hi"},
        {"বইয়ের দোকান", "Beng bn"},
        {"புத்தகக் கடை", "Taml ta"},
        {"წიგნის მაღაზია", "Geor ka"},
        {"Գրախանութ", "Armn hy"},
        {"መጻሕፍት መደብር", "Ethi am"},
        {"配達中です", "Jpan ja"},
        {"コンビニ", "Jpan ja"},
        {"서울 책방", "Kore ko"},
        {"서울 書店", "Kore ko"},
        {"北京图书大厦", "Hans zh-cn"},
        {"臺灣圖書館", "Hant zh-tw"},
        {"駅込働", "Jpan ja"},
        {"ㄅㄆㄇ 直", "Hant zh-tw"},
    };
    for (const Row& row : rows) EXPECT_EQ(described(row.text), row.expected) << row.text;
}

TEST(ScriptRuns, AskThePersonWhereTheLettersAreOfSeveralLanguages) {
    struct Row {
        const char* text;
        std::vector<std::string> preferred;
        const char* expected;
    };
    const std::vector<Row> rows = {
        {"直営", {"ja-JP"}, "Jpan ja"},
        {"直", {"en-GB", "ko-KR", "ja-JP"}, "Kore ko"},
        {"直", {"zh-Hant-TW"}, "Hant zh-tw"},
        {"直", {"zh-TW"}, "Hant zh-tw"},
        {"直", {"zh-HK"}, "Hant zh-hk"},
        {"直", {"zh-SG"}, "Hans zh-cn"},
        {"直", {"zh-Hans-HK"}, "Hans zh-cn"},
        {"直", {"yue"}, "Hant zh-hk"},
        {"直", {"fr-FR"}, "Hans zh-cn"},
        {"直です", {"zh-CN"}, "Jpan ja"},
        {"مكتبة", {"en", "ur-PK"}, "Arab ur-pk"},
        {"مكتبة", {"ckb"}, "Arab ku-iq"},
        {"مكتبة", {"ps-AF"}, "Arab ps-af"},
        {"Магазин", {"bg-BG"}, "Cyrl bg-bg"},
        {"Магазин", {"sr-Latn-RS"}, "Cyrl ru"},
        {"किताब", {"mr-IN"}, "Deva mr-in"},
        {"חנות", {"yi"}, "Hebr yi"},
        {"Ihned", {"cs-CZ"}, "Latn cs-cz"},
        {"Ihned", {"ja", "nonsense-", "", "-", "x"}, "Latn en"},
    };
    for (const Row& row : rows) EXPECT_EQ(described(row.text, row.preferred), row.expected) << row.text;
}

/// Looked through anew for each run, it would take minutes.
TEST(ScriptRuns, LookThroughATextOfManyRunsOnceForEachScript) {
    constexpr std::size_t times = 20'000;
    std::string text;
    for (std::size_t time = 0; time < times; ++time) text += "shop 店 ";
    const auto runs = ScriptRuns({}).of(text);
    ASSERT_EQ(runs.size(), 2 * times);
    EXPECT_EQ(runs[2 * times - 1].language, "zh-cn");
}

TEST(ScriptRuns, AreTheWholeTextInItsOrder) {
    const std::string text = "No. 7 東京です، مكتبة!";
    const std::vector<ScriptRun> runs = ScriptRuns({}).of(text);
    ASSERT_EQ(runs.size(), 3u);
    std::size_t end = 0;
    for (const ScriptRun& run : runs) {
        EXPECT_EQ(run.begin, end);
        end = run.end;
    }
    EXPECT_EQ(end, text.size());
    EXPECT_EQ(described(text), "Latn en, Jpan ja, Arab ar");
    EXPECT_THAT(ScriptRuns({}).of(""), ElementsAre());
}

}  // namespace
