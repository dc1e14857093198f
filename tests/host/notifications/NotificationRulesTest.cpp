// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Notifications/NotificationRules.hpp"

#include <gmock/gmock.h>

#include "platform/Digest/SHA256.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "presentation/Wording.hpp"
#include "tests/host/notifications/ShownPackages.hpp"

namespace host {
namespace {

using presentation::Wording;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

LiveState inState(std::string_view state) {
    return {.entry = entryFromValue({{"date", "2026-01-31T10:00:00.000Z"}, {"state", state}})};
}

/// What is told when one parcel goes from one standing to another.
std::vector<Notice> toldOf(const ShownPackage& before, const ShownPackage& after) {
    NotificationRules rules;
    EXPECT_THAT(rules.take(showing({before})), IsEmpty()) << "the first look";
    return rules.take(showing({after}));
}

TEST(NotificationRules, TellsThatAPackageComesNearOrArrives) {
    EXPECT_THAT(toldOf({"Shop", 0.6F}, {"Shop", 0.8F}), SizeIs(1));
    EXPECT_THAT(toldOf({"Shop", 0.8F}, {"Shop", 1.0F}), SizeIs(1));
    EXPECT_THAT(toldOf({"Shop", 0.6F}, {"Shop", 1.0F}), SizeIs(1));
}

TEST(NotificationRules, TellsNotOfSmallerStepsNorOfStepsBack) {
    EXPECT_THAT(toldOf({"Shop", 0.2F}, {"Shop", 0.6F}), IsEmpty());
    EXPECT_THAT(toldOf({"Shop", 1.0F}, {"Shop", 0.8F}), IsEmpty());
    EXPECT_THAT(toldOf({"Shop", 0.8F}, {"Shop", 0.8F, "Two stops away"}), IsEmpty());
}

TEST(NotificationRules, TakesNoPackageForArrivedBeforeItHas) {
    NotificationRules rules;
    rules.take(showing({{"Shop", 0.6F}}));
    EXPECT_THAT(rules.take(showing({{"Shop", 0.85F}})), SizeIs(1)) << "near";
    EXPECT_THAT(rules.take(showing({{"Shop", 0.99F}})), IsEmpty()) << "near still";
    EXPECT_THAT(rules.take(showing({{"Shop", 1.0F}})), SizeIs(1));
}

TEST(NotificationRules, TakesNoPackageForNearerThatOnlyLosesItsWord) {
    EXPECT_THAT(toldOf({"Shop", 0.85F, std::string(Wording::deliveryDelayed)}, {"Shop", 0.85F}), IsEmpty());
}

TEST(NotificationRules, TellsOfEachWordThatAPersonGetsUpForWhateverTheProgress) {
    for (const auto word : {Wording::delivered, Wording::readyForPickup, Wording::deliveryDelayed,
                            Wording::attemptedDelivery, Wording::failure, Wording::customsPaymentDue})
        EXPECT_THAT(toldOf({"Shop", 0.6F}, {"Shop", 0.0F, std::string(word)}), SizeIs(1)) << word;
}

TEST(NotificationRules, TellsOfNoOtherWord) {
    for (const auto word :
         {Wording::cancelled, Wording::inTransit, Wording::orderPlaced, Wording::outForDelivery,
          Wording::refunded, Wording::returned, Wording::unknown, Wording::noRecentActivity})
        EXPECT_THAT(toldOf({"Shop", 0.6F}, {"Shop", 0.6F, std::string(word)}), IsEmpty()) << word;
}

TEST(NotificationRules, TheNoticeSaysWhoWhatAndWhereItLeads) {
    EXPECT_THAT(
        toldOf({"Shop", 0.6F}, {"Shop", 1.0F, "Delivered"}),
        ElementsAre(Notice{
            .link = "velaapp://delivery/Shop", .title = "Shop", .status = "Delivered", .detail = "by noon"}));
}

TEST(NotificationRules, TellsNothingOfAPackageThatWasNotInTheList) {
    NotificationRules rules;
    rules.take(showing({{"One", 0.6F}}));
    EXPECT_THAT(rules.take(showing({{"One", 0.6F}, {"Old", 1.0F, "Delivered"}})), IsEmpty());
}

TEST(NotificationRules, TellsNothingTwiceThoughAStatusComesAndGoes) {
    NotificationRules rules;
    rules.take(showing({{"Shop", 0.6F}}));
    const ShownPackage delayed = {"Shop", 0.0F, std::string(Wording::deliveryDelayed)};
    EXPECT_THAT(rules.take(showing({delayed})), SizeIs(1));
    EXPECT_THAT(rules.take(showing({{"Shop", 0.6F}})), IsEmpty());
    EXPECT_THAT(rules.take(showing({delayed})), IsEmpty());
}

TEST(NotificationRules, TellsOnceOfALinkThatStandsTwiceInTheList) {
    NotificationRules rules;
    rules.take(showing({{"Shop", 0.6F}, {"Shop", 0.6F}}));
    EXPECT_THAT(rules.take(showing({{"Shop", 1.0F}, {"Shop", 1.0F}})), SizeIs(1));
}

TEST(NotificationRules, WhatIsNoNewsChangesNothing) {
    NotificationRules rules;
    rules.take(showing({{"Shop", 0.6F}}));
    const auto memory = rules.memory();
    LiveState placeholder = showing({{"Shop", 1.0F}});
    placeholder.isPlaceholder = true;
    EXPECT_THAT(rules.take(placeholder), IsEmpty());
    LiveState kept = showing({{"Shop", 1.0F}});
    kept.asOf = platform::Date::since1970(0);
    EXPECT_THAT(rules.take(kept), IsEmpty());
    EXPECT_EQ(rules.memory(), memory);
    EXPECT_THAT(rules.take(showing({{"Shop", 1.0F}})), SizeIs(1));
}

TEST(NotificationRules, AfterASignOutTheNextLookIsTheFirst) {
    for (const auto state : {"notLoggedIn", "noPackages"}) {
        NotificationRules rules;
        rules.take(showing({{"Shop", 0.6F}}));
        EXPECT_THAT(rules.take(inState(state)), IsEmpty());
        EXPECT_EQ(rules.memory(), NotificationRules().memory());
        EXPECT_THAT(rules.take(showing({{"Shop", 1.0F}})), IsEmpty());
    }
}

TEST(NotificationRules, AnotherHostGoesOnWhereTheFirstEnded) {
    NotificationRules first;
    first.take(showing({{"Near", 0.6F}, {"Told", 0.6F}}));
    first.take(showing({{"Near", 0.6F}, {"Told", 0.8F}}));
    NotificationRules second;
    second.remember(platform::JSONSerialization::JSONObjectWithData(
        platform::JSONSerialization::dataWithJSONObject(first.memory())));
    EXPECT_THAT(second.take(showing({{"Near", 0.8F}, {"Told", 0.8F}})),
                ElementsAre(::testing::Field(&Notice::title, "Near")));
}

TEST(NotificationRules, RemembersNothingThatCanBeRead) {
    NotificationRules rules;
    rules.take(showing({{"Blumenladen", 1.0F, "Delivered"}}));
    const auto text = platform::JSONSerialization::dataWithJSONObject(rules.memory());
    for (const char* word : {"Blumenladen", "velaapp", "Delivered"}) EXPECT_THAT(text, Not(HasSubstr(word)));
}

TEST(NotificationRules, AMemoryOfAnotherShapeIsNone) {
    for (const char* text : {"null", "[]", "{}", R"({"packages":1})", R"({"packages":{"a":1}})",
                             R"({"packages":{"a":{"progress":"x","told":[]}}})",
                             R"({"packages":{"a":{"progress":1,"told":7}}})"}) {
        NotificationRules rules;
        rules.take(showing({{"Shop", 0.6F}}));
        rules.remember(platform::JSONSerialization::JSONObjectWithData(text));
        EXPECT_EQ(rules.memory(), NotificationRules().memory()) << text;
    }
}

TEST(SHA256, GivesThePublishedDigests) {
    EXPECT_EQ(platform::sha256(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(platform::sha256("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(platform::sha256("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(platform::sha256(std::string(1'000'000, 'a')),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(NotificationRules, TakesFromItsMemoryWhatItUnderstands) {
    NotificationRules rules;
    rules.remember(platform::JSONSerialization::JSONObjectWithData(
        R"({"packages":{"key":{"progress":0.5,"told":[1,null,["x"],"hash"]}}})"));
    EXPECT_EQ(rules.memory(),
              (boost::json::object{{"packages", {{"key", {{"progress", 0.5F}, {"told", {"hash"}}}}}}}));
}

}  // namespace
}  // namespace host
