// SPDX-License-Identifier: Apache-2.0

#pragma once

// Reaching into JSON by paths such as "/nodes/0/id".

#include <boost/json/value.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "platform/JSON/JSONSerialization.hpp"

namespace json {

inline boost::json::value parsed(std::string_view text) {
    return platform::JSONSerialization::JSONObjectWithData(text);
}

inline std::string text(const boost::json::value& value) {
    return platform::JSONSerialization::dataWithJSONObject(value, platform::JSONKeyOrder::asStored);
}

inline boost::json::value& at(boost::json::value& root, std::string_view path) {
    boost::json::value* place = &root;
    while (!path.empty()) {
        path.remove_prefix(1);
        const std::string step(path.substr(0, path.find('/')));
        path.remove_prefix(step.size());
        place = place->is_array() ? &place->get_array().at(std::stoul(step)) : &place->get_object().at(step);
    }
    return *place;
}

inline std::string_view parent(std::string_view path) {
    return path.substr(0, path.rfind('/'));
}
inline std::string_view lastKey(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

inline void erase(boost::json::value& root, std::string_view path) {
    const std::string_view key = lastKey(path);
    at(root, parent(path)).get_object().erase({key.data(), key.size()});
}

/// The paths of all keys of all objects under `value`, in order.
inline std::vector<std::string> paths(const boost::json::value& value, const std::string& above = "") {
    std::vector<std::string> all;
    const auto below = [&](const boost::json::value& child, const std::string& path) {
        for (std::string& inner : paths(child, path)) all.push_back(std::move(inner));
    };
    if (const auto* object = value.if_object()) {
        for (const auto& [key, child] : *object) {
            all.push_back(above + "/" + std::string(key));
            below(child, all.back());
        }
    } else if (const auto* array = value.if_array()) {
        for (std::size_t index = 0; index < array->size(); ++index) {
            below((*array)[index], above + "/" + std::to_string(index));
        }
    }
    return all;
}

}  // namespace json
