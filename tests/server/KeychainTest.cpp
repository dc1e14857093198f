#include "server/Keychain.hpp"

#include <gtest/gtest.h>

#include <unordered_set>

#include "tests/support/InMemoryItemStore.hpp"
#include "tests/support/ScriptedItemStore.hpp"

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

const Keychain sample = {.id = "com.brightfen.pontal",
                         .accessibility = Keychain::Accessibility::afterFirstUnlock};

SecAttributes itemQuery(const char* service, const char* accessible, const char* key) {
    return {{"class", std::string("genp")},
            {"svce", std::string(service)},
            {"pdmn", std::string(accessible)},
            {"acct", std::string(key)}};
}

SecAttributes with(SecAttributes attributes, const SecAttributes& more) {
    attributes.insert(more.begin(), more.end());
    return attributes;
}

/// What a call printed on standard output.
template <typename Call>
std::string printed(Call call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

class ScriptedKeychain : public testing::Test {
  protected:
    ScriptedItemStore store;
    SecItemStore::Override inForce{store};
};

class KeychainOnAStore : public testing::Test {
  protected:
    InMemoryItemStore store;
    SecItemStore::Override inForce{store};
};

TEST(KeychainAccessibility, HasSevenClassesWithTheirRawValuesInOrder) {
    const std::vector<std::string_view> rawValues = {"ak", "ck", "dk", "akpu", "aku", "cku", "dku"};
    ASSERT_EQ(Keychain::allAccessibilities.size(), rawValues.size());
    for (std::size_t index = 0; index < rawValues.size(); ++index) {
        EXPECT_EQ(static_cast<std::size_t>(Keychain::allAccessibilities[index]), index);
        EXPECT_EQ(Keychain::rawValue(Keychain::allAccessibilities[index]), rawValues[index]);
        EXPECT_EQ(Keychain::accessibilityOf(rawValues[index]), Keychain::allAccessibilities[index]);
    }
    for (const auto* other : {"", "AK", "ak ", "akp", "whenUnlocked"})
        EXPECT_EQ(Keychain::accessibilityOf(other), std::nullopt) << other;
}

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
        const auto error = Keychain::KeychainError::ofStatus(status);
        ASSERT_TRUE(error) << status;
        EXPECT_EQ(error->name(), name);
        EXPECT_STREQ(error->what(), std::string(name).c_str());
    }
    EXPECT_EQ(Keychain::KeychainError::ofStatus(0), std::nullopt);
}

TEST(KeychainError, IsHashableOnItsCase) {
    const std::unordered_set<Keychain::KeychainError> errors = {
        *Keychain::KeychainError::ofStatus(-36), Keychain::KeychainError(Keychain::KeychainError::io),
        *Keychain::KeychainError::ofStatus(-1), *Keychain::KeychainError::ofStatus(1)};
    EXPECT_EQ(errors.size(), 2u);
    EXPECT_TRUE(errors.contains(Keychain::KeychainError(Keychain::KeychainError::unknown)));
    EXPECT_FALSE(errors.contains(Keychain::KeychainError(Keychain::KeychainError::param)));
}

TEST_F(ScriptedKeychain, EmptyKeyOnWriteDoesNothingAndLogsNothing) {
    EXPECT_EQ(printed([] {
                  sample.setData(Data{"x"}, "");
                  sample.setData(std::nullopt, "");
              }),
              "");
    EXPECT_TRUE(store.requests().empty());
}

TEST_F(ScriptedKeychain, WriteOfAnAbsentKeyProbesAndAdds) {
    store.answer(platform::errSecItemNotFound);
    store.answer(platform::errSecSuccess);
    EXPECT_EQ(printed([] { sample.setData(Data{"secret"}, "accessToken"); }), "");
    const auto query = itemQuery("com.brightfen.pontal_ck", "ck", "accessToken");
    const std::vector<SecItemRequest> expected = {
        {.call = SecItemCall::copyMatching, .attributes = query},
        {.call = SecItemCall::add, .attributes = with(query, {{"v_Data", Data{"secret"}}})},
    };
    EXPECT_EQ(store.requests(), expected);
}

TEST_F(ScriptedKeychain, WriteOfAPresentKeyProbesAndUpdatesTheDataAlone) {
    store.answer(platform::errSecSuccess);
    store.answer(platform::errSecSuccess);
    EXPECT_EQ(printed([] { sample.setData(Data{"secret"}, "accessToken"); }), "");
    const auto query = itemQuery("com.brightfen.pontal_ck", "ck", "accessToken");
    const std::vector<SecItemRequest> expected = {
        {.call = SecItemCall::copyMatching, .attributes = query},
        {.call = SecItemCall::update,
         .attributes = query,
         .attributesToUpdate = {{"v_Data", Data{"secret"}}}},
    };
    EXPECT_EQ(store.requests(), expected);
}

