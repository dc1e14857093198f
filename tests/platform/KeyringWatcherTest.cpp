// SPDX-License-Identifier: Apache-2.0

#include "platform/SystemEvents/KeyringWatcher.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <optional>
#include <vector>

#include "tests/support/EventLoop.hpp"
#include "tests/support/PrivateBus.hpp"
#include "tests/support/RecordingLogSink.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/ScriptedService.hpp"

namespace platform::testing {
namespace {

constexpr const char* collection = "/org/freedesktop/secrets/collection/login";
constexpr const char* collectionInterface = "org.freedesktop.Secret.Collection";
constexpr const char* ours = "/org/freedesktop/secrets/collection/login/7";
constexpr const char* foreign = "/org/freedesktop/secrets/collection/login/8";

/// A keyring with items of ours, readable or locked.
class ScriptedKeyring {
  public:
    explicit ScriptedKeyring(const std::string& address) : service_(address, "org.freedesktop.secrets") {
        service_.answer("SearchItems", [this](sd_bus_message* call, sd_bus_message* answer) {
            const char* schema = nullptr;
            sd_bus_message_read(call, "a{ss}", 1, nullptr, &schema);
            const std::lock_guard lock(mutex_);
            appendPaths(answer, isLocked_ ? std::vector<std::string>() : items_);
            return appendPaths(answer, isLocked_ ? items_ : std::vector<std::string>());
        });
        service_.answer("Get", [this](sd_bus_message*, sd_bus_message* answer) {
            const std::lock_guard lock(mutex_);
            return sd_bus_message_append(answer, "v", "t", date_);
        });
    }

    void hold(std::vector<std::string> items) {
        const std::lock_guard lock(mutex_);
        items_ = std::move(items);
    }
    void setDate(std::uint64_t date) {
        const std::lock_guard lock(mutex_);
        date_ = date;
    }
    void setLocked(bool isLocked) {
        {
            const std::lock_guard lock(mutex_);
            isLocked_ = isLocked;
        }
        service_.signal("/org/freedesktop/secrets", "org.freedesktop.Secret.Service", "CollectionChanged",
                        "o", collection);
    }
    void say(const char* member, const char* item) {
        service_.signal(collection, collectionInterface, member, "o", item);
    }
    int searches() const { return service_.calls("SearchItems"); }

  private:
    static int appendPaths(sd_bus_message* message, const std::vector<std::string>& paths) {
        sd_bus_message_open_container(message, 'a', "o");
        for (const auto& path : paths) sd_bus_message_append(message, "o", path.c_str());
        return sd_bus_message_close_container(message);
    }

    std::mutex mutex_;
    std::vector<std::string> items_;
    bool isLocked_ = false;
    std::uint64_t date_ = 1;
    ScriptedService service_;
};

class KeyringWatcherTest : public ::testing::Test {
  protected:
    void watch() {
        watcher_.emplace(loop_.executor(), [this] { ++changes_; });
        ASSERT_TRUE(searchedAgain(0));
    }
    bool searchedAgain(int before) {
        return loop_.runUntil([&] { return keyring_ && keyring_->searches() > before; }) && settle();
    }
    /// Until an answer that was sent has come.
    bool settle() {
        bool isLater = false;
        Alarm later(loop_.executor(), [&] { isLater = true; });
        later.set(std::chrono::milliseconds(100));
        return loop_.runUntil([&] { return isLater; });
    }
    /// That often a change is told of for what `work` has the keyring say, and not more often.
    void expectTold(int times, const std::function<void()>& work, const char* what = "") {
        const int before = changes_;
        const int searches = keyring_ ? keyring_->searches() : 0;
        work();
        EXPECT_TRUE(loop_.runUntil([&] { return changes_ - before >= times; })) << what;
        EXPECT_TRUE(searchedAgain(searches)) << what;
        EXPECT_EQ(changes_ - before, times) << what;
    }

