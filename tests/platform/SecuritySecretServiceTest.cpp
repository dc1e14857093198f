#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>

#include "tests/platform/SecretServiceSession.hpp"

namespace platform {
namespace {

using platform::testing::Keyring;
using platform::testing::Session;

SecAttributes item(const std::string& service, const std::string& account) {
    return {{kSecClass, std::string(kSecClassGenericPassword)},
            {kSecAttrService, service},
            {kSecAttrAccount, account},
            {kSecAttrAccessible, std::string(kSecAttrAccessibleAfterFirstUnlock)}};
}

SecAttributes with(SecAttributes attributes, const SecAttributes& more) {
    for (const auto& [key, value] : more) attributes.insert_or_assign(key, value);
    return attributes;
}

SecAttributes bytes(const std::string& text) {
    return {{kSecValueData, Data{text}}};
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
        EXPECT_EQ(read(store, item("s", "a"), data), errSecItemNotFound);
        EXPECT_EQ(store.add(with(item("s", "a"), bytes(secret))), errSecSuccess);
        EXPECT_EQ(store.add(with(item("s", "a"), bytes("again"))), errSecDuplicateItem);
        EXPECT_EQ(read(store, item("s", "a"), data), errSecSuccess);
        EXPECT_EQ(data, secret);
        EXPECT_EQ(store.update(item("s", "a"), bytes("new")), errSecSuccess);
        EXPECT_EQ(read(store, item("s", "a"), data), errSecSuccess);
        EXPECT_EQ(data, "new");
        EXPECT_EQ(store.remove(item("s", "a")), errSecSuccess);
        EXPECT_EQ(store.remove(item("s", "a")), errSecItemNotFound);
        EXPECT_EQ(read(store, item("s", "a"), data), errSecItemNotFound);
    });
}

TEST(SecretServiceKeychain, FiltersByEveryAttributeAndListsInOrderOfCreation) {
    inSession(Keyring::unlocked, [](SecretServiceItemStore& store) {
        const SecAttributes group = {{kSecAttrAccessGroup, std::string("g")}};
        EXPECT_EQ(store.add(with(item("s", "c"), bytes("1"))), errSecSuccess);
        EXPECT_EQ(store.add(with(item("s", "a"), bytes("2"))), errSecSuccess);
        EXPECT_EQ(store.add(with(with(item("s", "a"), group), bytes("3"))), errSecSuccess);
        EXPECT_EQ(store.add(with(item("t", "a"), bytes("4"))), errSecSuccess);

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
        EXPECT_EQ(store.update(item("s", "c"), {{kSecAttrAccount, std::string("d")}}), errSecSuccess);
        EXPECT_EQ(matches({{kSecAttrAccount, std::string("d")}}), "1");
    });
}

TEST(SecretServiceKeychain, TakesItsDatesFromTheService) {
    inSession(Keyring::unlocked, [](SecretServiceItemStore& store) {
        const Date before = Date::now();
        ASSERT_EQ(store.add(with(item("s", "a"), bytes("x"))), errSecSuccess);
        SecResult result;
        ASSERT_EQ(store.copyMatching(with(item("s", "a"), {{kSecReturnAttributes, true}}), &result),
                  errSecSuccess);
        const auto& attributes = std::get<SecAttributes>(result);
        for (const char* key : {kSecAttrCreationDate, kSecAttrModificationDate}) {
            const double age = std::get<Date>(attributes.at(key)).timeIntervalSince(before);
            EXPECT_GE(age, -1.0) << key;
            EXPECT_LE(age, 60.0) << key;
        }
    });
}

TEST(SecretServiceKeychain, RefusesTextsThatTheBusCannotCarry) {
    inSession(Keyring::unlocked, [](SecretServiceItemStore& store) {
        EXPECT_EQ(store.add(item("s", "\xff")), errSecParam);
        EXPECT_EQ(store.add(item("s", std::string("a\0b", 3))), errSecParam);
        EXPECT_EQ(store.copyMatching(item("s", "\xff"), nullptr), errSecParam);
        EXPECT_EQ(store.add({}), errSecParam);
        EXPECT_EQ(store.add(item("s", "\xf0\x9f\x93\xa6 \xe5\x8c\x85")), errSecSuccess);
    });
}

TEST(SecretServiceKeychain, SaysThatTheCollectionIsLocked) {
    inSession(Keyring::locked, [](SecretServiceItemStore& store) {
        std::string data;
        EXPECT_EQ(read(store, item("s", "a"), data), errSecInteractionNotAllowed);
        EXPECT_EQ(store.add(with(item("s", "a"), bytes("x"))), errSecInteractionNotAllowed);
        EXPECT_EQ(store.update(item("s", "a"), bytes("x")), errSecInteractionNotAllowed);
        EXPECT_EQ(store.remove(item("s", "a")), errSecInteractionNotAllowed);
    });
}

TEST(SecretServiceKeychain, SaysThatThereIsNoServiceOnTheBus) {
    inSession(Keyring::none, [](SecretServiceItemStore& store) {
        EXPECT_EQ(store.copyMatching(item("s", "a"), nullptr), errSecNotAvailable);
        EXPECT_EQ(store.add(with(item("s", "a"), bytes("x"))), errSecNotAvailable);
    });
}

TEST(SecretServiceKeychain, SaysThatThereIsNoBus) {
    EXPECT_EQ(platform::testing::runInChild([] {
                  const platform::testing::TemporaryFolder folder;
                  ::setenv("DBUS_SESSION_BUS_ADDRESS",
                           ("unix:path=" + (folder.path() / "bus").string()).c_str(), 1);
                  SecretServiceItemStore store(folder.path() / "keychain.lock");
                  return store.add(item("s", "a")) == errSecNotAvailable ? 0 : 1;
              }),
              0);
}

}  // namespace
}  // namespace platform
