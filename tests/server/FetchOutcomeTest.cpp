// SPDX-License-Identifier: Apache-2.0

// How a fetch went, and what is stored of a sign-in, as a host is told.

#include <gtest/gtest.h>

#include <functional>

#include "server/PackageFetch.hpp"
#include "server/StoredCredentials.hpp"
#include "tests/server/AccountServerTwin.hpp"
#include "tests/support/ScriptedItemStore.hpp"

namespace server {
namespace {

using platform::testing::InMemoryUserDefaults;
using platform::testing::ScriptedItemStore;

constexpr const char* nothingToTrack = R"({"data":{"__typename":"Query","deliveriesOrdersList":null}})";
constexpr const char* renewedPair =
    R"({"data":{"accessTokenRefresh":{"authPayload":{"accessToken":"new access","refreshToken":"new refresh",)"
    R"("__typename":"Auth"},"userErrors":[],"__typename":"AccessTokenRefreshPayload"},"__typename":"Mutation"}})";
constexpr const char* spentPair =
    R"({"data":{"accessTokenRefresh":{"authPayload":null,"userErrors":[{"message":"invalid_refresh_token",)"
    R"("__typename":"UserError"}],"__typename":"AccessTokenRefreshPayload"},"__typename":"Mutation"}})";

const platform::URLErrorCode noNetwork = platform::URLErrorCode::cannotConnectToHost;
const platform::URLErrorCode trickling = platform::URLErrorCode::replyTimedOut;
const platform::URLErrorCode tooLong = platform::URLErrorCode::dataLengthExceedsMaximum;

class FetchOutcomeTest : public AccountServerTwin {
  protected:
    FetchReport report() { return awaited(fetch.fetch()); }
    CredentialReport storedNow() const { return storedCredentials(defaults); }

