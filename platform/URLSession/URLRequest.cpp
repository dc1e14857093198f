#include "platform/URLSession/URLRequest.hpp"

#include <algorithm>
#include <utility>

#include "platform/URLSession/FieldName.hpp"

namespace platform {

void URLRequest::setValue(std::string value, std::string_view field) {
    const auto found = std::find_if(headers.begin(), headers.end(), [field](const HTTPHeaderField& header) {
        return isSameFieldName(header.name, field);
    });
    if (found != headers.end()) {
        found->value = std::move(value);
    } else {
        headers.push_back({std::string(field), std::move(value)});
    }
}

std::optional<std::string> URLRequest::value(std::string_view field) const {
    return fieldValue(headers, field);
}

}  // namespace platform
