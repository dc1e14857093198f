// SPDX-License-Identifier: Apache-2.0

#include "platform/Text/Base64.hpp"

#include <gtest/gtest.h>

namespace platform {
namespace {

TEST(Base64, IsThatOfTheStandardsOwnExamples) {
    // RFC 4648, section 10.
    const std::pair<const char*, const char*> rows[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
    };
    for (const auto& [bytes, text] : rows) EXPECT_EQ(base64(bytes), text);
    EXPECT_EQ(base64(std::string("\0\xFF\xFE", 3)), "AP/+");
}

}  // namespace
}  // namespace platform