TEST_F(ScriptedKeychain, AnyOtherStatusOfTheProbeSelectsAddAndIsNotReported) {
    for (const platform::OSStatus status : {-36, -25308, -1, -50}) {
        ScriptedItemStore other;
        const SecItemStore::Override otherInForce(other);
        other.answer(status);
        other.answer(platform::errSecSuccess);
        EXPECT_EQ(printed([] { sample.setData(Data{"x"}, "key"); }), "");
        ASSERT_EQ(other.requests().size(), 2u);
        EXPECT_EQ(other.requests()[1].call, SecItemCall::add);
    }
}

TEST_F(ScriptedKeychain, FailedWritesPrintOneLineWithTheCase) {
    store.answer(platform::errSecItemNotFound);
    store.answer(platform::errSecDuplicateItem);
    EXPECT_EQ(printed([] { sample.setData(Data{"x"}, "refreshToken"); }),
              "Failed to save item refreshToken with reason duplicateItem\n");
    store.answer(platform::errSecSuccess);
    store.answer(platform::errSecItemNotFound);
    EXPECT_EQ(printed([] { sample.setData(Data{"x"}, "refreshToken"); }),
              "Failed to save item refreshToken with reason itemNotFound\n");
    store.answer(platform::errSecIO);
    EXPECT_EQ(printed([] { sample.setData(std::nullopt, "refreshToken"); }),
              "Failed to save item refreshToken with reason io\n");
}

TEST_F(ScriptedKeychain, WriteOfAnAbsentValueForAKeyThatIsNotStoredIsSilent) {
    store.answer(platform::errSecItemNotFound);
    EXPECT_EQ(printed([] { sample.setData(std::nullopt, "accessToken"); }), "");
    const std::vector<SecItemRequest> expected = {
        {.call = SecItemCall::remove,
         .attributes = itemQuery("com.brightfen.pontal_ck", "ck", "accessToken")}};
    EXPECT_EQ(store.requests(), expected);
}

TEST_F(ScriptedKeychain, ReadAsksForTheDataOfOneItem) {
    store.answer(platform::errSecSuccess, Data{"secret"});
    EXPECT_EQ(sample.dataForKey("accessToken"), Data{"secret"});
    const std::vector<SecItemRequest> expected = {
        {.call = SecItemCall::copyMatching,
         .attributes = with(itemQuery("com.brightfen.pontal_ck", "ck", "accessToken"),
                            {{"r_Data", true}, {"m_Limit", std::string("m_LimitOne")}}),
         .hasResultSlot = true}};
    EXPECT_EQ(store.requests(), expected);
}

TEST_F(ScriptedKeychain, ReadOfAnAbsentAccessTokenLogsTheLineAndYieldsNothing) {
    EXPECT_EQ(printed([] { EXPECT_EQ(sample.dataForKey("accessToken"), std::nullopt); }),
              "Failed to fetch item accessToken with reason itemNotFound\n");
}

TEST_F(ScriptedKeychain, ResultsOfAnUnexpectedTypeAreAbsentWithoutALine) {
    EXPECT_EQ(printed([this] {
                  store.answer(platform::errSecSuccess, SecAttributes{});
                  EXPECT_EQ(sample.dataForKey("key"), std::nullopt);
                  store.answer(platform::errSecSuccess);
                  EXPECT_EQ(sample.stringValue("key"), std::nullopt);
                  store.answer(platform::errSecSuccess, Data{"x"});
                  EXPECT_EQ(sample.itemWithKey("key"), std::nullopt);
                  store.answer(platform::errSecSuccess, Data{"x"});
                  EXPECT_TRUE(sample.allItems().empty());
              }),
              "");
}

TEST_F(ScriptedKeychain, ItemWithKeyAsksForAttributesAndData) {
    EXPECT_EQ(printed([] { EXPECT_EQ(sample.itemWithKey("k"), std::nullopt); }),
              "Failed to fetch item k with reason itemNotFound\n");
    const auto expected =
        with(itemQuery("com.brightfen.pontal_ck", "ck", "k"),
             {{"r_Data", true}, {"r_Attributes", true}, {"m_Limit", std::string("m_LimitOne")}});
    ASSERT_EQ(store.requests().size(), 1u);
    EXPECT_EQ(store.requests()[0].attributes, expected);
}

