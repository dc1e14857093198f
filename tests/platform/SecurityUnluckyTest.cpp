// SPDX-License-Identifier: Apache-2.0

// The embedded keychain in unlucky moments: killed at every step, out of space, without the right to write.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <set>
#include <string>
#include <utility>

#include "platform/Security/EmbeddedItemStore.hpp"
#include "tests/platform/KeychainItems.hpp"
#include "tests/platform/SystemCallFaults.hpp"
#include "tests/support/ChildProcess.hpp"
#include "tests/support/FolderAttribute.hpp"
#include "tests/support/SmallDisk.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace platform {
namespace {

namespace fs = std::filesystem;
using platform::testing::cannotMount;
using platform::testing::ChildProcess;
using platform::testing::fillDisk;
using platform::testing::fillUp;
using platform::testing::FolderAttribute;
using platform::testing::item;
using platform::testing::longTests;
using platform::testing::meetLooks;
using platform::testing::meetOpenings;
using platform::testing::meetSystemCalls;
using platform::testing::runInChild;
using platform::testing::runWithoutPrivileges;
using platform::testing::withSmallDisk;
using ::testing::AnyOf;
using ::testing::HasSubstr;

/// Stores a token as the layer above does: asks, then changes or adds.
bool put(SecItemStore& store, const std::string& service, const std::string& account,
         const std::string& bytes) {
    const SecAttributes value = {{kSecValueData, Data{bytes}}};
    SecAttributes whole = item(service, account);
    whole.insert(value.begin(), value.end());
    const bool exists = store.copyMatching(item(service, account), nullptr) == errSecSuccess;
    return (exists ? store.update(item(service, account), value) : store.add(whole)) == errSecSuccess;
}

OSStatus putPair(SecItemStore& store, const std::string& bytes) {
    const auto transaction = store.beginTransaction();
    for (const char* account : {"a", "b"}) put(store, "now", account, bytes);
    return transaction->commit();
}

/// Moves an old pair here, as a first read does with each of its halves.
OSStatus movePair(SecItemStore& store, const std::string& bytes) {
    const auto transaction = store.beginTransaction();
    for (const char* account : {"a", "b"}) {
        put(store, "now", account, bytes);
        store.remove(item("before", account));
    }
    return transaction->commit();
}

class UnluckyKeychain : public ::testing::Test {
  protected:
    std::string data(const char* service, const char* account) {
        SecAttributes query = item(service, account);
        query.emplace(kSecReturnData, true);
        SecResult result;
        const OSStatus status = store.copyMatching(query, &result);
        if (status == errSecItemNotFound) return "-";
        return status == errSecSuccess ? std::get<Data>(result).bytes.substr(0, 1) : std::to_string(status);
    }
    /// The first byte of each half, here and in the old place.
    std::string state() {
        return data("now", "a") + data("now", "b") + data("before", "a") + data("before", "b");
    }
    void startAfresh() {
        fs::remove_all(file.parent_path());
        fs::create_directories(file.parent_path());
    }

