// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/DorvoSupport/FragmentCollapsing.hpp"

#include <gtest/gtest.h>

#include "VelaApi/Sources/VelaApi/DorvoSupport/GraphApi.hpp"
#include "tests/VelaApi/JSON.hpp"

namespace VelaApi {
namespace {

struct CollapseRow {
    const char* name;
    const char* before;
    const char* after;
};

const CollapseRow collapseRows[] = {
    {"MergesAFragmentIntoItsLevel", R"({"a": 1, "fragment:X": {"b": 2}})", R"({"a": 1, "b": 2})"},
    {"RebuildsALevelWithoutFragments", R"({"a": {"b": [1, "c", null]}})", R"({"a": {"b": [1, "c", null]}})"},
    {"LeavesAnEmptyFragmentOut", R"({"fragment:X": {}})", "{}"},
    {"KeepsAFragmentKeyThatHoldsNoDictionary", R"({"fragment:X": [{"a": 1}], "fragment:Y": 2})",
     R"({"fragment:X": [{"a": 1}], "fragment:Y": 2})"},
    {"HeedsThePrefixExactly", R"({"fragment": {"a": 1}, "Fragment:X": {"b": 2}, "xfragment:": {"c": 3}})",
     R"({"fragment": {"a": 1}, "Fragment:X": {"b": 2}, "xfragment:": {"c": 3}})"},
    {"TakesAFragmentWithoutName", R"({"fragment:": {"a": 1}})", R"({"a": 1})"},
    {"CollapsesInsideDictionaries", R"({"a": {"fragment:X": {"b": 2}}})", R"({"a": {"b": 2}})"},
    {"CollapsesInsideFragments", R"({"fragment:X": {"fragment:Y": {"fragment:Z": {"a": 1}}}})",
     R"({"a": 1})"},
    {"CollapsesInsideListsOfDictionaries", R"({"a": [{"fragment:X": {"b": 1}}, {"c": 2}]})",
     R"({"a": [{"b": 1}, {"c": 2}]})"},
    {"LeavesMixedListsAsTheyAre", R"({"a": [{"fragment:X": {"b": 1}}, 2]})",
     R"({"a": [{"fragment:X": {"b": 1}}, 2]})"},
    {"LeavesListsOfListsAsTheyAre", R"({"a": [[{"fragment:X": {"b": 1}}]]})",
     R"({"a": [[{"fragment:X": {"b": 1}}]]})"},
    {"MergesDictionariesUnderOneKey", R"({"a": {"b": 1}, "fragment:X": {"a": {"c": 2}}})",
     R"({"a": {"b": 1, "c": 2}})"},
    {"MergesDictionariesUnderOneKeyWhateverComesFirst", R"({"fragment:X": {"a": {"c": 2}}, "a": {"b": 1}})",
     R"({"a": {"b": 1, "c": 2}})"},
    {"MergesDeeply", R"({"a": {"b": {"c": 1}}, "fragment:X": {"a": {"b": {"d": 2}, "e": 3}}})",
     R"({"a": {"b": {"c": 1, "d": 2}, "e": 3}})"},
    {"MergesTwoFragments", R"({"fragment:X": {"a": {"b": 1}}, "fragment:Y": {"a": {"c": 2}, "d": 3}})",
     R"({"a": {"b": 1, "c": 2}, "d": 3})"},
    {"CombinesListsPositionByPosition",
     R"({"a": [{"b": 1}, {"b": 2}], "fragment:X": {"a": [{"c": 3}, {"c": 4}]}})",
     R"({"a": [{"b": 1, "c": 3}, {"b": 2, "c": 4}]})"},
    {"KeepsTheTailOfALongerList", R"({"a": [{"b": 1}, {"b": 2}], "fragment:X": {"a": [{"c": 3}]}})",
     R"({"a": [{"b": 1, "c": 3}, {"b": 2}]})"},
    {"KeepsTheTailOfALongerFragmentsList", R"({"a": [{"b": 1}], "fragment:X": {"a": [{"c": 3}, {"c": 4}]}})",
     R"({"a": [{"b": 1, "c": 3}, {"c": 4}]})"},
    {"KeepsTheTailOfAListBesideAnEmptyOne", R"({"a": [], "fragment:X": {"a": [1, 2]}})", R"({"a": [1, 2]})"},
    {"CombinesListsInsideLists", R"({"a": [[{"b": 1}]], "fragment:X": {"a": [[{"c": 2}, 3]]}})",
     R"({"a": [[{"b": 1, "c": 2}, 3]]})"},
    {"KeepsThePresentOneOfTwoPlainValues", R"({"a": 1, "fragment:X": {"a": 2}})", R"({"a": 1})"},
    {"KeepsThePresentOneOfTwoKinds",
     R"({"a": 1, "b": {}, "c": [], "d": null, "fragment:X": {"a": {}, "b": [], "c": {"x": 1}, "d": 4}})",
     R"({"a": 1, "b": {}, "c": [], "d": null})"},
};

TEST(FragmentCollapsing, FollowsItsTable) {
    for (const CollapseRow& row : collapseRows) {
        EXPECT_EQ(boost::json::value(collapsed(json::parsed(row.before).get_object())),
                  json::parsed(row.after))
            << row.name;
    }
}

TEST(FragmentCollapsing, GoesAsDeepAsJSONDoes) {
    std::string before = "{}";
    std::string after = "{}";
    for (int depth = 0; depth < 250; ++depth) {
        before = R"({"fragment:X":{"a":)" + before + "}}";
        after = R"({"a":)" + after + "}";
    }
    EXPECT_EQ(json::text(collapsed(json::parsed(before).get_object())), after);
}

/// A response that is whatever dictionary it was given.
struct Fragmented {
    boost::json::value content;

    static platform::JSONEncoder customEncoder() { return platform::JSONEncoder(); }
    static platform::JSONDecoder customDecoder() { return platform::JSONDecoder(); }
    static Fragmented decode(const platform::Decoder& decoder) { return {decoder.value()}; }
    void encode(platform::Encoder& encoder) const { encoder.write(content); }
};

TEST(FragmentCollapsing, IsDoneByFieldsOnlyWhenAskedFor) {
    const auto response =
        responseFrom<Fragmented>(json::parsed(R"({"a": 1, "fragment:X": {"b": 2}})").get_object());
    EXPECT_EQ(json::text(fields(response, FragmentCollapsing::keepFragments)),
              R"({"a":1,"fragment:X":{"b":2}})");
    EXPECT_EQ(json::text(fields(response, FragmentCollapsing::collapseFragments)), R"({"a":1,"b":2})");
}

}  // namespace
}  // namespace VelaApi
