// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <random>
#include <thread>

#include "platform/Security/EmbeddedItemStore.hpp"
#include "platform/Security/SecItem.hpp"
#include "tests/platform/KeychainItems.hpp"
#include "tests/platform/SecretServiceSession.hpp"
#include "tests/support/ChildProcess.hpp"
#include "tests/support/FixedAmbient.hpp"
#include "tests/support/InMemoryItemStore.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/ScriptedItemStore.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace platform {
namespace {

using platform::testing::bytes;
using platform::testing::ChildProcess;
using platform::testing::item;
using platform::testing::Keyring;
using platform::testing::longTests;
using platform::testing::runInChild;
using platform::testing::Session;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string genericPassword = kSecClassGenericPassword;
const std::string matchAll = kSecMatchLimitAll;
const std::string whenUnlocked = kSecAttrAccessibleWhenUnlocked;
const std::string afterFirstUnlock = kSecAttrAccessibleAfterFirstUnlock;

SecAttributes operator+(SecAttributes first, const SecAttributes& second) {
    for (const auto& [key, value] : second) first.insert_or_assign(key, value);
    return first;
}

const SecAttributes everything = {
    {kSecClass, genericPassword}, {kSecReturnData, true}, {kSecMatchLimit, matchAll}};
const SecAttributes returningData = {{kSecReturnData, true}};
const SecAttributes returningBoth = {{kSecReturnData, true}, {kSecReturnAttributes, true}};

enum class Dates { ours, theService };

// One set of rules for every kind of store.
struct Kind {
    const char* name;
    std::function<std::unique_ptr<SecItemStore>(const std::filesystem::path&)> make;
    Dates dates = Dates::ours;
};

const Kind embedded = {"Embedded", [](const std::filesystem::path& folder) {
                           return std::make_unique<EmbeddedItemStore>(folder / "vela" / "k.sqlite");
                       }};
const Kind inMemory = {"InMemory", [](const std::filesystem::path&) {
                           return std::make_unique<platform::testing::InMemoryItemStore>();
                       }};
const Kind secretService = {"SecretService",
                            [](const std::filesystem::path& folder) {
                                return std::make_unique<SecretServiceItemStore>(folder / "vela" / "k.lock");
                            },
                            Dates::theService};

/// For the names of the tests.
std::ostream& operator<<(std::ostream& stream, const Kind& kind) {
    return stream << kind.name;
}

class ItemStore : public ::testing::TestWithParam<Kind> {
  protected:
    /// The keyring of a session's own takes a process of its own.
    template <typename Body>
    void run(Body body) {
        if (GetParam().dates == Dates::ours) {
            body();
            return;
        }
        EXPECT_EQ(runInChild([&] {
                      {
                          const Session session(Keyring::unlocked);
                          body();
                          store.reset();
                      }
                      return HasFailure() ? 1 : 0;
                  }),
                  0);
    }

    std::vector<Data> all() {
        SecResult result;
        const OSStatus status = store->copyMatching(everything, &result);
        return status == errSecSuccess ? std::get<std::vector<Data>>(result) : std::vector<Data>();
    }
    std::string data(const SecAttributes& query) {
        SecResult result;
        const OSStatus status = store->copyMatching(query + returningData, &result);
        return status == errSecSuccess ? std::get<Data>(result).bytes : "status " + std::to_string(status);
    }
    Date date(const SecAttributes& query, const char* key) {
        SecResult result;
        EXPECT_EQ(store->copyMatching(query + returningBoth, &result), errSecSuccess);
        return std::get<Date>(std::get<SecAttributes>(result).at(key));
    }
    /// More than the second that the service counts by.
    void passTime() {
        if (GetParam().dates == Dates::ours)
            ambient.advance(5.25);
        else
            ::usleep(1100000);
    }

