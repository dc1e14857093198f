// SPDX-License-Identifier: Apache-2.0

#include "platform/Bundle/AppGroup.hpp"

namespace platform {

std::string appGroup(const std::optional<boost::json::object>& infoDictionary) {
    const auto* group = infoDictionary ? infoDictionary->if_contains("GROUP_IDENTIFIER") : nullptr;
    return group && group->is_string() ? std::string(group->get_string()) : "group.com.tervane.pontal.shared";
}

}  // namespace platform