    PackageFetch fetch{connectivity, tokens};
};

TEST_F(FetchOutcomeTest, SaysThatTheServerAnswered) {
    signIn("access", "refresh");
    session->answer(200, nothingToTrack);
    const auto fetched = report();
    EXPECT_EQ(fetched.outcome, (FetchOutcome{.credentials = storedNow(), .server = ServerContact::answered}));
    EXPECT_TRUE(fetched.packages);
    EXPECT_FALSE(fetched.failure);
    EXPECT_EQ(fetched.outcome.credentials.state, CredentialState::stored);
}

TEST_F(FetchOutcomeTest, NamesTheCredentialsThatTheQueryWentOutWith) {
    signIn("Ada's access", "Ada's refresh");
    const auto before = storedNow();
    session->onRequest([&] { signIn("Bert's access", "Bert's refresh"); });
    session->answer(200, nothingToTrack);
    EXPECT_EQ(report().outcome.credentials, before);
    EXPECT_NE(storedNow(), before);
}

TEST_F(FetchOutcomeTest, SaysThatNothingIsStoredAnyMoreWhereSomebodySignedOutMeanwhile) {
    signIn("access", "refresh");
    session->onRequest([&] { sessionKeychain().deleteAll(); });
    session->answer(401, "");
    const auto outcome = report().outcome;
    EXPECT_EQ(outcome.credentials.state, CredentialState::none);
    EXPECT_EQ(outcome.credentials.tokens, 0u);
}

struct Case {
    const char* name;
    std::function<void(platform::testing::ScriptedURLSession&)> answers;
    CredentialState state;
    ServerContact server;
    bool hasRenewed;
};

TEST_F(FetchOutcomeTest, TellsFailuresApart) {
    using Session = platform::testing::ScriptedURLSession;
    for (const auto& [name, answers, state, server, hasRenewed] : {
             Case{"renewed", [](Session& each) { each.answer(401, ""), each.answer(200, renewedPair); },
                  CredentialState::stored, ServerContact::refused, true},
             Case{"expired", [](Session& each) { each.answer(401, ""), each.answer(200, spentPair); },
                  CredentialState::expired, ServerContact::refused, false},
             Case{"renewal refused", [](Session& each) { each.answer(401, ""), each.answer(401, ""); },
                  CredentialState::expired, ServerContact::refused, false},
             Case{"renewal lost", [](Session& each) { each.answer(401, ""), each.answer(noNetwork); },
                  CredentialState::stored, ServerContact::unreachable, false},
             Case{"renewal fails", [](Session& each) { each.answer(401, ""), each.answer(500, "oops"); },
                  CredentialState::stored, ServerContact::failed, false},
             Case{"no network", [](Session& each) { each.answer(noNetwork), each.answer(noNetwork); },
                  CredentialState::stored, ServerContact::unreachable, false},
             Case{"rubbish", [](Session& each) { each.answer(200, "rubbish"), each.answer(200, "rubbish"); },
                  CredentialState::stored, ServerContact::failed, false},
             Case{"trickles", [](Session& each) { each.answer(trickling), each.answer(trickling); },
                  CredentialState::stored, ServerContact::failed, false},
             Case{"too long, then lost", [](Session& each) { each.answer(tooLong), each.answer(noNetwork); },
                  CredentialState::stored, ServerContact::failed, false},
             // Who knows whether the access token is refused as well.
             Case{"rubbish, then refused",
                  [](Session& each) { each.answer(500, "oops"), each.answer(200, spentPair); },
                  CredentialState::stored, ServerContact::failed, false},
         }) {
        signIn("old access", "old refresh");
        answers(*session);
        const auto outcome = report().outcome;
        EXPECT_EQ(outcome.credentials.state, state) << name;
        EXPECT_EQ(outcome.server, server) << name;
        EXPECT_EQ(outcome.hasRenewed, hasRenewed) << name;
        EXPECT_EQ(outcome.credentials.tokens, storedNow().tokens) << name;
    }
}

TEST_F(FetchOutcomeTest, TakesARefusalWithoutARefreshTokenForTheEnd) {
    sessionKeychain().setData(platform::Data{"session"}, CredentialKey::session);
    session->answer(401, "");
    EXPECT_EQ(report().outcome.credentials.state, CredentialState::expired);
}

TEST_F(FetchOutcomeTest, TakesARefusalWithoutAnyCredentialsForASignOut) {
    session->answer(401, "");
    const auto outcome = report().outcome;
    EXPECT_EQ(outcome.credentials.state, CredentialState::none);
    EXPECT_EQ(outcome.server, ServerContact::refused);
}

class StoredCredentialsTest : public AccountServerTwin {
  protected:
    static SharedDefaults defaultsOf(const char* userId) {
        boost::json::object values;
        if (userId) values[SharedDefaultsKey::userId] = userId;
        return {std::make_unique<InMemoryUserDefaults>(std::move(values)), "http://127.0.0.1:9"};
    }
};

TEST_F(StoredCredentialsTest, AreTheSameWhereTheTokensAreWhereverTheyStand) {
    const Keychain current = sessionKeychain();
    for (const auto& keychain : {legacyTokenKeychain(), current}) {
        keychain.setData(platform::Data{"access"}, CredentialKey::accessToken);
        keychain.setData(platform::Data{"refresh"}, CredentialKey::refreshToken);
    }
    current.deleteAll();
    const auto legacy = storedCredentials(defaults);
    tokens.accessToken();
    tokens.refreshToken();
    EXPECT_EQ(storedCredentials(defaults), legacy);
    signIn("access", "another refresh");
    EXPECT_NE(storedCredentials(defaults).tokens, legacy.tokens);
}

TEST_F(StoredCredentialsTest, NameTheAccountWithoutNamingIt) {
    signIn("access", "refresh");
    const auto ada = storedCredentials(defaultsOf("1"));
    EXPECT_TRUE(ada.account);
    EXPECT_EQ(ada, storedCredentials(defaultsOf("1")));
    EXPECT_NE(ada.account, storedCredentials(defaultsOf("2")).account);
    EXPECT_FALSE(storedCredentials(defaultsOf(nullptr)).account);
}

/// Gives another user id with every reading.
class ChangingDefaults final : public InMemoryUserDefaults {
  public:
    std::optional<boost::json::value> objectForKey(std::string_view) const override {
        return boost::json::value(std::to_string(++readings_));
    }

  private:
    mutable int readings_ = 0;
};

TEST_F(StoredCredentialsTest, NameNoAccountThatChangesWhileTheyAreLookedAt) {
    signIn("access", "refresh");
    const SharedDefaults changing(std::make_unique<ChangingDefaults>(), "http://127.0.0.1:9");
    const auto found = storedCredentials(changing);
    EXPECT_EQ(found.state, CredentialState::stored);
    EXPECT_FALSE(found.account);
}

TEST_F(StoredCredentialsTest, SayNothingAndChangeNothing) {
    printed();
    storedCredentials(defaults);
    EXPECT_EQ(printed(), "");
    ScriptedItemStore scripted;
    const platform::SecItemStore::Override other(scripted);
    storedCredentials(defaults);
    EXPECT_TRUE(scripted.transactions().empty());
    for (const auto& request : scripted.requests())
        EXPECT_EQ(request.call, platform::testing::SecItemCall::copyMatching);
}

TEST_F(StoredCredentialsTest, AreGoneOnlyWhereTheKeychainSaysSo) {
    struct Fault {
        platform::OSStatus status;
        CredentialState state;
    };
    for (const auto& [status, state] : {
             Fault{platform::errSecItemNotFound, CredentialState::none},
             Fault{platform::errSecInteractionNotAllowed, CredentialState::locked},
             Fault{platform::errSecNotAvailable, CredentialState::unreadable},
             Fault{platform::errSecIO, CredentialState::unreadable},
             Fault{-1, CredentialState::unreadable},
         }) {
        ScriptedItemStore scripted;
        const platform::SecItemStore::Override other(scripted);
        scripted.answer(status);
        EXPECT_EQ(storedCredentials(defaults).state, state) << status;
    }
}

}  // namespace
}  // namespace server
