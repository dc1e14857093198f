// SPDX-License-Identifier: Apache-2.0

#pragma once

// Attributes of keychain items, for the tests of the item stores.

#include <string>

#include "platform/Security/SecItem.hpp"

namespace platform::testing {

inline SecAttributes item(const std::string& service, const std::string& account) {
    return {{kSecClass, std::string(kSecClassGenericPassword)},
            {kSecAttrService, service},
            {kSecAttrAccount, account}};
}

inline SecAttributes bytes(const std::string& text) {
    return {{kSecValueData, Data{text}}};
}

}  // namespace platform::testing