TEST_F(ScriptedKeychain, AnItemNeedsAllFiveAttributes) {
    const auto date = platform::Date::sinceReferenceDate(7);
    const SecAttributes whole = {{"svce", std::string("s")},
                                 {"acct", std::string("a")},
                                 {"v_Data", Data{"d"}},
                                 {"cdat", date},
                                 {"mdat", date}};
    EXPECT_EQ(
        Keychain::Item::of(whole),
        (Keychain::Item{
            .service = "s", .account = "a", .data = {"d"}, .creationDate = date, .modificationDate = date}));
    for (const auto& [key, value] : whole) {
        auto missing = whole;
        missing.erase(key);
        EXPECT_EQ(Keychain::Item::of(missing), std::nullopt) << key;
        auto mistyped = whole;
        mistyped[key] = true;
        EXPECT_EQ(Keychain::Item::of(mistyped), std::nullopt) << key;
    }
}

TEST_F(ScriptedKeychain, AllItemsSkipsWhatFormsNoItemAndKeepsTheOrder) {
    const auto date = platform::Date::sinceReferenceDate(7);
    const auto attributes = [&](const char* account) {
        return SecAttributes{{"svce", std::string("s")},
                             {"acct", std::string(account)},
                             {"v_Data", Data{"d"}},
                             {"cdat", date},
                             {"mdat", date}};
    };
    store.answer(platform::errSecSuccess, std::vector<SecAttributes>{attributes("b"), {}, attributes("a")});
    const auto items = sample.allItems();
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(items[0].account, "b");
    EXPECT_EQ(items[1].account, "a");
}

TEST_F(ScriptedKeychain, AllItemsIsEmptyOnAnyFailureWithoutALine) {
    for (const platform::OSStatus status : {-25300, -36, -1}) {
        store.answer(status);
        EXPECT_EQ(printed([] { EXPECT_TRUE(sample.allItems().empty()); }), "") << status;
    }
}

TEST_F(ScriptedKeychain, DeleteAllRaisesEveryCaseButItemNotFound) {
    store.answer(platform::errSecItemNotFound);
    EXPECT_NO_THROW(sample.deleteAll());
    store.answer(platform::errSecSuccess);
    EXPECT_NO_THROW(sample.deleteAll());
    store.answer(platform::errSecInteractionNotAllowed);
    try {
        sample.deleteAll();
        ADD_FAILURE() << "nothing was raised";
    } catch (const Keychain::KeychainError& error) {
        EXPECT_EQ(error.value(), Keychain::KeychainError::interactionNotAllowed);
    }
    EXPECT_EQ(store.requests()[0].attributes, (SecAttributes{{"class", std::string("genp")},
                                                             {"svce", std::string("com.brightfen.pontal_ck")},
                                                             {"pdmn", std::string("ck")}}));
}

TEST_F(ScriptedKeychain, AnAccessGroupIsPartOfEveryQuery) {
    Keychain grouped = sample;
    grouped.accessGroup = "group";
    store.answer(platform::errSecItemNotFound);
    printed([&] {
        grouped.dataForKey("k");
        grouped.itemWithKey("k");
        grouped.allItems();
        grouped.setData(Data{"new"}, "k");
        store.answer(platform::errSecSuccess);
        grouped.setData(Data{"newer"}, "k");
        grouped.setData(std::nullopt, "k");
        grouped.deleteAll();
    });
    const std::vector<SecItemCall> calls = {
        SecItemCall::copyMatching, SecItemCall::copyMatching, SecItemCall::copyMatching,
        SecItemCall::copyMatching, SecItemCall::add,          SecItemCall::copyMatching,
        SecItemCall::update,       SecItemCall::remove,       SecItemCall::remove};
    ASSERT_EQ(store.requests().size(), calls.size());
    for (std::size_t index = 0; index < calls.size(); ++index) {
        const auto& request = store.requests()[index];
        EXPECT_EQ(request.call, calls[index]) << index;
        ASSERT_TRUE(request.attributes.contains("agrp")) << index;
        EXPECT_EQ(request.attributes.at("agrp"), platform::SecValue(std::string("group"))) << index;
    }
}

