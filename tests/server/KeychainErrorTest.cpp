// SPDX-License-Identifier: Apache-2.0

#include "server/KeychainError.hpp"

#include <gtest/gtest.h>

#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace server {
namespace {

TEST(KeychainError, HasACaseForEachStatusAndUnknownForEveryOther) {
    const std::vector<std::pair<platform::OSStatus, std::string_view>> rows = {
        {-4, "unimplemented"},
        {-36, "io"},
        {-49, "opWr"},
        {-50, "param"},
        {-108, "allocate"},
        {-128, "userCanceled"},
        {-909, "badReq"},
        {-2070, "internalComponent"},
        {-25291, "notAvailable"},
        {-25299, "duplicateItem"},
        {-25300, "itemNotFound"},
        {-25308, "interactionNotAllowed"},
        {-26275, "decode"},
        {-25293, "authFailed"},
        {-34018, "missingEntitlement"},
        {-25243, "noAccessForItem"},
        {-1, "unknown"},
        {1, "unknown"},
        {-2147483648, "unknown"},
        {2147483647, "unknown"},
    };
    for (const auto& [status, name] : rows) {
        const auto error = KeychainError::ofStatus(status);
        ASSERT_TRUE(error) << status;
        EXPECT_EQ(error->name(), name);
        EXPECT_STREQ(error->what(), std::string(name).c_str());
    }
    EXPECT_EQ(KeychainError::ofStatus(0), std::nullopt);
}

TEST(KeychainError, IsHashableOnItsCase) {
    const std::unordered_set<KeychainError> errors = {
        *KeychainError::ofStatus(-36), KeychainError(KeychainError::io), *KeychainError::ofStatus(-1),
        *KeychainError::ofStatus(1)};
    EXPECT_EQ(errors.size(), 2u);
    EXPECT_TRUE(errors.contains(KeychainError(KeychainError::unknown)));
    EXPECT_FALSE(errors.contains(KeychainError(KeychainError::param)));
}

}  // namespace
}  // namespace server