    PrivateBus daemon_;
    ScopedEnvironment environment_{{"DBUS_SESSION_BUS_ADDRESS", daemon_.address()}};
    RecordingLogSink log_;
    EventLoop loop_;
    std::optional<ScriptedKeyring> keyring_{daemon_.address()};
    int changes_ = 0;
    std::optional<KeyringWatcher> watcher_;
};

TEST_F(KeyringWatcherTest, TellsOfAnItemOfOursThatComesChangesAndGoes) {
    watch();
    expectTold(1, [&] {
        keyring_->hold({ours});
        keyring_->say("ItemCreated", ours);
    });
    expectTold(1, [&] { keyring_->say("ItemChanged", ours); });
    expectTold(1, [&] {
        keyring_->hold({});
        keyring_->say("ItemDeleted", ours);
    });
}

TEST_F(KeyringWatcherTest, TheItemsOfOtherProgramsAreNoneOfItsBusiness) {
    keyring_->hold({ours});
    watch();
    for (const char* member : {"ItemCreated", "ItemChanged", "ItemDeleted"})
        expectTold(
            0, [&] { keyring_->say(member, foreign); }, member);
}

TEST_F(KeyringWatcherTest, TellsOfAKeyringThatIsLockedAndUnlocked) {
    keyring_->hold({ours});
    watch();
    expectTold(1, [&] { keyring_->setLocked(true); });
    expectTold(1, [&] { keyring_->setLocked(false); });
}

TEST_F(KeyringWatcherTest, HasAnotherVersionOnceAnItemWasWrittenOrWent) {
    keyring_->hold({ours});
    watch();
    const auto first = watcher_->version();
    EXPECT_NE(first, "");
    expectTold(0, [&] { keyring_->say("ItemCreated", foreign); });
    EXPECT_EQ(watcher_->version(), first) << "another program's";
    expectTold(1, [&] {
        keyring_->setDate(2);
        keyring_->say("ItemChanged", ours);
    });
    const auto second = watcher_->version();
    EXPECT_NE(second, first);
    expectTold(1, [&] {
        keyring_->hold({});
        keyring_->say("ItemDeleted", ours);
    });
    EXPECT_NE(watcher_->version(), second);
    EXPECT_NE(watcher_->version(), "");
}

TEST_F(KeyringWatcherTest, StaysOfItsVersionWhereTheKeyringIsLockedOrGoes) {
    keyring_->hold({ours});
    watch();
    const auto version = watcher_->version();
    expectTold(1, [&] { keyring_->setLocked(true); });
    EXPECT_EQ(watcher_->version(), version);
    expectTold(1, [&] { keyring_->setLocked(false); });
    EXPECT_EQ(watcher_->version(), version);
    keyring_.reset();
    EXPECT_TRUE(loop_.runUntil([&] { return changes_ == 3; }));
    EXPECT_EQ(watcher_->version(), version);
}

TEST_F(KeyringWatcherTest, HasNoVersionOfAKeyringThatIsLockedFromTheBeginning) {
    keyring_->hold({ours});
    keyring_->setLocked(true);
    int learned = 0;
    watcher_.emplace(
        loop_.executor(), [this] { ++changes_; }, [&] { ++learned; });
    ASSERT_TRUE(searchedAgain(0));
    EXPECT_EQ(watcher_->version(), "");
    EXPECT_EQ(learned, 0);
    expectTold(1, [&] { keyring_->setLocked(false); });
    EXPECT_NE(watcher_->version(), "");
}

TEST_F(KeyringWatcherTest, TellsOfAKeyringThatComesLaterAndGoes) {
    keyring_.reset();
    watcher_.emplace(loop_.executor(), [this] { ++changes_; });
    ASSERT_TRUE(settle());
    EXPECT_EQ(changes_, 0);
    keyring_.emplace(daemon_.address());
    keyring_->hold({ours});
    EXPECT_TRUE(loop_.runUntil([&] { return changes_ == 1; }));
    keyring_.reset();
    EXPECT_TRUE(loop_.runUntil([&] { return changes_ == 2; }));
}

TEST_F(KeyringWatcherTest, ABurstIsOneSearch) {
    watch();
    const int before = keyring_->searches();
    for (int item = 0; item < 50; ++item) keyring_->say("ItemCreated", foreign);
    ASSERT_TRUE(searchedAgain(before));
    EXPECT_LT(keyring_->searches() - before, 50);
}

}  // namespace
}  // namespace platform::testing