    platform::testing::TemporaryFolder folder;
    platform::testing::FixedAmbient ambient;
    std::unique_ptr<SecItemStore> store = GetParam().make(folder.path());
};

const auto nameOfKind = [](const auto& kind) { return std::string(kind.param.name); };
INSTANTIATE_TEST_SUITE_P(Kinds, ItemStore, ::testing::Values(embedded, inMemory, secretService), nameOfKind);

TEST_P(ItemStore, GivesBackTheBytesThatWereAdded) {
    run([&] {
        const std::string secret("a\0b\xff\n", 5);
        EXPECT_EQ(store->add(item("s", "a") + bytes(secret)), errSecSuccess);
        EXPECT_EQ(data(item("s", "a")), secret);
    });
}

TEST_P(ItemStore, KeepsTextsOfAnyKindApart) {
    run([&] {
        std::vector<std::string> accounts = {"",
                                             "a",
                                             "A",
                                             "a ",
                                             "\xc3\xa9",
                                             "e\xcc\x81",
                                             "'; DROP TABLE items; --",
                                             "\n",
                                             std::string(10000, 'x')};
        // The bus carries no zero byte.
        if (GetParam().dates == Dates::ours) accounts.emplace_back("a\0", 2);
        for (const std::string& account : accounts)
            EXPECT_EQ(store->add(item("s", account) + bytes(account)), errSecSuccess);
        for (const std::string& account : accounts) EXPECT_EQ(data(item("s", account)), account);
    });
}

TEST_P(ItemStore, FindsNothingWhereNothingMatches) {
    run([&] {
        SecResult result = Data{"untouched"};
        EXPECT_EQ(store->copyMatching(item("s", "a"), &result), errSecItemNotFound);
        EXPECT_EQ(store->copyMatching(everything, &result), errSecItemNotFound);
        EXPECT_EQ(store->update(item("s", "a"), bytes("x")), errSecItemNotFound);
        EXPECT_EQ(store->remove(item("s", "a")), errSecItemNotFound);
        EXPECT_EQ(result, SecResult(Data{"untouched"}));
    });
}

TEST_P(ItemStore, AnswersByStatusAloneWithoutAResultSlot) {
    run([&] {
        ASSERT_EQ(store->add(item("s", "a") + bytes("x")), errSecSuccess);
        EXPECT_EQ(store->copyMatching(item("s", "a"), nullptr), errSecSuccess);
        EXPECT_EQ(store->copyMatching(item("s", "b"), nullptr), errSecItemNotFound);
    });
}

TEST_P(ItemStore, YieldsWhatIsAskedFor) {
    run([&] {
        ASSERT_EQ(store->add(item("s", "a") + bytes("x")), errSecSuccess);
        const SecAttributes attributes =
            item("s", "a") +
            SecAttributes{{kSecAttrAccessGroup, std::string()},
                          {kSecAttrAccessible, whenUnlocked},
                          {kSecAttrCreationDate, date(item("s", "a"), kSecAttrCreationDate)},
                          {kSecAttrModificationDate, date(item("s", "a"), kSecAttrModificationDate)}};
        const SecAttributes all = {{kSecMatchLimit, matchAll}};
        const SecAttributes one = {{kSecMatchLimit, std::string(kSecMatchLimitOne)}};
        const SecAttributes returningAttributes = {{kSecReturnAttributes, true}};
        struct Row {
            SecAttributes asked;
            SecResult expected;
        };
        const std::vector<Row> rows = {
            {{}, std::monostate()},
            {{{kSecReturnData, false}}, std::monostate()},
            {all, std::monostate()},
            {returningData, Data{"x"}},
            {returningData + one, Data{"x"}},
            {returningData + all, std::vector{Data{"x"}}},
            {returningAttributes, attributes},
            {returningAttributes + all, std::vector{attributes}},
            {returningBoth, attributes + bytes("x")},
            {returningBoth + all, std::vector{attributes + bytes("x")}},
        };
        for (std::size_t row = 0; row < rows.size(); ++row) {
            SecResult result = Data{"before"};
            EXPECT_EQ(store->copyMatching(item("s", "a") + rows[row].asked, &result), errSecSuccess)
                << "row " << row;
            EXPECT_EQ(result, rows[row].expected) << "row " << row;
        }
    });
}

TEST_P(ItemStore, ListsInOrderOfCreation) {
    run([&] {
        for (const char* account : {"c", "a", "b"})
            ASSERT_EQ(store->add(item("s", account) + bytes(account)), errSecSuccess);
        ASSERT_EQ(store->update(item("s", "c"), bytes("changed")), errSecSuccess);
        ASSERT_EQ(store->remove(item("s", "a")), errSecSuccess);
        ASSERT_EQ(store->add(item("s", "a") + bytes("again")), errSecSuccess);
        EXPECT_THAT(all(), ElementsAre(Data{"changed"}, Data{"b"}, Data{"again"}));
    });
}

TEST_P(ItemStore, FiltersByEveryAttribute) {
    run([&] {
        const SecAttributes full = item("s", "a") + SecAttributes{{kSecAttrAccessGroup, std::string("g")},
                                                                  {kSecAttrAccessible, afterFirstUnlock}};
        ASSERT_EQ(store->add(full + bytes("x")), errSecSuccess);
        const Date created = date(full, kSecAttrCreationDate);
        const Date modified = date(full, kSecAttrModificationDate);
        const SecAttributes complete =
            full + SecAttributes{{kSecAttrCreationDate, created}, {kSecAttrModificationDate, modified}};
        EXPECT_EQ(data(complete), "x");
        const SecAttributes others = {{kSecAttrService, std::string("other")},
                                      {kSecAttrAccount, std::string("other")},
                                      {kSecAttrAccessGroup, std::string("other")},
                                      {kSecAttrAccessible, whenUnlocked},
                                      {kSecAttrCreationDate, created.addingTimeInterval(1)},
                                      {kSecAttrModificationDate, modified.addingTimeInterval(1)}};
        for (const auto& [key, value] : others) {
            EXPECT_EQ(store->copyMatching(complete + SecAttributes{{key, value}}, nullptr),
                      errSecItemNotFound)
                << key;
            SecAttributes without = complete;
            without.erase(key);
            EXPECT_EQ(store->copyMatching(without, nullptr), errSecSuccess) << key;
        }
    });
}

TEST_P(ItemStore, TakesOneItemOfEachIdentity) {
    run([&] {
        const SecAttributes group = {{kSecAttrAccessGroup, std::string("g")}};
        ASSERT_EQ(store->add(item("s", "a") + bytes("first")), errSecSuccess);
        EXPECT_EQ(store->add(item("s", "a") + bytes("second")), errSecDuplicateItem);
        EXPECT_EQ(store->add(item("s", "a") + SecAttributes{{kSecAttrAccessible, afterFirstUnlock}}),
                  errSecDuplicateItem);
        EXPECT_EQ(store->add(item("s", "a") + group + bytes("third")), errSecSuccess);
        EXPECT_EQ(store->add(item("t", "a") + bytes("fourth")), errSecSuccess);
        EXPECT_THAT(all(), ElementsAre(Data{"first"}, Data{"third"}, Data{"fourth"}));
    });
}

TEST_P(ItemStore, UpdatesOnlyWhatIsGivenAndTheModificationDate) {
    run([&] {
        const SecAttributes kept = item("s", "a") + SecAttributes{{kSecAttrAccessGroup, std::string()},
                                                                  {kSecAttrAccessible, afterFirstUnlock}};
        ASSERT_EQ(store->add(kept + bytes("old")), errSecSuccess);
        const Date made = date(kept, kSecAttrCreationDate);
        passTime();
        ASSERT_EQ(store->update(item("s", "a"), bytes("new")), errSecSuccess);
        const Date modified = date(kept, kSecAttrModificationDate);
        EXPECT_GT(modified, made);
        if (GetParam().dates == Dates::ours) {
            EXPECT_EQ(modified, made.addingTimeInterval(5.25));
        }
        SecResult result;
        ASSERT_EQ(store->copyMatching(item("s", "a") + returningBoth, &result), errSecSuccess);
        const SecAttributes dates = {{kSecAttrCreationDate, made}, {kSecAttrModificationDate, modified}};
        EXPECT_EQ(std::get<SecAttributes>(result), kept + bytes("new") + dates);
    });
}

TEST_P(ItemStore, RenewsTheModificationDateForEqualBytesToo) {
    run([&] {
        ASSERT_EQ(store->add(item("s", "a") + bytes("same")), errSecSuccess);
        const Date before = date(item("s", "a"), kSecAttrModificationDate);
        passTime();
        ASSERT_EQ(store->update(item("s", "a"), bytes("same")), errSecSuccess);
        EXPECT_GT(date(item("s", "a"), kSecAttrModificationDate), before);
    });
}

TEST_P(ItemStore, UpdatesEveryMatch) {
    run([&] {
        for (const char* account : {"a", "b"})
            ASSERT_EQ(store->add(item("s", account) + bytes("old")), errSecSuccess);
        ASSERT_EQ(store->add(item("t", "c") + bytes("old")), errSecSuccess);
        EXPECT_EQ(
            store->update({{kSecClass, genericPassword}, {kSecAttrService, std::string("s")}}, bytes("new")),
            errSecSuccess);
        EXPECT_THAT(all(), ElementsAre(Data{"new"}, Data{"new"}, Data{"old"}));
    });
}

TEST_P(ItemStore, RefusesAnUpdateIntoATakenIdentityWhole) {
    run([&] {
        for (const char* account : {"a", "b", "c"})
            ASSERT_EQ(store->add(item("s", account) + bytes(account)), errSecSuccess);
        const SecAttributes toTaken = SecAttributes{{kSecAttrAccount, std::string("c")}} + bytes("new");
        EXPECT_EQ(store->update(item("s", "a"), toTaken), errSecDuplicateItem);
        EXPECT_EQ(
            store->update({{kSecClass, genericPassword}}, SecAttributes{{kSecAttrAccount, std::string("d")}}),
            errSecDuplicateItem);
        EXPECT_THAT(all(), ElementsAre(Data{"a"}, Data{"b"}, Data{"c"}));
        EXPECT_EQ(store->update(item("s", "a"), SecAttributes{{kSecAttrAccount, std::string("d")}}),
                  errSecSuccess);
        EXPECT_EQ(data(item("s", "d")), "a");
    });
}

TEST_P(ItemStore, RemovesEveryMatch) {
    run([&] {
        for (const char* account : {"a", "b"})
            ASSERT_EQ(store->add(item("s", account) + bytes(account)), errSecSuccess);
        ASSERT_EQ(store->add(item("t", "a") + bytes("kept")), errSecSuccess);
        EXPECT_EQ(store->remove({{kSecClass, genericPassword}, {kSecAttrService, std::string("s")}}),
                  errSecSuccess);
        EXPECT_THAT(all(), ElementsAre(Data{"kept"}));
    });
}

TEST_P(ItemStore, RefusesUnusableQueries) {
    run([&] {
        ASSERT_EQ(store->add(item("s", "a") + bytes("x")), errSecSuccess);
        struct Row {
            const char* why;
            SecAttributes with;
            bool inCopy, inChange, inAdd, inUpdate;
        };
        const std::string text = "text";
        const std::vector<Row> rows = {
            {"class of another kind", {{kSecClass, std::string("inet")}}, true, true, true, true},
            {"class that is no text", {{kSecClass, true}}, true, true, true, true},
            {"service that is no text", {{kSecAttrService, Data{"s"}}}, true, true, true, true},
            {"account that is no text", {{kSecAttrAccount, true}}, true, true, true, true},
            {"group that is no text", {{kSecAttrAccessGroup, Date::now()}}, true, true, true, true},
            {"unknown accessibility", {{kSecAttrAccessible, text}}, true, true, true, true},
            {"date that is none", {{kSecAttrCreationDate, text}}, true, true, true, true},
            {"data that is text", {{kSecValueData, text}}, true, true, true, true},
            {"flag that is none", {{kSecReturnData, text}}, true, true, true, true},
            {"limit that is none", {{kSecMatchLimit, text}}, true, true, true, true},
            {"unknown key", {{"unknown", text}}, true, true, true, true},
            {"data as a filter", bytes("x"), true, true, false, false},
            {"asking a change for data", returningData, false, true, true, true},
            {"a limit on a change", {{kSecMatchLimit, matchAll}}, false, true, true, true},
            {"dates of one's own", {{kSecAttrModificationDate, Date::now()}}, false, false, true, true},
            {"another class", {{kSecClass, genericPassword}}, false, false, false, true},
        };
        for (const Row& row : rows) {
            SCOPED_TRACE(row.why);
            const SecAttributes query = item("s", "a") + row.with;
            EXPECT_EQ(store->copyMatching(query, nullptr) == errSecParam, row.inCopy);
            EXPECT_EQ(store->update(query, {}) == errSecParam, row.inChange);
            EXPECT_EQ(store->add(query) == errSecParam, row.inAdd);
            EXPECT_EQ(store->update(item("s", "a"), row.with) == errSecParam, row.inUpdate);
            if (row.inChange) {
                EXPECT_EQ(store->remove(query), errSecParam);
            }
        }
        EXPECT_EQ(store->copyMatching({{kSecAttrService, std::string("s")}}, nullptr), errSecParam);
        EXPECT_EQ(store->add({{kSecAttrService, std::string("s")}}), errSecParam);
        EXPECT_EQ(store->update({}, bytes("y")), errSecParam);
        EXPECT_EQ(store->remove({}), errSecParam);
        EXPECT_EQ(data(item("s", "a")), "x");
    });
}

TEST_P(ItemStore, TakesTheAbsentForEmpty) {
    run([&] {
        ASSERT_EQ(store->add({{kSecClass, genericPassword}}), errSecSuccess);
        EXPECT_EQ(store->add(item("", "")), errSecDuplicateItem);
        EXPECT_EQ(data({{kSecClass, genericPassword}, {kSecAttrAccessible, whenUnlocked}}), "");
    });
}

TEST_P(ItemStore, KeepsAWholeTransaction) {
    run([&] {
        ASSERT_EQ(store->add(item("s", "a") + bytes("old")), errSecSuccess);
        ASSERT_EQ(store->add(item("s", "gone") + bytes("x")), errSecSuccess);
        const auto transaction = store->beginTransaction();
        EXPECT_EQ(store->update(item("s", "a"), bytes("new")), errSecSuccess);
        EXPECT_EQ(store->add(item("s", "b") + bytes("also new")), errSecSuccess);
        EXPECT_EQ(store->remove(item("s", "gone")), errSecSuccess);
        EXPECT_THAT(all(), ElementsAre(Data{"new"}, Data{"also new"})) << "it sees what it has done";
        EXPECT_EQ(transaction->commit(), errSecSuccess);
        EXPECT_THAT(all(), ElementsAre(Data{"new"}, Data{"also new"}));
    });
}

TEST_P(ItemStore, KeepsNothingOfATransactionWithoutACommit) {
    run([&] {
        ASSERT_EQ(store->add(item("s", "a") + bytes("old")), errSecSuccess);
        {
            const auto transaction = store->beginTransaction();
            EXPECT_EQ(store->update(item("s", "a"), bytes("new")), errSecSuccess);
            EXPECT_EQ(store->add(item("s", "b") + bytes("new")), errSecSuccess);
        }
        EXPECT_THAT(all(), ElementsAre(Data{"old"}));
    });
}

TEST_P(ItemStore, KeepsNothingOfATransactionInWhichAWriteFails) {
    run([&] {
        ASSERT_EQ(store->add(item("s", "a") + bytes("old")), errSecSuccess);
        {
            const auto transaction = store->beginTransaction();
            EXPECT_EQ(store->update(item("s", "a"), bytes("new")), errSecSuccess);
            EXPECT_EQ(store->add(item("s", "a") + bytes("twice")), errSecDuplicateItem);
            EXPECT_EQ(store->remove(item("s", "a")), errSecDuplicateItem);
            EXPECT_EQ(transaction->commit(), errSecDuplicateItem);
            EXPECT_THAT(transaction->lostAccounts(), ElementsAre("a"));
        }
        EXPECT_THAT(all(), ElementsAre(Data{"old"}));
    });
}

TEST_P(ItemStore, TakesTheDeletionOfWhatIsNotThereForNoFailure) {
    run([&] {
        const auto transaction = store->beginTransaction();
        EXPECT_EQ(store->add(item("s", "a") + bytes("x")), errSecSuccess);
        EXPECT_EQ(store->remove(item("s", "b")), errSecItemNotFound);
        EXPECT_EQ(transaction->commit(), errSecSuccess);
        EXPECT_THAT(all(), ElementsAre(Data{"x"}));
    });
}

TEST_P(ItemStore, MakesATransactionWithinAnotherAPartOfIt) {
    run([&] {
        {
            const auto outer = store->beginTransaction();
            {
                const auto inner = store->beginTransaction();
                EXPECT_EQ(store->add(item("s", "a") + bytes("x")), errSecSuccess);
                EXPECT_EQ(inner->commit(), errSecSuccess);
            }
            EXPECT_EQ(store->add(item("s", "b") + bytes("y")), errSecSuccess);
        }
        EXPECT_THAT(all(), IsEmpty()) << "the outer one was not committed";
        {
            const auto outer = store->beginTransaction();
            EXPECT_EQ(store->add(item("s", "a") + bytes("x")), errSecSuccess);
            { const auto inner = store->beginTransaction(); }
            EXPECT_EQ(outer->commit(), errSecIO) << "a part of it was not committed";
        }
        EXPECT_THAT(all(), IsEmpty());
    });
}

TEST_P(ItemStore, HoldsItsLockSharedOrExclusively) {
    run([&] {
        ASSERT_EQ(store->add(item("s", "a") + bytes("x")), errSecSuccess);
        auto first = store->lock(SecItemHold::shared);
        const auto second = store->lock(SecItemHold::shared);
        EXPECT_EQ(first->tryAcquire(), errSecSuccess);
        EXPECT_EQ(second->tryAcquire(), errSecSuccess) << "renewals go on side by side";
        auto exclusive = store->lock(SecItemHold::exclusive);
        EXPECT_EQ(exclusive->tryAcquire(), errSecInteractionNotAllowed);
        first.reset();
        EXPECT_EQ(exclusive->tryAcquire(), errSecInteractionNotAllowed);
    });
}

TEST_P(ItemStore, LetsNobodyInWhileItIsHeldExclusively) {
    run([&] {
        ASSERT_EQ(store->add(item("s", "a") + bytes("x")), errSecSuccess);
        auto held = store->lock(SecItemHold::exclusive);
        EXPECT_EQ(held->tryAcquire(), errSecSuccess);
        EXPECT_EQ(store->lock(SecItemHold::shared)->tryAcquire(), errSecInteractionNotAllowed);
        EXPECT_EQ(store->lock(SecItemHold::exclusive)->tryAcquire(), errSecInteractionNotAllowed);
        held.reset();
        EXPECT_EQ(store->lock(SecItemHold::shared)->tryAcquire(), errSecSuccess);
        EXPECT_EQ(store->lock(SecItemHold::exclusive)->tryAcquire(), errSecSuccess);
    });
}

// What only a store that processes share can show.
class SharedItemStore : public ItemStore {
  protected:
    /// The data of accounts a and b, as a process sees them that comes afterwards; "-" for none.
    std::string pair() {
        EXPECT_EQ(runInChild([&] {
                      std::string found;
                      for (const char* account : {"a", "b"}) {
                          const auto bytesFound = data(item("s", account));
                          found += bytesFound == "status -25300" ? "-" : bytesFound;
                      }
                      folder.write("found", found);
                      return 0;
                  }),
                  0);
        return folder.read("found");
    }
    bool storePair(const std::string& bytesOfBoth) {
        const auto transaction = store->beginTransaction();
        for (const char* account : {"a", "b"}) {
            const bool exists = store->copyMatching(item("s", account), nullptr) == errSecSuccess;
            const auto status = exists ? store->update(item("s", account), bytes(bytesOfBoth))
                                       : store->add(item("s", account) + bytes(bytesOfBoth));
            EXPECT_EQ(status, errSecSuccess) << SecItemFault();
        }
        const OSStatus status = transaction->commit();
        EXPECT_EQ(status, errSecSuccess) << SecItemFault();
        return status == errSecSuccess;
    }
};

INSTANTIATE_TEST_SUITE_P(Kinds, SharedItemStore, ::testing::Values(embedded, secretService), nameOfKind);

TEST_P(SharedItemStore, TakesOneItemOfEachIdentityFromTwoProcessesAtOnce) {
    run([&] {
        const auto add = [this] {
            for (int number = 0; number < 20; ++number) {
                const OSStatus status = store->add(item("s", std::to_string(number)) + bytes("x"));
                if (status != errSecSuccess && status != errSecDuplicateItem) return 1;
            }
            return 0;
        };
        ChildProcess first(add);
        ChildProcess second(add);
        EXPECT_EQ(first.wait(), 0);
        EXPECT_EQ(second.wait(), 0);
        EXPECT_EQ(all().size(), 20u);
    });
}

TEST_P(SharedItemStore, KeepsThePairOfOneOfTwoWritersAtOnce) {
    run([&] {
        const auto write = [this](const char* name) {
            return [this, name] {
                for (int round = 0; round < 10; ++round)
                    if (!storePair(name)) return 1;
                return 0;
            };
        };
        ChildProcess first(write("1"));
        ChildProcess second(write("2"));
        EXPECT_EQ(first.wait(), 0);
        EXPECT_EQ(second.wait(), 0);
        EXPECT_THAT(pair(), ::testing::AnyOf("11", "22"));
    });
}

TEST_P(SharedItemStore, HoldsAWholeOldOrAWholeNewPairAfterAKillAtAnyInstant) {
    run([&] {
        const int kills = longTests() ? 2000 : 40;
        ASSERT_EQ(runInChild([&] { return storePair("0") ? 0 : 1; }), 0);
        // The service's library alone takes longer to load than the embedded store to write.
        const auto span = GetParam().dates == Dates::ours ? 30000 : 200000;
        std::mt19937 random(7);
        for (int round = 0; round < kills; ++round) {
            ChildProcess writer([&] {
                for (int turn = 0;; ++turn)
                    if (!storePair(std::to_string(turn % 10))) return 1;
            });
            std::this_thread::sleep_for(std::chrono::microseconds(random() % span));
            writer.kill();
            writer.wait();
            const std::string found = pair();
            ASSERT_EQ(found.size(), 2u) << "round " << round << ": " << found;
            ASSERT_EQ(found[0], found[1]) << "round " << round;
        }
        EXPECT_EQ(runInChild([&] { return storePair("x") ? 0 : 1; }), 0);
        EXPECT_EQ(pair(), "xx");
    });
}

TEST_P(SharedItemStore, WaitsForAnotherProcesssTransaction) {
    run([&] {
        ASSERT_EQ(runInChild([&] { return storePair("0") ? 0 : 1; }), 0);
        std::array<int, 2> ready = {-1, -1};
        std::array<int, 2> mayGoOn = {-1, -1};
        ASSERT_EQ(::pipe(ready.data()), 0);
        ASSERT_EQ(::pipe(mayGoOn.data()), 0);
        ChildProcess first([&] {
            const auto transaction = store->beginTransaction();
            if (store->update(item("s", "a"), bytes("1")) != errSecSuccess) return 1;
            (void)!::write(ready[1], "x", 1);
            char byte = 0;
            if (::read(mayGoOn[0], &byte, 1) != 1) return 1;
            if (store->update(item("s", "b"), bytes("1")) != errSecSuccess) return 1;
            return transaction->commit() == errSecSuccess ? 0 : 1;
        });
        char byte = 0;
        ASSERT_EQ(::read(ready[0], &byte, 1), 1);
        EXPECT_EQ(pair(), "00") << "readers do not wait";
        ChildProcess second([&] { return storePair("2") ? 0 : 1; });
        // Long enough for one who does not wait to be in between.
        ::usleep(300000);
        EXPECT_EQ(pair(), "00");
        EXPECT_EQ(::write(mayGoOn[1], "x", 1), 1);
        EXPECT_EQ(first.wait(), 0);
        EXPECT_EQ(second.wait(), 0);
        EXPECT_EQ(pair(), "22");
    });
}

TEST_P(SharedItemStore, LetsNobodyAddWhatATransactionHasAskedForInOrderToAddIt) {
    run([&] {
        std::array<int, 2> ready = {-1, -1};
        ASSERT_EQ(::pipe(ready.data()), 0);
        ChildProcess first([&] {
            const auto transaction = store->beginTransaction();
            if (store->copyMatching(item("s", "a"), nullptr) != errSecItemNotFound) return 1;
            (void)!::write(ready[1], "x", 1);
            ::usleep(300000);
            for (const char* account : {"a", "b"})
                if (store->add(item("s", account) + bytes("1")) != errSecSuccess) return 2;
            return transaction->commit() == errSecSuccess ? 0 : 3;
        });
        char byte = 0;
        ASSERT_EQ(::read(ready[0], &byte, 1), 1);
        EXPECT_EQ(runInChild([&] { return storePair("2") ? 0 : 1; }), 0);
        EXPECT_EQ(first.wait(), 0);
        EXPECT_EQ(pair(), "22");
    });
}

// A person signs out while another process has found a token in its old place and is about to move it.
TEST_P(SharedItemStore, LetsNobodyRemoveWhatATransactionHasFoundAfterFindingNothing) {
    run([&] {
        ASSERT_EQ(runInChild([&] { return store->add(item("old", "a") + bytes("token")); }), 0);
        std::array<int, 2> ready = {-1, -1};
        ASSERT_EQ(::pipe(ready.data()), 0);
        ChildProcess migration([&] {
            const auto transaction = store->beginTransaction();
            if (data(item("s", "a")) != "status -25300" || data(item("old", "a")) != "token") return 1;
            (void)!::write(ready[1], "x", 1);
            ::usleep(300000);
            if (store->add(item("s", "a") + bytes("token")) != errSecSuccess) return 2;
            if (store->remove(item("old", "a")) != errSecSuccess) return 3;
            return transaction->commit() == errSecSuccess ? 0 : 4;
        });
        char byte = 0;
        ASSERT_EQ(::read(ready[0], &byte, 1), 1);
        EXPECT_EQ(runInChild([&] { return store->remove({{kSecClass, genericPassword}}); }), 0);
        EXPECT_EQ(migration.wait(), 0);
        EXPECT_THAT(all(), IsEmpty());
    });
}

TEST_P(SharedItemStore, LetsWhoWaitsExclusivelyComeBeforeWhoComesLater) {
    run([&] {
        ASSERT_EQ(store->add(item("s", "a") + bytes("x")), errSecSuccess);
        auto renewal = store->lock(SecItemHold::shared);
        ASSERT_EQ(renewal->tryAcquire(), errSecSuccess);
        auto signOut = store->lock(SecItemHold::exclusive);
        EXPECT_EQ(signOut->tryAcquire(), errSecInteractionNotAllowed);
        EXPECT_EQ(store->lock(SecItemHold::shared)->tryAcquire(), errSecInteractionNotAllowed);
        renewal.reset();
        EXPECT_EQ(signOut->tryAcquire(), errSecSuccess);
        signOut.reset();
        EXPECT_EQ(store->lock(SecItemHold::shared)->tryAcquire(), errSecSuccess);
    });
}

TEST_P(SharedItemStore, IsLetGoOfByAProcessThatDies) {
    run([&] {
        ASSERT_EQ(runInChild([&] { return store->add(item("s", "a") + bytes("x")); }), 0);
        std::array<int, 2> ready = {-1, -1};
        ASSERT_EQ(::pipe(ready.data()), 0);
        ChildProcess holder([&] {
            const auto held = store->lock(SecItemHold::exclusive);
            if (held->tryAcquire() != errSecSuccess) return 1;
            (void)!::write(ready[1], "x", 1);
            for (;;) ::pause();
        });
        char byte = 0;
        ASSERT_EQ(::read(ready[0], &byte, 1), 1);
        const auto lock = store->lock(SecItemHold::shared);
        EXPECT_EQ(lock->tryAcquire(), errSecInteractionNotAllowed);
        holder.kill();
        holder.wait();
        EXPECT_EQ(lock->tryAcquire(), errSecSuccess);
    });
}

TEST(SecItemCalls, GoToTheStoreInForce) {
    platform::testing::ScriptedItemStore store;
    const SecItemStore::Override override(store);
    store.answer(errSecSuccess, Data{"x"});
    for (int call = 0; call < 3; ++call) store.answer(errSecInteractionNotAllowed);

    SecResult result;
    EXPECT_EQ(SecItemCopyMatching(item("s", "a"), &result), errSecSuccess);
    EXPECT_EQ(result, SecResult(Data{"x"}));
    EXPECT_EQ(SecItemAdd(item("s", "b")), errSecInteractionNotAllowed);
    EXPECT_EQ(SecItemUpdate(item("s", "c"), bytes("y")), errSecInteractionNotAllowed);
    EXPECT_EQ(SecItemDelete(item("s", "d")), errSecInteractionNotAllowed);

    using platform::testing::SecItemCall;
    using platform::testing::SecItemRequest;
    EXPECT_THAT(store.requests(),
                ElementsAre(SecItemRequest{SecItemCall::copyMatching, item("s", "a"), {}, true},
                            SecItemRequest{SecItemCall::add, item("s", "b")},
                            SecItemRequest{SecItemCall::update, item("s", "c"), bytes("y")},
                            SecItemRequest{SecItemCall::remove, item("s", "d")}));
}

}  // namespace
}  // namespace platform
