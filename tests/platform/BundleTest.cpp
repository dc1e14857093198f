// SPDX-License-Identifier: Apache-2.0

#include "platform/Bundle/Bundle.hpp"

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.hpp"

namespace platform {
namespace {

using testing::TemporaryFolder;

TEST(Bundle, ReadsItsInfoDictionary) {
    const TemporaryFolder folder;
    folder.write("Info.json", R"({"GROUP_IDENTIFIER": "group.example"})");
    const auto bundle = Bundle::at(folder.path());
    EXPECT_EQ(bundle.resourceFolder(), folder.path());
    ASSERT_TRUE(bundle.infoDictionary());
    EXPECT_EQ(bundle.infoDictionary()->at("GROUP_IDENTIFIER"), "group.example");
}

TEST(Bundle, HasNoInfoDictionaryWithoutAFile) {
    EXPECT_FALSE(Bundle::at(TemporaryFolder().path()).infoDictionary());
    EXPECT_FALSE(Bundle::at("/nonexistent").infoDictionary());
    EXPECT_FALSE(Bundle::at("").infoDictionary());
}

TEST(Bundle, HasNoInfoDictionaryInAFileThatIsNoObject) {
    const TemporaryFolder folder;
    for (const std::string& text :
         {std::string(), std::string("[]"), std::string("{"), std::string("{\"a\":\"\xFF\"}"),
          "{\"a\":\"" + std::string(2 << 20, 'x') + "\"}"}) {
        folder.write("Info.json", text);
        EXPECT_FALSE(Bundle::at(folder.path()).infoDictionary()) << text.substr(0, 20);
    }
}

TEST(Bundle, HasNoInfoDictionaryWhereAFolderStands) {
    const TemporaryFolder folder;
    folder.write("Info.json/file", "");
    EXPECT_FALSE(Bundle::at(folder.path()).infoDictionary());
}

}  // namespace
}  // namespace platform
