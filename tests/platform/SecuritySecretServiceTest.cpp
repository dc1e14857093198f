// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <functional>
#include <map>

#include "platform/Security/KeychainChange.hpp"
#include "platform/Security/KeychainFailure.hpp"
#include "platform/Security/SecretServiceLibrary.hpp"
#include "tests/platform/KeychainItems.hpp"
#include "tests/platform/SecretServiceSession.hpp"
#include "tests/support/FolderAttribute.hpp"
#include "tests/support/Program.hpp"

namespace platform {
namespace {

using platform::testing::bytes;
using platform::testing::Keyring;
using platform::testing::Session;

SecAttributes accessibleItem(const std::string& service, const std::string& account) {
    return {{kSecClass, std::string(kSecClassGenericPassword)},
            {kSecAttrService, service},
            {kSecAttrAccount, account},
            {kSecAttrAccessible, std::string(kSecAttrAccessibleAfterFirstUnlock)}};
}

SecAttributes with(SecAttributes attributes, const SecAttributes& more) {
    for (const auto& [key, value] : more) attributes.insert_or_assign(key, value);
    return attributes;
}

// The bus is a process-wide choice of the library below, so every test has a process of its own.
void inSession(Keyring keyring, const std::function<void(SecretServiceItemStore&)>& body) {
    EXPECT_EQ(platform::testing::runInChild([&] {
                  {
                      const Session session(keyring);
                      const platform::testing::TemporaryFolder folder;
                      SecretServiceItemStore store(folder.path() / "keychain.lock");
                      body(store);
                  }
                  return ::testing::Test::HasFailure() ? 1 : 0;
              }),
              0);
}

OSStatus read(SecItemStore& store, const SecAttributes& query, std::string& data) {
    SecResult result;
    const OSStatus status = store.copyMatching(with(query, {{kSecReturnData, true}}), &result);
    if (status == errSecSuccess) data = std::get<Data>(result).bytes;
    return status;
}

TEST(SecretServiceKeychain, KeepsChangesAndForgetsItems) {
    inSession(Keyring::unlocked, [](SecretServiceItemStore& store) {
        const std::string secret("a\0b\xff", 4);
        std::string data;
        EXPECT_EQ(read(store, accessibleItem("s", "a"), data), errSecItemNotFound);
        EXPECT_EQ(store.add(with(accessibleItem("s", "a"), bytes(secret))), errSecSuccess);
        EXPECT_EQ(store.add(with(accessibleItem("s", "a"), bytes("again"))), errSecDuplicateItem);
        EXPECT_EQ(read(store, accessibleItem("s", "a"), data), errSecSuccess);
        EXPECT_EQ(data, secret);
        EXPECT_EQ(store.update(accessibleItem("s", "a"), bytes("new")), errSecSuccess);
        EXPECT_EQ(read(store, accessibleItem("s", "a"), data), errSecSuccess);
        EXPECT_EQ(data, "new");
        EXPECT_EQ(store.remove(accessibleItem("s", "a")), errSecSuccess);
        EXPECT_EQ(store.remove(accessibleItem("s", "a")), errSecItemNotFound);
        EXPECT_EQ(read(store, accessibleItem("s", "a"), data), errSecItemNotFound);
    });
}

TEST(SecretServiceKeychain, LosesNoPatienceWhileTheMachineStandsStill) {
    inSession(Keyring::unlocked, [](SecretServiceItemStore& store) {
        ASSERT_EQ(store.add(with(accessibleItem("s", "a"), bytes("x"))), errSecSuccess);
        const auto services = platform::testing::childrenOf(::getpid());
        for (const pid_t each : services) ::kill(each, SIGSTOP);
        platform::testing::ChildProcess standstill([&services, self = ::getpid()] {
            ::usleep(200'000);
            ::kill(self, SIGSTOP);
            // Longer than a read waits.
            ::sleep(4);
            for (const pid_t each : services) ::kill(each, SIGCONT);
            ::kill(self, SIGCONT);
            return 0;
        });
        std::string data;
        EXPECT_EQ(read(store, accessibleItem("s", "a"), data), errSecSuccess);
        EXPECT_EQ(data, "x");
    });
}

TEST(SecretServiceKeychain, FiltersByEveryAttributeAndListsInOrderOfCreation) {
    inSession(Keyring::unlocked, [](SecretServiceItemStore& store) {
        const SecAttributes group = {{kSecAttrAccessGroup, std::string("g")}};
        EXPECT_EQ(store.add(with(accessibleItem("s", "c"), bytes("1"))), errSecSuccess);
        EXPECT_EQ(store.add(with(accessibleItem("s", "a"), bytes("2"))), errSecSuccess);
        EXPECT_EQ(store.add(with(with(accessibleItem("s", "a"), group), bytes("3"))), errSecSuccess);
        EXPECT_EQ(store.add(with(accessibleItem("t", "a"), bytes("4"))), errSecSuccess);

        const auto matches = [&store](const SecAttributes& filter) {
            const SecAttributes all = {{kSecClass, std::string(kSecClassGenericPassword)},
                                       {kSecReturnData, true},
                                       {kSecMatchLimit, std::string(kSecMatchLimitAll)}};
            SecResult result;
            std::string joined;
            if (store.copyMatching(with(all, filter), &result) != errSecSuccess) return joined;
            for (const Data& data : std::get<std::vector<Data>>(result)) joined += data.bytes;
            return joined;
        };
        EXPECT_EQ(matches({}), "1234");
        EXPECT_EQ(matches({{kSecAttrService, std::string("s")}}), "123");
        EXPECT_EQ(matches({{kSecAttrAccount, std::string("a")}}), "234");
        EXPECT_EQ(matches(group), "3");
        EXPECT_EQ(matches({{kSecAttrAccessGroup, std::string()}}), "124");
        EXPECT_EQ(matches({{kSecAttrAccessible, std::string(kSecAttrAccessibleWhenUnlocked)}}), "");
        EXPECT_EQ(store.update(accessibleItem("s", "c"), {{kSecAttrAccount, std::string("d")}}),
                  errSecSuccess);
        EXPECT_EQ(matches({{kSecAttrAccount, std::string("d")}}), "1");
    });
}

TEST(SecretServiceKeychain, TakesItsDatesFromTheService) {
    inSession(Keyring::unlocked, [](SecretServiceItemStore& store) {
        const Date before = Date::now();
        ASSERT_EQ(store.add(with(accessibleItem("s", "a"), bytes("x"))), errSecSuccess);
        SecResult result;
        ASSERT_EQ(store.copyMatching(with(accessibleItem("s", "a"), {{kSecReturnAttributes, true}}), &result),
                  errSecSuccess);
        const auto& attributes = std::get<SecAttributes>(result);
        for (const char* key : {kSecAttrCreationDate, kSecAttrModificationDate}) {
            const double age = std::get<Date>(attributes.at(key)).timeIntervalSinceReferenceDate() -
                               before.timeIntervalSinceReferenceDate();
            EXPECT_GE(age, -1.0) << key;
            EXPECT_LE(age, 60.0) << key;
        }
    });
}

SecretSchema schemaNamed(const char* name) {
    SecretSchema schema = {};
    schema.name = name;
    std::size_t index = 0;
    for (const auto& attribute : keychainTextAttributes)
        schema.attributes[index++] = {attribute.key, SECRET_SCHEMA_ATTRIBUTE_STRING};
    return schema;
}

const SecretSchema itemSchema = schemaNamed("vela.Keychain.GenericPassword");
const SecretSchema journalSchema = schemaNamed("vela.Keychain.Journal");

// The keyring itself, past the store.
class Keyrings {
  public:
    Keyrings()
        : library_(*SecretServiceLibrary::shared()),
          service_(library_.secret_service_get_sync(SECRET_SERVICE_NONE, nullptr, nullptr)) {}

    std::size_t count(const SecretSchema& schema) const {
        GHashTable* any = attributes({});
        GList* found =
            library_.secret_service_search_sync(service_, &schema, any, SECRET_SEARCH_ALL, nullptr, nullptr);
        std::size_t count = 0;
        for (const GList* link = found; link; link = link->next) ++count;
        return count;
    }

    void create(const SecretSchema& schema, const std::map<std::string, std::string>& texts,
                const std::string& bytes) const {
        SecretCollection* collection = library_.secret_collection_for_alias_sync(
            service_, SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, nullptr, nullptr);
        SecretValue* value = library_.secret_value_new(bytes.data(), static_cast<gssize>(bytes.size()),
                                                       "application/octet-stream");
        EXPECT_TRUE(library_.secret_item_create_sync(collection, &schema, attributes(texts), "item", value,
                                                     SECRET_ITEM_CREATE_NONE, nullptr, nullptr));
    }

  private:
    GHashTable* attributes(const std::map<std::string, std::string>& texts) const {
        GHashTable* table = library_.g_hash_table_new_full(library_.g_str_hash, library_.g_str_equal,
                                                           library_.g_free, library_.g_free);
        for (const auto& [key, text] : texts)
            library_.g_hash_table_insert(table, library_.g_strdup(key.c_str()),
                                         library_.g_strdup(text.c_str()));
        return table;
    }

    const SecretServiceLibrary& library_;
    SecretService* service_;
};

// As versions have left them that looked and inserted in two steps.
void makeTwin(const Keyrings& keyring, const std::string& bytesOfTwin) {
    keyring.create(itemSchema,
                   {{kSecAttrService, "s"},
                    {kSecAttrAccount, "a"},
                    {kSecAttrAccessGroup, ""},
                    {kSecAttrAccessible, kSecAttrAccessibleAfterFirstUnlock}},
                   bytesOfTwin);
}

TEST(SecretServiceKeychain, TakesTheNewestOfSeveralItemsOfOneIdentity) {
    inSession(Keyring::unlocked, [](SecretServiceItemStore& store) {
        ASSERT_EQ(store.add(with(accessibleItem("s", "a"), bytes("older"))), errSecSuccess);
        const Keyrings keyring;
        makeTwin(keyring, "newer");
        std::string data;
        EXPECT_EQ(read(store, accessibleItem("s", "a"), data), errSecSuccess);
        EXPECT_EQ(data, "newer");
        EXPECT_EQ(keyring.count(itemSchema), 2u);

        EXPECT_EQ(store.update(accessibleItem("s", "a"), bytes("newest")), errSecSuccess);
        EXPECT_EQ(keyring.count(itemSchema), 1u) << "a write removes the others";
        EXPECT_EQ(read(store, accessibleItem("s", "a"), data), errSecSuccess);
        EXPECT_EQ(data, "newest");

        makeTwin(keyring, "again");
        EXPECT_EQ(store.remove(accessibleItem("s", "a")), errSecSuccess);
        EXPECT_EQ(keyring.count(itemSchema), 0u);
    });
}

KeychainItem keychainItem(const std::string& account, const std::string& data) {
    return {.service = "s",
            .account = account,
            .accessGroup = "",
            .accessible = kSecAttrAccessibleAfterFirstUnlock,
            .creationDate = Date::now(),
            .modificationDate = Date::now(),
            .data = data};
}

TEST(SecretServiceKeychain, FinishesWhatAKilledProcessHasWrittenDown) {
    inSession(Keyring::unlocked, [](SecretServiceItemStore& store) {
        for (const char* account : {"a", "gone"})
            ASSERT_EQ(store.add(with(accessibleItem("s", account), bytes("old"))), errSecSuccess);
        const KeychainChanges changes = {
            {.before = keychainItem("a", "old"), .after = keychainItem("a", "new")},
            {.before = std::nullopt, .after = keychainItem("b", "new")},
            {.before = keychainItem("gone", "old"), .after = std::nullopt},
        };
        const Keyrings keyring;
        keyring.create(journalSchema, {}, KeychainChange::encoded(changes));

        const auto expectNewState = [&store](const char* when) {
            std::string data;
            for (const char* account : {"a", "b"}) {
                EXPECT_EQ(read(store, accessibleItem("s", account), data), errSecSuccess) << when;
                EXPECT_EQ(data, "new") << when;
            }
            EXPECT_EQ(read(store, accessibleItem("s", "gone"), data), errSecItemNotFound) << when;
        };
        expectNewState("before it is finished");
        EXPECT_EQ(keyring.count(journalSchema), 1u) << "a reader changes nothing";
        EXPECT_EQ(store.add(with(accessibleItem("s", "c"), bytes("x"))), errSecSuccess);
        EXPECT_EQ(keyring.count(journalSchema), 0u);
        EXPECT_EQ(keyring.count(itemSchema), 3u);
        expectNewState("afterwards");
    });
}

TEST(KeychainChanges, AreReadAsTheyWereWritten) {
    const KeychainChanges changes = {
        {.before = keychainItem("a", "old"), .after = keychainItem("a", std::string("n\0w\xff", 4))},
        {.before = std::nullopt, .after = keychainItem("", "")},
        {.before = keychainItem("gone", std::string(70000, 'x')), .after = std::nullopt},
    };
    const std::string bytes = KeychainChange::encoded(changes);
    EXPECT_EQ(KeychainChange::decoded(bytes), changes);
    EXPECT_TRUE(KeychainChange::decoded("").empty());
    const std::string one = KeychainChange::encoded({changes.front()});
    for (std::size_t size = 1; size < one.size(); ++size)
        EXPECT_THROW(KeychainChange::decoded(one.substr(0, size)), KeychainFailure) << size;
}

TEST(SecretServiceKeychain, SaysThatItsLockCannotBeHad) {
    inSession(Keyring::unlocked, [](SecretServiceItemStore&) {
        const platform::testing::TemporaryFolder folder;
        folder.write("vela", "a file in the folder's place");
        SecretServiceItemStore store(folder.path() / "vela" / "keychain.lock");
        EXPECT_EQ(store.add(with(accessibleItem("s", "a"), bytes("x"))), errSecIO);
        EXPECT_NE(SecItemFault().find("vela: Not a directory"), std::string::npos) << SecItemFault();
        EXPECT_EQ(store.lock(SecItemHold::shared)->tryAcquire(), errSecIO);
        SecretServiceItemStore homeless(std::nullopt);
        EXPECT_EQ(homeless.remove(accessibleItem("s", "a")), errSecIO);
    });
}

TEST(SecretServiceKeychain, RefusesTextsThatTheBusCannotCarry) {
    inSession(Keyring::unlocked, [](SecretServiceItemStore& store) {
        EXPECT_EQ(store.add(accessibleItem("s", "\xff")), errSecParam);
        EXPECT_EQ(store.add(accessibleItem("s", std::string("a\0b", 3))), errSecParam);
        EXPECT_EQ(store.copyMatching(accessibleItem("s", "\xff"), nullptr), errSecParam);
        EXPECT_EQ(store.add({}), errSecParam);
        EXPECT_EQ(store.add(accessibleItem("s", "\xf0\x9f\x93\xa6 \xe5\x8c\x85")), errSecSuccess);
    });
}

TEST(SecretServiceKeychain, SaysThatTheCollectionIsLocked) {
    inSession(Keyring::locked, [](SecretServiceItemStore& store) {
        std::string data;
        EXPECT_EQ(read(store, accessibleItem("s", "a"), data), errSecInteractionNotAllowed);
        EXPECT_EQ(store.add(with(accessibleItem("s", "a"), bytes("x"))), errSecInteractionNotAllowed);
        EXPECT_EQ(store.update(accessibleItem("s", "a"), bytes("x")), errSecInteractionNotAllowed);
        EXPECT_EQ(store.remove(accessibleItem("s", "a")), errSecInteractionNotAllowed);
    });
}

TEST(SecretServiceKeychain, LetsNoRenewalBeginInALockedCollection) {
    inSession(Keyring::locked, [](SecretServiceItemStore& store) {
        EXPECT_EQ(store.lock(SecItemHold::shared)->tryAcquire(), errSecIO);
        EXPECT_NE(SecItemFault().find("keychain is locked, so that a renewed token could not be kept"),
                  std::string::npos)
            << SecItemFault();
        EXPECT_EQ(store.lock(SecItemHold::exclusive)->tryAcquire(), errSecSuccess);
    });
}

TEST(SecretServiceKeychain, LetsNoRenewalBeginWhereTheServiceCanKeepNothing) {
    inSession(Keyring::unlocked, [](SecretServiceItemStore& store) {
        ASSERT_EQ(store.add(with(accessibleItem("s", "a"), bytes("x"))), errSecSuccess);
        EXPECT_EQ(store.lock(SecItemHold::shared)->tryAcquire(), errSecSuccess);
        EXPECT_EQ(Keyrings().count(journalSchema), 0u) << "something was left of the trial";
        const platform::testing::FolderAttribute frozen(
            std::filesystem::path(std::getenv("XDG_DATA_HOME")) / "keyrings", FS_IMMUTABLE_FL);
        if (!frozen.isSet()) GTEST_SKIP() << "no folder can be made immutable here";
        EXPECT_EQ(store.lock(SecItemHold::shared)->tryAcquire(), errSecIO);
        std::string data;
        EXPECT_EQ(read(store, accessibleItem("s", "a"), data), errSecSuccess);
    });
}

TEST(SecretServiceKeychain, SaysThatThereIsNoServiceOnTheBus) {
    inSession(Keyring::none, [](SecretServiceItemStore& store) {
        EXPECT_EQ(store.copyMatching(accessibleItem("s", "a"), nullptr), errSecNotAvailable);
        EXPECT_EQ(store.add(with(accessibleItem("s", "a"), bytes("x"))), errSecNotAvailable);
    });
}

TEST(SecretServiceKeychain, SaysThatThereIsNoBus) {
    EXPECT_EQ(platform::testing::runInChild([] {
                  const platform::testing::TemporaryFolder folder;
                  ::setenv("DBUS_SESSION_BUS_ADDRESS",
                           ("unix:path=" + (folder.path() / "bus").string()).c_str(), 1);
                  SecretServiceItemStore store(folder.path() / "keychain.lock");
                  return store.add(accessibleItem("s", "a")) == errSecNotAvailable ? 0 : 1;
              }),
              0);
}

}  // namespace
}  // namespace platform
