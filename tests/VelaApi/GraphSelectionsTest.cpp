// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/DorvoSupport/GraphSelections.hpp"

#include <gtest/gtest.h>

namespace VelaApi::GraphSelections {
namespace {

Field sampleField() {
    return {
        .name = "url",
        .alias = "picture",
        .conditionalDirective = ConditionalDirective::skip(ArgumentValue::booleanValue(false)),
        .arguments = {{.name = "maxWidth", .value = ArgumentValue::variable("maxImageSize")}},
        .parentType = TypeCondition::object("Image"),
        .type = TypeCondition::scalar("URL"),
        .selectionSet = {},
    };
}

FragmentSpread sampleFragment() {
    return {.name = "Shop",
            .typeCondition = TypeCondition::interface("Seller"),
            .selectionSet = {Selection::field(sampleField())}};
}

InlineFragment sampleInlineFragment() {
    return {.typeCondition = TypeCondition::object("Order"),
            .conditionalDirective = ConditionalDirective::include(ArgumentValue::variable("withOrders")),
            .selectionSet = {Selection::field(sampleField())}};
}

TEST(GraphSelections, OperationTypeGivesItsNameWhateverTheCase) {
    EXPECT_EQ(OperationType::query("TrackingWidget").name, "TrackingWidget");
    EXPECT_EQ(OperationType::mutation("RefreshAccessToken").name, "RefreshAccessToken");
    EXPECT_EQ(OperationType::subscription("News").name, "News");
}

TEST(GraphSelections, ChoicesOfOneTextDifferByCase) {
    EXPECT_EQ(OperationType::query("A"), OperationType::query("A"));
    EXPECT_NE(OperationType::query("A"), OperationType::mutation("A"));
    EXPECT_NE(OperationType::query("A"), OperationType::query("B"));

    const std::vector<TypeCondition> conditions = {TypeCondition::object("A"), TypeCondition::interface("A"),
                                                   TypeCondition::union_("A"), TypeCondition::scalar("A")};
    for (std::size_t one = 0; one < conditions.size(); ++one) {
        for (std::size_t other = 0; other < conditions.size(); ++other) {
            EXPECT_EQ(conditions[one] == conditions[other], one == other) << one << " and " << other;
        }
    }
}

TEST(GraphSelections, ArgumentValuesAreEqualOnlyInCaseAndValue) {
    const std::vector<ArgumentValue> values = {
        ArgumentValue::variable("a"),
        ArgumentValue::variable("b"),
        ArgumentValue::intValue(1),
        ArgumentValue::intValue(0),
        ArgumentValue::floatValue(1),
        ArgumentValue::stringValue("a"),
        ArgumentValue::booleanValue(true),
        ArgumentValue::booleanValue(false),
        ArgumentValue::enumValue("a"),
        ArgumentValue::listValue({}),
        ArgumentValue::listValue({ArgumentValue::nullValue()}),
        ArgumentValue::listValue({ArgumentValue::listValue({})}),
        ArgumentValue::objectValue({}),
        ArgumentValue::objectValue({{.name = "a", .value = ArgumentValue::nullValue()}}),
        ArgumentValue::objectValue({{.name = "b", .value = ArgumentValue::nullValue()}}),
        ArgumentValue::nullValue(),
    };
    for (std::size_t one = 0; one < values.size(); ++one) {
        for (std::size_t other = 0; other < values.size(); ++other) {
            EXPECT_EQ(values[one] == values[other], one == other) << one << " and " << other;
        }
    }
}

TEST(GraphSelections, ArgumentValueCasesStandInOrder) {
    const std::vector<ArgumentValue> cases = {
        ArgumentValue::variable(""),    ArgumentValue::intValue(0),         ArgumentValue::floatValue(0),
        ArgumentValue::stringValue(""), ArgumentValue::booleanValue(false), ArgumentValue::enumValue(""),
        ArgumentValue::listValue({}),   ArgumentValue::objectValue({}),     ArgumentValue::nullValue(),
    };
    for (std::size_t index = 0; index < cases.size(); ++index) {
        EXPECT_EQ(cases[index].choice.index(), index);
    }
}

TEST(GraphSelections, FragmentSpreadsWithEqualFragmentsDifferByTheirDirective) {
    const Selection plain = Selection::fragmentSpread(sampleFragment());
    const Selection conditional = Selection::fragmentSpread(
        sampleFragment(), ConditionalDirective::include(ArgumentValue::variable("withShop")));
    EXPECT_EQ(plain, Selection::fragmentSpread(sampleFragment()));
    EXPECT_EQ(plain, Selection::fragmentSpread(sampleFragment(), std::nullopt));
    EXPECT_NE(plain, conditional);
    EXPECT_NE(ConditionalDirective::include(ArgumentValue::nullValue()),
              ConditionalDirective::skip(ArgumentValue::nullValue()));
}

TEST(GraphSelections, FieldsDifferByEachOfTheirSevenMembers) {
    const std::vector<void (*)(Field&)> changes = {
        [](Field& field) { field.name = "other"; },
        [](Field& field) { field.alias.reset(); },
        [](Field& field) { field.conditionalDirective.reset(); },
        [](Field& field) { field.arguments.clear(); },
        [](Field& field) { field.parentType.name = "Other"; },
        [](Field& field) { field.type = TypeCondition::object("URL"); },
        [](Field& field) { field.selectionSet.push_back(Selection::field(sampleField())); },
    };
    EXPECT_EQ(sampleField(), sampleField());
    for (std::size_t index = 0; index < changes.size(); ++index) {
        Field changed = sampleField();
        changes[index](changed);
        EXPECT_NE(changed, sampleField()) << "member " << index;
    }
}

TEST(GraphSelections, FragmentsDifferByEachOfTheirMembers) {
    FragmentSpread renamed = sampleFragment();
    renamed.name = "Other";
    FragmentSpread retyped = sampleFragment();
    retyped.typeCondition = TypeCondition::object("Seller");
    FragmentSpread emptied = sampleFragment();
    emptied.selectionSet.clear();
    for (const FragmentSpread& changed : {renamed, retyped, emptied}) EXPECT_NE(changed, sampleFragment());

    InlineFragment unconditional = sampleInlineFragment();
    unconditional.conditionalDirective.reset();
    InlineFragment widened = sampleInlineFragment();
    widened.typeCondition = TypeCondition::union_("Order");
    InlineFragment hollow = sampleInlineFragment();
    hollow.selectionSet.clear();
    for (const InlineFragment& changed : {unconditional, widened, hollow}) {
        EXPECT_NE(changed, sampleInlineFragment());
    }
}

TEST(GraphSelections, WholeOperationsCompareAtEveryDepth) {
    const auto operation = [](const std::string& innermost) {
        Field leaf = sampleField();
        leaf.name = innermost;
        InlineFragment inner = sampleInlineFragment();
        inner.selectionSet = {Selection::field(leaf)};
        FragmentSpread outer = sampleFragment();
        outer.selectionSet = {Selection::inlineFragment(inner)};
        return Operation{.type = OperationType::query("Everything"),
                         .selectionSet = {Selection::fragmentSpread(outer)}};
    };
    EXPECT_EQ(operation("url"), operation("url"));
    EXPECT_NE(operation("url"), operation("name"));
}

}  // namespace
}  // namespace VelaApi::GraphSelections
