// SPDX-License-Identifier: Apache-2.0

#include "platform/URLSession/URLRequest.hpp"

#include <algorithm>
#include <utility>

#include "platform/URLSession/FieldName.hpp"

namespace platform {

namespace {

/// The field of that name, added where there is none.
HTTPHeaderField& fieldNamed(std::string_view name, std::vector<HTTPHeaderField>& fields) {
    const auto found = std::find_if(fields.begin(), fields.end(), [name](const HTTPHeaderField& field) {
        return equalsWithoutCase(field.name, name);
    });
    if (found != fields.end()) return *found;
    return fields.emplace_back(HTTPHeaderField{.name = std::string(name), .value = ""});
}

}  // namespace

void URLRequest::setValue(std::string value, std::string_view field) {
    fieldNamed(field, headers).value = std::move(value);
}

void URLRequest::setCredential(std::string value, std::string_view field) {
    auto& header = fieldNamed(field, headers);
    header.value = std::move(value);
    header.isCredential = true;
}

std::optional<std::string> URLRequest::value(std::string_view field) const {
    return fieldValue(headers, field);
}

}  // namespace platform
