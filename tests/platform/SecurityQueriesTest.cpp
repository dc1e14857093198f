#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "platform/Security/EmbeddedItemStore.hpp"
#include "platform/Security/SecItem.hpp"
#include "tests/support/FixedAmbient.hpp"
#include "tests/support/InMemoryItemStore.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/ScriptedItemStore.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace platform {
namespace {

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

SecAttributes item(const std::string& service, const std::string& account) {
    return {{kSecClass, genericPassword}, {kSecAttrService, service}, {kSecAttrAccount, account}};
}
SecAttributes bytes(const std::string& text) {
    return {{kSecValueData, Data{text}}};
}
const SecAttributes everything = {
    {kSecClass, genericPassword}, {kSecReturnData, true}, {kSecMatchLimit, matchAll}};
const SecAttributes returningData = {{kSecReturnData, true}};
const SecAttributes returningBoth = {{kSecReturnData, true}, {kSecReturnAttributes, true}};

// One set of rules for every kind of store.
struct Kind {
    const char* name;
    std::function<std::unique_ptr<SecItemStore>(const std::filesystem::path&)> make;
};

/// For the names of the tests.
std::ostream& operator<<(std::ostream& stream, const Kind& kind) {
    return stream << kind.name;
}

class ItemStore : public ::testing::TestWithParam<Kind> {
  protected:
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

