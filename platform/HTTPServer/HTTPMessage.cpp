// SPDX-License-Identifier: Apache-2.0

#include "platform/HTTPServer/HTTPMessage.hpp"

#include "platform/Text/ASCII.hpp"

namespace platform {

std::string_view HTTPRequest::path() const {
    return std::string_view(target).substr(0, target.find('?'));
}

std::string_view HTTPRequest::query() const {
    const auto mark = target.find('?');
    return mark == std::string::npos ? std::string_view() : std::string_view(target).substr(mark + 1);
}

std::vector<std::string_view> HTTPRequest::values(std::string_view field) const {
    std::vector<std::string_view> found;
    for (const HTTPField& each : fields)
        if (equalsWithoutCase(each.name, field)) found.emplace_back(each.value);
    return found;
}

}  // namespace platform
