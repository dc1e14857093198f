// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/DorvoSupport/FragmentCollapsing.hpp"

#include <algorithm>
#include <utility>

namespace VelaApi {
namespace {

using boost::json::array;
using boost::json::object;
using boost::json::value;

bool isFragment(boost::json::string_view key) {
    return key.starts_with("fragment:");
}

void merge(object&& from, object& into);

void combine(value&& from, value& into) {
    if (from.is_object() && into.is_object()) {
        merge(std::move(from.get_object()), into.get_object());
    } else if (from.is_array() && into.is_array()) {
        array& source = from.get_array();
        array& target = into.get_array();
        const std::size_t common = std::min(source.size(), target.size());
        for (std::size_t index = 0; index < common; ++index) combine(std::move(source[index]), target[index]);
        for (std::size_t index = common; index < source.size(); ++index) {
            target.push_back(std::move(source[index]));
        }
    }
}

void merge(object&& from, object& into) {
    for (auto& [key, element] : from) {
        if (value* present = into.if_contains(key)) {
            combine(std::move(element), *present);
        } else {
            into.emplace(key, std::move(element));
        }
    }
}

bool isListOfDictionaries(const value& element) {
    return element.is_array() && std::all_of(element.get_array().begin(), element.get_array().end(),
                                             [](const value& item) { return item.is_object(); });
}

value collapsedValue(const value& element) {
    if (element.is_object()) return collapsed(element.get_object());
    if (!isListOfDictionaries(element)) return element;
    array list;
    for (const value& item : element.get_array()) list.push_back(collapsed(item.get_object()));
    return list;
}

}  // namespace

// A level's own entries come first, so that what a collision keeps does not depend on the order of the keys.
object collapsed(const object& fields) {
    object level;
    for (const auto& [key, element] : fields) {
        if (!(isFragment(key) && element.is_object())) level.emplace(key, collapsedValue(element));
    }
    for (const auto& [key, element] : fields) {
        if (isFragment(key) && element.is_object()) merge(collapsed(element.get_object()), level);
    }
    return level;
}

}  // namespace VelaApi