    platform::testing::TemporaryFolder folder;
    fs::path file = folder.path() / "vela" / "keychain.sqlite";
    EmbeddedItemStore store{file};
};

struct Road {
    const char* name;
    std::function<void(SecItemStore&)> prepare;
    std::function<OSStatus(SecItemStore&)> take;
    const char* before;
    const char* after;
};

const std::string longToken(9000, '2');
const std::vector<Road> roads = {
    {"sign-in", [](SecItemStore&) {}, [](SecItemStore& store) { return putPair(store, "2"); }, "----",
     "22--"},
    {"renewal", [](SecItemStore& store) { putPair(store, "1"); },
     [](SecItemStore& store) { return putPair(store, "2"); }, "11--", "22--"},
    {"renewal by longer tokens", [](SecItemStore& store) { putPair(store, "1"); },
     [](SecItemStore& store) { return putPair(store, longToken); }, "11--", "22--"},
    {"migration",
     [](SecItemStore& store) {
         put(store, "before", "a", "1");
         put(store, "before", "b", "1");
     },
     [](SecItemStore& store) { return movePair(store, "1"); }, "--11", "11--"},
    {"sign-out", [](SecItemStore& store) { putPair(store, "1"); },
     [](SecItemStore& store) {
         const auto transaction = store.beginTransaction();
         store.remove({{kSecClass, std::string(kSecClassGenericPassword)}});
         return transaction->commit();
     },
     "11--", "----"},
};

TEST_F(UnluckyKeychain, HoldsTheOldOrTheNewStateAfterAKillAtEverySystemCall) {
    for (const Road& road : roads) {
        SCOPED_TRACE(road.name);
        int last = 0;
        for (int fatal = 1; last == 0; ++fatal) {
            startAfresh();
            road.prepare(store);
            const int code = runInChild([&] {
                meetSystemCalls([fatal](int number) {
                    if (number == fatal) ::raise(SIGKILL);
                    return 0;
                });
                return road.take(store);
            });
            EXPECT_THAT(state(), AnyOf(road.before, road.after)) << "killed at call " << fatal;
            if (code == 0) {
                EXPECT_EQ(state(), road.after);
                last = fatal;
            }
            EXPECT_EQ(putPair(store, "3"), errSecSuccess) << "killed at call " << fatal;
        }
        EXPECT_GT(last, 5) << "too few calls were met";
    }
}

TEST_F(UnluckyKeychain, TellsTheTruthWhenASystemCallFails) {
    for (const Road& road : roads) {
        std::vector<int> errors = {ENOSPC};
        if (longTests()) errors.insert(errors.end(), {EIO, EDQUOT, EACCES, ENOENT, EMFILE});
        for (const int error : errors) {
            SCOPED_TRACE(std::string(road.name) + ", errno " + std::to_string(error));
            bool wasMet = true;
            for (int failing = 1; wasMet; ++failing) {
                startAfresh();
                road.prepare(store);
                const int code = runInChild([&] {
                    bool hasFailed = false;
                    meetSystemCalls([&](int number) {
                        hasFailed = hasFailed || number == failing;
                        return number == failing ? error : 0;
                    });
                    const bool isKept = road.take(store) == errSecSuccess;
                    return hasFailed ? (isKept ? 1 : 2) : 3;
                });
                wasMet = code != 3;
                EXPECT_EQ(state(), code == 2 ? road.before : road.after)
                    << "call " << failing << ", reported as " << (code == 2 ? "failed" : "kept");
            }
        }
    }
}

TEST_F(UnluckyKeychain, KeepsARenewedPairThoughACallFailsInPassing) {
    for (const int error : {EIO, EMFILE, EACCES}) {
        SCOPED_TRACE("errno " + std::to_string(error));
        int code = 1;
        for (int failing = 1; code != 0; ++failing) {
            startAfresh();
            putPair(store, "1");
            code = runInChild([&] {
                bool wasMet = false;
                meetLooks([&](int number) {
                    wasMet = wasMet || number == failing;
                    return number == failing ? error : 0;
                });
                if (putPair(store, "2") != errSecSuccess) return 2;
                return wasMet ? 1 : 0;
            });
            EXPECT_NE(code, 2) << "look " << failing;
            EXPECT_EQ(state(), "22--") << "look " << failing;
        }
    }
}

TEST_F(UnluckyKeychain, SurvivesAJournalThatCannotBeMadeForOnce) {
    putPair(store, "1");
    EXPECT_EQ(runInChild([&] {
                  meetSystemCalls([](int number) { return number == 1 ? EACCES : 0; });
                  return putPair(store, "2");
              }),
              errSecSuccess);
    EXPECT_EQ(state(), "22--");
}

/// What the folder's files hold.
std::uintmax_t used(const fs::path& folder) {
    std::uintmax_t size = 0;
    for (const auto& entry : fs::directory_iterator(folder)) size += entry.file_size();
    return size;
}

TEST_F(UnluckyKeychain, RenewsThePairOnAFullDisk) {
    putPair(store, std::string(3000, '1'));
    EXPECT_EQ(runInChild([&] {
                  fillDisk(file.parent_path(), used(file.parent_path()));
                  for (const char digit : {'2', '3', '4'}) {
                      if (store.lock(SecItemHold::shared)->tryAcquire() != errSecSuccess) return 1;
                      if (putPair(store, std::string(3000, digit)) != errSecSuccess) return digit - '0';
                  }
                  return 0;
              }),
              0);
    EXPECT_EQ(state(), "44--");
}

TEST_F(UnluckyKeychain, MovesAnOldPairOnAFullDisk) {
    for (const char* account : {"a", "b"}) put(store, "before", account, "1");
    EXPECT_EQ(runInChild([&] {
                  fillDisk(file.parent_path(), used(file.parent_path()));
                  return movePair(store, "1");
              }),
              errSecSuccess);
    EXPECT_EQ(state(), "11--");
}

TEST_F(UnluckyKeychain, DoesNotRedoWhatASignOutInBetweenHasMadeVoid) {
    for (const char* account : {"a", "b"}) put(store, "before", account, "1");
    EXPECT_EQ(runInChild([&] {
                  bool hasFailed = false;
                  meetSystemCalls([&](int) { return std::exchange(hasFailed, true) ? 0 : ENOSPC; });
                  bool isSignedOut = false;
                  meetOpenings([&] {
                      if (!hasFailed || std::exchange(isSignedOut, true)) return;
                      runInChild([&] {
                          EmbeddedItemStore other(file);
                          return other.remove({{kSecClass, std::string(kSecClassGenericPassword)}});
                      });
                  });
                  const OSStatus status = movePair(store, "1");
                  return isSignedOut && status == errSecInteractionNotAllowed ? 0 : 1;
              }),
              0);
    EXPECT_EQ(state(), "----");
}

TEST_F(UnluckyKeychain, LosesNothingOnAFullDiskWithoutAReserve) {
    for (const char* account : {"a", "b"}) put(store, "before", account, "1");
    EXPECT_EQ(runInChild([&] {
                  fs::remove(file.parent_path() / "keychain.reserve");
                  fillDisk(file.parent_path(), used(file.parent_path()));
                  return movePair(store, "1") == errSecIO && putPair(store, "2") == errSecIO ? 0 : 1;
              }),
              0);
    EXPECT_EQ(state(), "--11");
}

TEST_F(UnluckyKeychain, RenewsThePairOnARealDiskWithoutAFreeByte) {
    startAfresh();
    const int code = withSmallDisk(file.parent_path(), "512k", [&] {
        if (putPair(store, "1") != errSecSuccess) return 1;
        fillUp(file.parent_path());
        for (const char* digit : {"2", "3", "4"}) {
            if (store.lock(SecItemHold::shared)->tryAcquire() != errSecSuccess) return 2;
            if (putPair(store, digit) != errSecSuccess) return 3;
            if (state() != std::string(2, *digit) + "--") return 4;
        }
        return 0;
    });
    if (code == cannotMount) GTEST_SKIP() << "no disk of one's own may be mounted here";
    EXPECT_EQ(code, 0);
}

TEST_F(UnluckyKeychain, LetsNoRenewalBeginWithoutRoomForItsPair) {
    startAfresh();
    const int code = withSmallDisk(file.parent_path(), "64k", [&] {
        if (putPair(store, "1") != errSecSuccess) return 1;
        if (store.lock(SecItemHold::shared)->tryAcquire() != errSecIO) return 2;
        if (SecItemFault().find("has no room for a renewed token") == std::string::npos) return 3;
        // A person may sign out, and in again, as long as the disk has room for that.
        return store.lock(SecItemHold::exclusive)->tryAcquire() == errSecSuccess ? 0 : 4;
    });
    if (code == cannotMount) GTEST_SKIP() << "no disk of one's own may be mounted here";
    EXPECT_EQ(code, 0);
}

TEST_F(UnluckyKeychain, SetsAsideAsMuchRoomAsItNeedsByNowBeforeARenewal) {
    startAfresh();
    ASSERT_EQ(putPair(store, "1"), errSecSuccess);
    const auto reserve = file.parent_path() / "keychain.reserve";
    fs::resize_file(reserve, 1);
    EXPECT_EQ(store.lock(SecItemHold::shared)->tryAcquire(), errSecSuccess);
    EXPECT_GT(fs::file_size(reserve), fs::file_size(file));
}

TEST_F(UnluckyKeychain, IsRefusedOnAReadOnlyDisk) {
    startAfresh();
    const int code = withSmallDisk(file.parent_path(), "1m", [&] {
        if (putPair(store, "1") != errSecSuccess) return 1;
        if (::mount("none", file.parent_path().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) != 0)
            return cannotMount;
        if (data("now", "a") != std::to_string(errSecIO)) return 2;
        if (SecItemFault().find("cannot be written (Read-only file system)") == std::string::npos) return 3;
        return store.lock(SecItemHold::shared)->tryAcquire() == errSecIO ? 0 : 4;
    });
    if (code == cannotMount) GTEST_SKIP() << "no disk of one's own may be mounted here";
    EXPECT_EQ(code, 0);
}

TEST_F(UnluckyKeychain, IsRefusedWhereItsFileOrItsFolderMayNotBeWritten) {
    struct Row {
        const char* what;
        fs::path path;
        mode_t mode;
    };
    const std::vector<Row> rows = {{"file", file, 0400}, {"folder", file.parent_path(), 0500}};
    for (const Row& row : rows) {
        EXPECT_EQ(runWithoutPrivileges([&] {
                      // The temporary folder may be another user's by now.
                      const platform::testing::TemporaryFolder own;
                      const fs::path ownFile = own.path() / "vela" / "keychain.sqlite";
                      EmbeddedItemStore ownStore(ownFile);
                      if (putPair(ownStore, "1") != errSecSuccess) return 1;
                      const fs::path path = own.path() / row.path.lexically_relative(folder.path());
                      ::chmod(path.c_str(), row.mode);
                      const OSStatus read = ownStore.copyMatching(item("now", "a"), nullptr);
                      const std::string fault = SecItemFault();
                      const OSStatus lock = ownStore.lock(SecItemHold::shared)->tryAcquire();
                      ::chmod(path.c_str(), 0700);
                      if (read != errSecIO || lock != errSecIO) return 2;
                      return fault.find(path.string() + " cannot be written (Permission denied)") !=
                                     std::string::npos
                                 ? 0
                                 : 3;
                  }),
                  0)
            << row.what;
    }
}

/// The names in the keychain's folder.
std::set<std::string> names(const fs::path& folder) {
    std::set<std::string> found;
    for (const auto& entry : fs::directory_iterator(folder)) found.insert(entry.path().filename());
    return found;
}

TEST_F(UnluckyKeychain, LetsARenewalBeginAndLeavesNoTraceOfItsTrial) {
    ASSERT_EQ(putPair(store, "1"), errSecSuccess);
    ASSERT_EQ(store.lock(SecItemHold::exclusive)->tryAcquire(), errSecSuccess);
    const auto before = names(file.parent_path());
    EXPECT_EQ(store.lock(SecItemHold::shared)->tryAcquire(), errSecSuccess);
    EXPECT_EQ(names(file.parent_path()), before);
    EXPECT_EQ(state(), "11--");
    EXPECT_EQ(store.copyMatching(item("rehearsal", ""), nullptr), errSecItemNotFound);
}

TEST_F(UnluckyKeychain, LetsNoRenewalBeginWhereALinkStandsInTheJournalsPlace) {
    ASSERT_EQ(putPair(store, "1"), errSecSuccess);
    ASSERT_EQ(store.lock(SecItemHold::exclusive)->tryAcquire(), errSecSuccess);
    const fs::path journal = file.string() + "-journal";
    fs::create_symlink("nowhere", journal);
    const auto before = names(file.parent_path());
    EXPECT_EQ(store.lock(SecItemHold::shared)->tryAcquire(), errSecIO);
    EXPECT_THAT(SecItemFault(), HasSubstr("cannot be written"));
    EXPECT_THAT(SecItemFault(), HasSubstr("so that a renewed token could not be kept"));
    EXPECT_EQ(store.lock(SecItemHold::exclusive)->tryAcquire(), errSecSuccess) << "a person may sign out";
    EXPECT_EQ(names(file.parent_path()), before);
    EXPECT_EQ(state(), "11--");
    fs::remove(journal);
    EXPECT_EQ(store.lock(SecItemHold::shared)->tryAcquire(), errSecSuccess);
}

TEST_F(UnluckyKeychain, LetsNoRenewalBeginInAFolderThatFilesCanOnlyBeAddedTo) {
    ASSERT_EQ(putPair(store, "1"), errSecSuccess);
    {
        const FolderAttribute appending(file.parent_path(), FS_APPEND_FL);
        if (!appending.isSet()) GTEST_SKIP() << "no folder can be made so here";
        EXPECT_EQ(store.lock(SecItemHold::shared)->tryAcquire(), errSecIO);
        EXPECT_THAT(SecItemFault(), HasSubstr("so that a renewed token could not be kept"));
        EXPECT_EQ(state(), "11--");
    }
    EXPECT_EQ(state(), "11--");
    EXPECT_EQ(store.lock(SecItemHold::shared)->tryAcquire(), errSecSuccess);
}

TEST_F(UnluckyKeychain, LetsNoRenewalBeginWhereNoFileCanBeMade) {
    ASSERT_EQ(putPair(store, "1"), errSecSuccess);
    EXPECT_EQ(runInChild([&] {
                  meetSystemCalls([](int) { return EACCES; });
                  return store.lock(SecItemHold::shared)->tryAcquire();
              }),
              static_cast<std::uint8_t>(errSecIO));
    EXPECT_EQ(state(), "11--");
}

TEST_F(UnluckyKeychain, LetsNoRenewalBeginWhileAnotherProcessKeepsItForLong) {
    ASSERT_EQ(putPair(store, "1"), errSecSuccess);
    const auto transaction = store.beginTransaction();
    ASSERT_EQ(store.update(item("now", "a"), {{kSecValueData, Data{"2"}}}), errSecSuccess);
    EmbeddedItemStore hasty(file, {.read = std::chrono::milliseconds(20)});
    EXPECT_EQ(hasty.lock(SecItemHold::shared)->tryAcquire(), errSecIO) << "as if it were to be asked again";
}

TEST_F(UnluckyKeychain, ExcludesByTheLockFileThatIsThereNow) {
    ASSERT_EQ(putPair(store, "1"), errSecSuccess);
    auto first = store.lock(SecItemHold::exclusive);
    ASSERT_EQ(first->tryAcquire(), errSecSuccess);
    const auto second = store.lock(SecItemHold::exclusive);
    ASSERT_EQ(second->tryAcquire(), errSecInteractionNotAllowed);
    fs::remove(fs::path(file).replace_extension(".lock"));
    first.reset();
    EXPECT_EQ(second->tryAcquire(), errSecSuccess);
    EXPECT_EQ(store.lock(SecItemHold::shared)->tryAcquire(), errSecInteractionNotAllowed);
}

TEST_F(UnluckyKeychain, WaitsHalfAMinuteForTheRightToWrite) {
    EXPECT_EQ(EmbeddedItemStore::Patience().write, std::chrono::seconds(30));
    EXPECT_EQ(EmbeddedItemStore::Patience().read, std::chrono::seconds(2));
}

}  // namespace
}  // namespace platform
