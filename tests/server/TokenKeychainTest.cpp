// SPDX-License-Identifier: Apache-2.0

#include "server/TokenKeychain.hpp"

#include <stdexcept>

#include "tests/server/KeychainTwin.hpp"

namespace server {
namespace {

using platform::Data;
using platform::SecAttributes;
using platform::SecItemStore;
using platform::testing::InMemoryItemStore;
using platform::testing::ScriptedItemStore;
using platform::testing::SecItemCall;
using platform::testing::SecItemRequest;
using platform::testing::SecItemTransactionRecord;

class ScriptedMigration : public ScriptedKeychain {
  protected:
    /// The calls of an accessor that finds its token in the old place, the writes answered as told.
    std::vector<SecItemRequest> migration(platform::OSStatus added, platform::OSStatus removed,
                                          const std::string& expectedLines) {
        ScriptedItemStore scripted;
        const SecItemStore::Override scriptInForce(scripted);
        scripted.answer(platform::errSecItemNotFound);
        scripted.answer(platform::errSecSuccess, Data{"old"});
        scripted.answer(platform::errSecItemNotFound);
        scripted.answer(added);
        scripted.answer(removed);
        EXPECT_EQ(printed([] { EXPECT_EQ(TokenKeychain().accessToken(), "old"); }),
                  "Failed to fetch item accessToken with reason itemNotFound\n" + expectedLines);
        const std::vector<SecItemTransactionRecord> one = {{.begin = 0, .end = 5, .isCommitted = true}};
        EXPECT_EQ(scripted.transactions(), one);
        return scripted.requests();
    }
};

TEST_F(ScriptedMigration, WritesAndThenDeletesWhateverTheWriteAnswered) {
    const auto current = itemQuery("com.brightfen.pontal_ck", "ck", "accessToken");
    const auto legacy = itemQuery("com.brightfen.pontal_ak", "ak", "accessToken");
    const SecAttributes oneItemsData = {{"r_Data", true}, {"m_Limit", std::string("m_LimitOne")}};
    const std::vector<SecItemRequest> expected = {
        {.call = SecItemCall::copyMatching, .attributes = with(current, oneItemsData), .hasResultSlot = true},
        {.call = SecItemCall::copyMatching, .attributes = with(legacy, oneItemsData), .hasResultSlot = true},
        {.call = SecItemCall::copyMatching, .attributes = current},
        {.call = SecItemCall::add, .attributes = with(current, {{"v_Data", Data{"old"}}})},
        {.call = SecItemCall::remove, .attributes = legacy},
    };
    EXPECT_EQ(migration(platform::errSecSuccess, platform::errSecSuccess, ""), expected);
    EXPECT_EQ(migration(platform::errSecSuccess, platform::errSecItemNotFound, ""), expected);
    EXPECT_EQ(migration(platform::errSecIO, platform::errSecSuccess,
                        "Failed to save item accessToken with reason io\n"),
              expected);
    EXPECT_EQ(migration(platform::errSecSuccess, platform::errSecIO,
                        "Failed to save item accessToken with reason io\n"),
              expected);
}

TEST_F(KeychainOnAStore, AFirstReadOnAnEmptyDeviceLogsBothLocations) {
    EXPECT_EQ(printed([] { EXPECT_EQ(TokenKeychain().accessToken(), std::nullopt); }),
              "Failed to fetch item accessToken with reason itemNotFound\n"
              "Failed to fetch item accessToken with reason itemNotFound\n");
}

TEST_F(KeychainOnAStore, ATokenInTheLegacyServiceOnlyIsMovedOnFirstRead) {
    const auto legacy = legacyTokenKeychain();
    legacy.setData(Data{"old"}, "accessToken");
    legacy.setData(Data{"older"}, "refreshToken");
    EXPECT_EQ(printed([] { EXPECT_EQ(TokenKeychain().accessToken(), "old"); }),
              "Failed to fetch item accessToken with reason itemNotFound\n");
    EXPECT_EQ(printed([] { EXPECT_EQ(TokenKeychain().refreshToken(), "older"); }),
              "Failed to fetch item refreshToken with reason itemNotFound\n");
    EXPECT_TRUE(legacy.allItems().empty());
    EXPECT_EQ(sample.dataForKey("accessToken"), Data{"old"});
    EXPECT_EQ(printed([] { EXPECT_EQ(TokenKeychain().accessToken(), "old"); }), "");
}

TEST_F(KeychainOnAStore, StoredBytesThatAreNotUTF8YieldNothingAndDoNotMigrate) {
    legacyTokenKeychain().setData(Data{"\xff\xfe"}, "accessToken");
    EXPECT_EQ(printed([] { EXPECT_EQ(TokenKeychain().accessToken(), std::nullopt); }),
              "Failed to fetch item accessToken with reason itemNotFound\n");
    EXPECT_EQ(legacyTokenKeychain().allItems().size(), 1u);
    EXPECT_TRUE(sample.allItems().empty());
}

TEST_F(KeychainOnAStore, BytesThatAreNotUTF8InTheCurrentServiceFallBackToTheLegacyOne) {
    sample.setData(Data{"\xff"}, "accessToken");
    legacyTokenKeychain().setData(Data{"old"}, "accessToken");
    EXPECT_EQ(printed([] { EXPECT_EQ(TokenKeychain().accessToken(), "old"); }), "");
    EXPECT_EQ(sample.stringValue("accessToken"), "old");
}

// Fails the call that it is told to, and its commit.
class FailingItemStore : public InMemoryItemStore {
  public:
    enum class Failing { nothing, insert, replace, erase, commit };
    Failing failing = Failing::nothing;

