// SPDX-License-Identifier: Apache-2.0

#include "platform/SystemEvents/KeychainWatch.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/SystemEvents/KeychainVersion.hpp"
#include "tests/support/EventLoop.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace platform::testing {
namespace {

namespace fs = std::filesystem;

class KeychainWatchTest : public ::testing::Test {
  protected:
    KeychainWatchTest() { fs::create_directory(folder_.path() / "vela"); }

    fs::path file() const { return folder_.path() / "vela/keychain.sqlite"; }
    void write(const char* text) const { folder_.write("vela/keychain.sqlite", text); }

    TemporaryFolder folder_;
    ScopedEnvironment environment_{{"XDG_DATA_HOME", folder_.path().string()},
                                   {"VELA_KEYCHAIN", std::nullopt}};
    EventLoop loop_;
    int changes_ = 0;
};

TEST_F(KeychainWatchTest, TellsOfAKeychainThatComesIsWrittenAndGoes) {
    const KeychainWatch watch(loop_.executor(), [this] { ++changes_; });
    std::string before = watch.version();
    EXPECT_NE(before, "");
    for (const auto& change : {std::function<void()>([&] { write("some"); }),
                               {[&] { write("others"); }},
                               {[&] { fs::remove(file()); }}}) {
        change();
        EXPECT_TRUE(loop_.runUntil([&] { return watch.version() != before; }));
        before = watch.version();
        EXPECT_TRUE(areOfSameKeychain(before, keychainVersion(file())));
        EXPECT_EQ(before, keychainVersion(file()));
    }
    EXPECT_GE(changes_, 3);
}

TEST_F(KeychainWatchTest, TellsNothingOfWhatIsOnlyRead) {
    write("some");
    const KeychainWatch watch(loop_.executor(), [this] { ++changes_; });
    folder_.read("vela/keychain.sqlite");
    fs::permissions(file(), fs::perms::owner_read);
    folder_.write("vela/keychain.lock", "");
    loop_.runReady();
    EXPECT_EQ(changes_, 0);
}

TEST(KeychainVersion, IsComparedWithThoseOfTheSameKeychainAlone) {
    EXPECT_TRUE(areOfSameKeychain(keychainVersion("one", "a"), keychainVersion("one", "b")));
    EXPECT_NE(keychainVersion("one", "a"), keychainVersion("one", "b"));
    EXPECT_FALSE(areOfSameKeychain(keychainVersion("one", "a"), keychainVersion("another", "a")));
    EXPECT_FALSE(areOfSameKeychain("", ""));
}

}  // namespace
}  // namespace platform::testing