    platform::testing::TemporaryFolder folder;
    platform::testing::FixedAmbient ambient;
    std::unique_ptr<SecItemStore> store = GetParam().make(folder.path());
};

INSTANTIATE_TEST_SUITE_P(
    Kinds, ItemStore,
    ::testing::Values(Kind{"Embedded",
                           [](const std::filesystem::path& folder) {
                               return std::make_unique<EmbeddedItemStore>(folder / "vela" / "k");
                           }},
                      Kind{"InMemory",
                           [](const std::filesystem::path&) {
                               return std::make_unique<platform::testing::InMemoryItemStore>();
                           }}),
    [](const auto& kind) { return kind.param.name; });

TEST_P(ItemStore, GivesBackTheBytesThatWereAdded) {
    const std::string secret("a\0b\xff\n", 5);
    EXPECT_EQ(store->add(item("s", "a") + bytes(secret)), errSecSuccess);
    EXPECT_EQ(data(item("s", "a")), secret);
}

TEST_P(ItemStore, KeepsTextsOfAnyKindApart) {
    const std::vector<std::string> accounts = {"",
                                               "a",
                                               "A",
                                               "a ",
                                               std::string("a\0", 2),
                                               "\xc3\xa9",
                                               "e\xcc\x81",
                                               "'; DROP TABLE items; --",
                                               "\n",
                                               std::string(10000, 'x')};
    for (const std::string& account : accounts)
        EXPECT_EQ(store->add(item("s", account) + bytes(account)), errSecSuccess);
    for (const std::string& account : accounts) EXPECT_EQ(data(item("s", account)), account);
}

TEST_P(ItemStore, FindsNothingWhereNothingMatches) {
    SecResult result = Data{"untouched"};
    EXPECT_EQ(store->copyMatching(item("s", "a"), &result), errSecItemNotFound);
    EXPECT_EQ(store->copyMatching(everything, &result), errSecItemNotFound);
    EXPECT_EQ(store->update(item("s", "a"), bytes("x")), errSecItemNotFound);
    EXPECT_EQ(store->remove(item("s", "a")), errSecItemNotFound);
    EXPECT_EQ(result, SecResult(Data{"untouched"}));
}

TEST_P(ItemStore, AnswersByStatusAloneWithoutAResultSlot) {
    ASSERT_EQ(store->add(item("s", "a") + bytes("x")), errSecSuccess);
    EXPECT_EQ(store->copyMatching(item("s", "a"), nullptr), errSecSuccess);
    EXPECT_EQ(store->copyMatching(item("s", "b"), nullptr), errSecItemNotFound);
}

TEST_P(ItemStore, YieldsWhatIsAskedFor) {
    ASSERT_EQ(store->add(item("s", "a") + bytes("x")), errSecSuccess);
    const SecAttributes attributes =
        item("s", "a") + SecAttributes{{kSecAttrAccessGroup, std::string()},
                                       {kSecAttrAccessible, whenUnlocked},
                                       {kSecAttrCreationDate, ambient.now()},
                                       {kSecAttrModificationDate, ambient.now()}};
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
}

TEST_P(ItemStore, ListsInOrderOfCreation) {
    for (const char* account : {"c", "a", "b"})
        ASSERT_EQ(store->add(item("s", account) + bytes(account)), errSecSuccess);
    ASSERT_EQ(store->update(item("s", "c"), bytes("changed")), errSecSuccess);
    ASSERT_EQ(store->remove(item("s", "a")), errSecSuccess);
    ASSERT_EQ(store->add(item("s", "a") + bytes("again")), errSecSuccess);
    EXPECT_THAT(all(), ElementsAre(Data{"changed"}, Data{"b"}, Data{"again"}));
}

TEST_P(ItemStore, FiltersByEveryAttribute) {
    const SecAttributes full = item("s", "a") + SecAttributes{{kSecAttrAccessGroup, std::string("g")},
                                                              {kSecAttrAccessible, afterFirstUnlock}};
    ASSERT_EQ(store->add(full + bytes("x")), errSecSuccess);
    const SecAttributes complete = full + SecAttributes{{kSecAttrCreationDate, ambient.now()},
                                                        {kSecAttrModificationDate, ambient.now()}};
    EXPECT_EQ(data(complete), "x");
    const SecAttributes others = {{kSecAttrService, std::string("other")},
                                  {kSecAttrAccount, std::string("other")},
                                  {kSecAttrAccessGroup, std::string("other")},
                                  {kSecAttrAccessible, whenUnlocked},
                                  {kSecAttrCreationDate, ambient.now().addingTimeInterval(1)},
                                  {kSecAttrModificationDate, ambient.now().addingTimeInterval(1)}};
    for (const auto& [key, value] : others) {
        EXPECT_EQ(store->copyMatching(complete + SecAttributes{{key, value}}, nullptr), errSecItemNotFound)
            << key;
        SecAttributes without = complete;
        without.erase(key);
        EXPECT_EQ(store->copyMatching(without, nullptr), errSecSuccess) << key;
    }
}

TEST_P(ItemStore, TakesOneItemOfEachIdentity) {
    const SecAttributes group = {{kSecAttrAccessGroup, std::string("g")}};
    ASSERT_EQ(store->add(item("s", "a") + bytes("first")), errSecSuccess);
    EXPECT_EQ(store->add(item("s", "a") + bytes("second")), errSecDuplicateItem);
    EXPECT_EQ(store->add(item("s", "a") + SecAttributes{{kSecAttrAccessible, afterFirstUnlock}}),
              errSecDuplicateItem);
    EXPECT_EQ(store->add(item("s", "a") + group + bytes("third")), errSecSuccess);
    EXPECT_EQ(store->add(item("t", "a") + bytes("fourth")), errSecSuccess);
    EXPECT_THAT(all(), ElementsAre(Data{"first"}, Data{"third"}, Data{"fourth"}));
}

TEST_P(ItemStore, UpdatesOnlyWhatIsGivenAndTheModificationDate) {
    const Date made = ambient.now();
    ASSERT_EQ(
        store->add(item("s", "a") + SecAttributes{{kSecAttrAccessible, afterFirstUnlock}} + bytes("old")),
        errSecSuccess);
    ambient.advance(5.25);
    ASSERT_EQ(store->update(item("s", "a"), bytes("new")), errSecSuccess);
    SecResult result;
    ASSERT_EQ(store->copyMatching(item("s", "a") + returningBoth, &result), errSecSuccess);
    const SecAttributes expected = item("s", "a") + bytes("new") +
                                   SecAttributes{{kSecAttrAccessGroup, std::string()},
                                                 {kSecAttrAccessible, afterFirstUnlock},
                                                 {kSecAttrCreationDate, made},
                                                 {kSecAttrModificationDate, made.addingTimeInterval(5.25)}};
    EXPECT_EQ(std::get<SecAttributes>(result), expected);
}

TEST_P(ItemStore, UpdatesEveryMatch) {
    for (const char* account : {"a", "b"})
        ASSERT_EQ(store->add(item("s", account) + bytes("old")), errSecSuccess);
    ASSERT_EQ(store->add(item("t", "c") + bytes("old")), errSecSuccess);
    EXPECT_EQ(
        store->update({{kSecClass, genericPassword}, {kSecAttrService, std::string("s")}}, bytes("new")),
        errSecSuccess);
    EXPECT_THAT(all(), ElementsAre(Data{"new"}, Data{"new"}, Data{"old"}));
}

TEST_P(ItemStore, RefusesAnUpdateIntoATakenIdentityWhole) {
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
}

TEST_P(ItemStore, RemovesEveryMatch) {
    for (const char* account : {"a", "b"})
        ASSERT_EQ(store->add(item("s", account) + bytes(account)), errSecSuccess);
    ASSERT_EQ(store->add(item("t", "a") + bytes("kept")), errSecSuccess);
    EXPECT_EQ(store->remove({{kSecClass, genericPassword}, {kSecAttrService, std::string("s")}}),
              errSecSuccess);
    EXPECT_THAT(all(), ElementsAre(Data{"kept"}));
}

TEST_P(ItemStore, RefusesUnusableQueries) {
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
}

TEST_P(ItemStore, TakesTheAbsentForEmpty) {
    ASSERT_EQ(store->add({{kSecClass, genericPassword}}), errSecSuccess);
    EXPECT_EQ(store->add(item("", "")), errSecDuplicateItem);
    EXPECT_EQ(data({{kSecClass, genericPassword}, {kSecAttrAccessible, whenUnlocked}}), "");
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