  protected:
    std::unique_ptr<platform::KeychainTransaction> begin(Access access) override {
        return std::make_unique<Transaction>(InMemoryItemStore::begin(access), *this);
    }

  private:
    class Transaction : public platform::KeychainTransaction {
      public:
        Transaction(std::unique_ptr<platform::KeychainTransaction> real, const FailingItemStore& store)
            : real_(std::move(real)), store_(store) {}
        std::vector<platform::KeychainItem> items(const platform::KeychainQuery& query) override {
            return real_->items(query);
        }
        void rehearse() override { real_->rehearse(); }
        void insert(const platform::KeychainItem& item) override {
            failAt(Failing::insert);
            real_->insert(item);
        }
        void replace(const platform::KeychainItem& item, const platform::KeychainItem& replacement) override {
            failAt(Failing::replace);
            real_->replace(item, replacement);
        }
        void erase(const platform::KeychainItem& item) override {
            failAt(Failing::erase);
            real_->erase(item);
        }
        void commit() override {
            failAt(Failing::commit);
            real_->commit();
        }

      private:
        void failAt(Failing call) const {
            if (store_.failing == call) throw platform::KeychainFailure{platform::errSecIO};
        }
        std::unique_ptr<platform::KeychainTransaction> real_;
        const FailingItemStore& store_;
    };
};

class ExclusiveAccess : public testing::Test {
  protected:
    using Failing = FailingItemStore::Failing;

    static std::string read(const Keychain& keychain, const char* key) {
        const auto data = keychain.dataForKey(key);
        return data ? data->bytes : "none";
    }
    static void storePair(const std::string& bytes) { TokenKeychain().store(bytes, bytes); }
    std::string pair() {
        std::string found;
        printed([&] { found = read(sample, "accessToken") + " " + read(sample, "refreshToken"); });
        return found;
    }

    FailingItemStore store;
    SecItemStore::Override inForce{store};
};

TEST_F(ExclusiveAccess, KeepsAWholePair) {
    EXPECT_EQ(printed([] { storePair("new"); }), "");
    EXPECT_EQ(pair(), "new new");
}

TEST_F(ExclusiveAccess, KeepsNothingOfAPairOfWhichOneHalfFails) {
    sample.setData(Data{"old"}, "accessToken");
    store.failing = Failing::insert;
    EXPECT_EQ(printed([] { storePair("new"); }),
              "Failed to save item refreshToken with reason io\n"
              "Failed to save item accessToken with reason io\n");
    EXPECT_EQ(pair(), "old none");
}

TEST_F(ExclusiveAccess, LogsEveryWriteOfACommitThatFails) {
    storePair("old");
    store.failing = Failing::commit;
    EXPECT_EQ(printed([] { storePair("new"); }),
              "Failed to save item accessToken with reason io\n"
              "Failed to save item refreshToken with reason io\n");
    store.failing = Failing::nothing;
    EXPECT_EQ(pair(), "old old");
}

TEST_F(ExclusiveAccess, LosesNoLegacyTokenByAMigrationOfWhichAnyStepFails) {
    for (const auto failing : {Failing::insert, Failing::replace, Failing::erase, Failing::commit}) {
        store.failing = Failing::nothing;
        const auto legacy = legacyTokenKeychain();
        legacy.setData(Data{"old"}, "accessToken");
        // Bytes that are no text fall back to the old place too, and are replaced by it.
        if (failing == Failing::replace) sample.setData(Data{"\xff"}, "accessToken");
        store.failing = failing;
        printed([] { EXPECT_EQ(TokenKeychain().accessToken(), "old"); });
        store.failing = Failing::nothing;
        EXPECT_EQ(read(legacy, "accessToken"), "old") << static_cast<int>(failing);
        printed([] { EXPECT_EQ(TokenKeychain().accessToken(), "old"); });
        EXPECT_EQ(read(sample, "accessToken"), "old") << static_cast<int>(failing);
        EXPECT_TRUE(legacy.allItems().empty());
        sample.deleteAll();
    }
}

TEST_F(ExclusiveAccess, KeepsNothingWhenItIsLeftByAnException) {
    EXPECT_THROW(tokenKeychain().withExclusiveAccess([](const Keychain& keychain) {
        keychain.setData(Data{"x"}, "accessToken");
        throw std::runtime_error("somewhere else");
    }),
                 std::runtime_error);
    EXPECT_EQ(pair(), "none none");
}

TEST(TokenKeychain, IsTheServiceOfTheAppAfterFirstUnlock) {
    tokenKeychain().withExclusiveAccess([](const Keychain& keychain) { EXPECT_EQ(keychain, sample); });
    EXPECT_EQ(&tokenKeychain(), &tokenKeychain());
    EXPECT_EQ(sessionKeychain(), sample);
}

TEST_F(KeychainOnAStore, GivesTheTokensOfTheKeychainsThatItWasMadeOn) {
    const Keychain current = {.id = "elsewhere", .accessibility = Keychain::Accessibility::always};
    const Keychain legacy = {.id = "elsewhere before", .accessibility = Keychain::Accessibility::always};
    TokenKeychain tokens(current, legacy);
    tokens.store("access", "refresh");
    EXPECT_EQ(tokens.accessToken(), "access");
    EXPECT_EQ(current.stringValue("refreshToken"), "refresh");
    EXPECT_TRUE(sample.allItems().empty());
    current.deleteAll();
    legacy.setData(Data{"old"}, "accessToken");
    printed([&] { EXPECT_EQ(tokens.accessToken(), "old"); });
    EXPECT_TRUE(legacy.allItems().empty());
    EXPECT_EQ(current.stringValue("accessToken"), "old");
}

}  // namespace
}  // namespace server
