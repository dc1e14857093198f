// SPDX-License-Identifier: Apache-2.0

#include "server/Keychain.hpp"

#include "server/TokenKeychain.hpp"
#include "tests/server/KeychainTwin.hpp"

namespace server {
namespace {

using platform::Data;
using platform::SecAttributes;
using platform::SecItemStore;
using platform::testing::ScriptedItemStore;
using platform::testing::SecItemCall;
using platform::testing::SecItemRequest;

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

}  // namespace
}  // namespace server