TEST_F(ScriptedKeychain, AKeychainWithoutAnAccessGroupAsksForNone) {
    printed([&] {
        sample.dataForKey("k");
        sample.allItems();
        sample.setData(Data{"new"}, "k");
        sample.setData(std::nullopt, "k");
        sample.deleteAll();
    });
    for (const auto& request : store.requests()) EXPECT_FALSE(request.attributes.contains("agrp"));
}

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
        EXPECT_EQ(printed([] {
                      tokenKeychain().withExclusiveAccess(
                          [](const Keychain& keychain) { EXPECT_EQ(keychain.accessToken(), "old"); });
                  }),
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

TEST_F(KeychainOnAStore, KeepsItemsOfEveryAccessibilityApart) {
    for (const auto accessibility : Keychain::allAccessibilities) {
        const Keychain keychain = {.id = "id", .accessibility = accessibility};
        keychain.setData(Data{std::string(Keychain::rawValue(accessibility))}, "key");
    }
    for (const auto accessibility : Keychain::allAccessibilities) {
        const Keychain keychain = {.id = "id", .accessibility = accessibility};
        EXPECT_EQ(keychain.stringValue("key"), Keychain::rawValue(accessibility));
        ASSERT_EQ(keychain.allItems().size(), 1u);
        EXPECT_EQ(keychain.allItems()[0].service, "id_" + std::string(Keychain::rawValue(accessibility)));
    }
}

TEST_F(KeychainOnAStore, ReadsBackUpdatesAndDeletes) {
    sample.setData(Data{"one"}, "k");
    EXPECT_EQ(sample.dataForKey("k"), Data{"one"});
    sample.setData(Data{std::string("two\0zero", 8)}, "k");
    EXPECT_EQ(sample.itemWithKey("k")->data, Data{std::string("two\0zero", 8)});
    sample.setData(std::nullopt, "k");
    EXPECT_EQ(printed([] { EXPECT_EQ(sample.dataForKey("k"), std::nullopt); }),
              "Failed to fetch item k with reason itemNotFound\n");
}

TEST_F(KeychainOnAStore, AllItemsOnAnEmptyServiceIsEmptyWithoutALineAndDeleteAllSucceeds) {
    EXPECT_EQ(printed([] {
                  EXPECT_TRUE(sample.allItems().empty());
                  EXPECT_NO_THROW(sample.deleteAll());
              }),
              "");
}

TEST_F(KeychainOnAStore, DeleteAllRemovesEveryKeyOfItsServiceAndNoOther) {
    sample.setData(Data{"1"}, "a");
    sample.setData(Data{"2"}, "b");
    legacyTokenKeychain().setData(Data{"3"}, "a");
    sample.deleteAll();
    EXPECT_TRUE(sample.allItems().empty());
    EXPECT_EQ(legacyTokenKeychain().allItems().size(), 1u);
}

TEST_F(KeychainOnAStore, AFirstReadOnAnEmptyDeviceLogsBothLocations) {
    EXPECT_EQ(printed([] { EXPECT_EQ(sample.accessToken(), std::nullopt); }),
              "Failed to fetch item accessToken with reason itemNotFound\n"
              "Failed to fetch item accessToken with reason itemNotFound\n");
}

TEST_F(KeychainOnAStore, ATokenInTheLegacyServiceOnlyIsMovedOnFirstRead) {
    const auto legacy = legacyTokenKeychain();
    legacy.setData(Data{"old"}, "accessToken");
    legacy.setData(Data{"older"}, "refreshToken");
    EXPECT_EQ(printed([] { EXPECT_EQ(sample.accessToken(), "old"); }),
              "Failed to fetch item accessToken with reason itemNotFound\n");
    EXPECT_EQ(printed([] { EXPECT_EQ(sample.refreshToken(), "older"); }),
              "Failed to fetch item refreshToken with reason itemNotFound\n");
    EXPECT_TRUE(legacy.allItems().empty());
    EXPECT_EQ(sample.dataForKey("accessToken"), Data{"old"});
    EXPECT_EQ(printed([] { EXPECT_EQ(sample.accessToken(), "old"); }), "");
}

TEST_F(KeychainOnAStore, StoredBytesThatAreNotUTF8YieldNothingAndDoNotMigrate) {
    legacyTokenKeychain().setData(Data{"\xff\xfe"}, "accessToken");
    EXPECT_EQ(printed([] { EXPECT_EQ(sample.accessToken(), std::nullopt); }),
              "Failed to fetch item accessToken with reason itemNotFound\n");
    EXPECT_EQ(legacyTokenKeychain().allItems().size(), 1u);
    EXPECT_TRUE(sample.allItems().empty());
}

TEST_F(KeychainOnAStore, BytesThatAreNotUTF8InTheCurrentServiceFallBackToTheLegacyOne) {
    sample.setData(Data{"\xff"}, "accessToken");
    legacyTokenKeychain().setData(Data{"old"}, "accessToken");
    EXPECT_EQ(printed([] { EXPECT_EQ(sample.accessToken(), "old"); }), "");
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
    static void storePair(const std::string& bytes) {
        tokenKeychain().withExclusiveAccess([&](const Keychain& keychain) {
            keychain.setData(Data{bytes}, "accessToken");
            keychain.setData(Data{bytes}, "refreshToken");
        });
    }
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
        printed([] {
            tokenKeychain().withExclusiveAccess(
                [](const Keychain& keychain) { EXPECT_EQ(keychain.accessToken(), "old"); });
        });
        store.failing = Failing::nothing;
        EXPECT_EQ(read(legacy, "accessToken"), "old") << static_cast<int>(failing);
        printed([] {
            tokenKeychain().withExclusiveAccess(
                [](const Keychain& keychain) { EXPECT_EQ(keychain.accessToken(), "old"); });
        });
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

}  // namespace
}  // namespace server
