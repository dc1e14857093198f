// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/DorvoSupport/GraphSelections.hpp"

#include <tuple>

namespace VelaApi::GraphSelections {

ArgumentValue ArgumentValue::variable(std::string name) {
    return {Variable{std::move(name)}};
}
ArgumentValue ArgumentValue::intValue(std::int64_t value) {
    return {value};
}
ArgumentValue ArgumentValue::floatValue(float value) {
    return {value};
}
ArgumentValue ArgumentValue::stringValue(std::string text) {
    return {String{std::move(text)}};
}
ArgumentValue ArgumentValue::booleanValue(bool value) {
    return {value};
}
ArgumentValue ArgumentValue::enumValue(std::string text) {
    return {Enum{std::move(text)}};
}
ArgumentValue ArgumentValue::listValue(std::vector<ArgumentValue> values) {
    return {List{std::move(values)}};
}
ArgumentValue ArgumentValue::objectValue(std::vector<ObjectField> fields) {
    return {Object{std::move(fields)}};
}
ArgumentValue ArgumentValue::nullValue() {
    return {Null{}};
}

bool operator==(const ArgumentValue::List& one, const ArgumentValue::List& other) {
    return one.values == other.values;
}

bool operator==(const ArgumentValue::Object& one, const ArgumentValue::Object& other) {
    return one.fields == other.fields;
}

bool operator==(const ArgumentValue& one, const ArgumentValue& other) {
    return one.choice == other.choice;
}

bool operator==(const Field& one, const Field& other) {
    const auto members = [](const Field& field) {
        return std::tie(field.name, field.alias, field.conditionalDirective, field.arguments,
                        field.parentType, field.type, field.selectionSet);
    };
    return members(one) == members(other);
}

bool operator==(const FragmentSpread& one, const FragmentSpread& other) {
    return one.name == other.name && one.typeCondition == other.typeCondition &&
           one.selectionSet == other.selectionSet;
}

bool operator==(const InlineFragment& one, const InlineFragment& other) {
    return one.typeCondition == other.typeCondition &&
           one.conditionalDirective == other.conditionalDirective && one.selectionSet == other.selectionSet;
}

}  // namespace VelaApi::GraphSelections
