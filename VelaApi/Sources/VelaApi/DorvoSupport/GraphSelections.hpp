// SPDX-License-Identifier: Apache-2.0

#pragma once

// The value model of a parsed operation: what it selects, with which arguments, on which types. Plain values,
// compared member by member; a choice is equal when the case and all it carries are equal. Safe from any
// thread. It has all that the language has, although the operations of today use a part of it.

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace VelaApi::GraphSelections {

struct Selection;
struct ObjectField;

struct OperationType {
    enum class Kind { mutation, query, subscription };

    Kind kind;
    /// The operation's own name.
    std::string name;

    static OperationType mutation(std::string name) { return {Kind::mutation, std::move(name)}; }
    static OperationType query(std::string name) { return {Kind::query, std::move(name)}; }
    static OperationType subscription(std::string name) { return {Kind::subscription, std::move(name)}; }

    bool operator==(const OperationType&) const = default;
};

/// A type of the schema, by kind and name.
struct TypeCondition {
    enum class Kind { object, interface, union_, scalar };

    Kind kind;
    std::string name;

    static TypeCondition object(std::string name) { return {Kind::object, std::move(name)}; }
    static TypeCondition interface(std::string name) { return {Kind::interface, std::move(name)}; }
    static TypeCondition union_(std::string name) { return {Kind::union_, std::move(name)}; }
    static TypeCondition scalar(std::string name) { return {Kind::scalar, std::move(name)}; }

    bool operator==(const TypeCondition&) const = default;
};

struct ArgumentValue {
    struct Variable {
        std::string name;
        bool operator==(const Variable&) const = default;
    };
    struct String {
        std::string text;
        bool operator==(const String&) const = default;
    };
    struct Enum {
        std::string text;
        bool operator==(const Enum&) const = default;
    };
    struct List {
        std::vector<ArgumentValue> values;
        friend bool operator==(const List& one, const List& other);
    };
    struct Object {
        std::vector<ObjectField> fields;
        friend bool operator==(const Object& one, const Object& other);
    };
    struct Null {
        bool operator==(const Null&) const = default;
    };

    std::variant<Variable, std::int64_t, float, String, bool, Enum, List, Object, Null> choice;

    static ArgumentValue variable(std::string name);
    static ArgumentValue intValue(std::int64_t value);
    static ArgumentValue floatValue(float value);
    static ArgumentValue stringValue(std::string text);
    static ArgumentValue booleanValue(bool value);
    static ArgumentValue enumValue(std::string text);
    static ArgumentValue listValue(std::vector<ArgumentValue> values);
    static ArgumentValue objectValue(std::vector<ObjectField> fields);
    static ArgumentValue nullValue();

    friend bool operator==(const ArgumentValue& one, const ArgumentValue& other);
};

struct ObjectField {
    std::string name;
    ArgumentValue value;

    bool operator==(const ObjectField&) const = default;
};

struct Argument {
    std::string name;
    ArgumentValue value;

    bool operator==(const Argument&) const = default;
};

/// Whether a selection takes part, by the value of its "if" condition.
struct ConditionalDirective {
    enum class Kind { skip, include };

    Kind kind;
    ArgumentValue condition;

    static ConditionalDirective skip(ArgumentValue condition) { return {Kind::skip, std::move(condition)}; }
    static ConditionalDirective include(ArgumentValue condition) {
        return {Kind::include, std::move(condition)};
    }

    bool operator==(const ConditionalDirective&) const = default;
};

struct Field {
    std::string name;
    std::optional<std::string> alias = std::nullopt;
    std::optional<ConditionalDirective> conditionalDirective = std::nullopt;
    std::vector<Argument> arguments;
    TypeCondition parentType;
    TypeCondition type;
    std::vector<Selection> selectionSet;

    friend bool operator==(const Field& one, const Field& other);
};

struct FragmentSpread {
    std::string name;
    TypeCondition typeCondition;
    std::vector<Selection> selectionSet;

    friend bool operator==(const FragmentSpread& one, const FragmentSpread& other);
};

struct InlineFragment {
    TypeCondition typeCondition;
    std::optional<ConditionalDirective> conditionalDirective = std::nullopt;
    std::vector<Selection> selectionSet;

    friend bool operator==(const InlineFragment& one, const InlineFragment& other);
};

struct Selection {
    struct Spread {
        FragmentSpread fragment;
        std::optional<ConditionalDirective> conditionalDirective = std::nullopt;

        bool operator==(const Spread&) const = default;
    };

    std::variant<Field, Spread, InlineFragment> choice;

    static Selection field(Field field) { return {std::move(field)}; }
    static Selection fragmentSpread(FragmentSpread fragment,
                                    std::optional<ConditionalDirective> directive = std::nullopt) {
        return {Spread{std::move(fragment), std::move(directive)}};
    }
    static Selection inlineFragment(InlineFragment fragment) { return {std::move(fragment)}; }

    bool operator==(const Selection&) const = default;
};

struct Operation {
    OperationType type;
    std::vector<Selection> selectionSet;

    bool operator==(const Operation&) const = default;
};

}  // namespace VelaApi::GraphSelections
