// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <algorithm>
#include <boost/json/value.hpp>

/// Equality by value: a double of a whole value is written as an integer is, and reads back as one.
inline bool isSame(const boost::json::value& one, const boost::json::value& other) {
    if (one.is_number() && other.is_number()) {
        return one == other || one.to_number<double>() == other.to_number<double>();
    }
    if (one.is_array() && other.is_array()) {
        const auto &ones = one.get_array(), &others = other.get_array();
        return std::equal(ones.begin(), ones.end(), others.begin(), others.end(), isSame);
    }
    if (one.is_object() && other.is_object()) {
        const auto &ones = one.get_object(), &others = other.get_object();
        return ones.size() == others.size() && std::all_of(ones.begin(), ones.end(), [&](const auto& member) {
                   const boost::json::value* counterpart = others.if_contains(member.key());
                   return counterpart && isSame(member.value(), *counterpart);
               });
    }
    return one == other;
}
