// SPDX-License-Identifier: Apache-2.0

#include "server/PackageFetch.hpp"

#include <unistd.h>

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <system_error>

#include "platform/JSON/JSONSerialization.hpp"
#include "platform/ProcessInfo/ExpiringActivity.hpp"
#include "platform/Security/EmbeddedItemStore.hpp"
#include "tests/server/AccountServerTwin.hpp"
#include "tests/support/ChildProcess.hpp"
#include "tests/support/ScriptedItemStore.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace server {
namespace {

using platform::testing::ScriptedItemStore;

constexpr const char* refreshed =
    R"({"data":{"accessTokenRefresh":{"authPayload":{"accessToken":"new access","refreshToken":"new refresh",)"
    R"("__typename":"Auth"},"userErrors":[],"__typename":"AccessTokenRefreshPayload"},"__typename":"Mutation"}})";

std::string refreshAnswer(const std::string& payload, const std::string& errors) {
    return R"({"data":{"accessTokenRefresh":{"authPayload":)" + payload + R"(,"userErrors":)" + errors +
           R"(,"__typename":"AccessTokenRefreshPayload"},"__typename":"Mutation"}})";
}

std::string delivery(const std::string& id) {
    return R"({"__typename":"Delivery","id":")" + id +
           R"(","status":"IN_TRANSIT","state":"CURRENT","customName":")" + id +
           R"(","deliveryFlags":[],"exceptions":[]})";
}

std::string order(const std::string& id) {
    return R"({"__typename":"Order","id":")" + id +
           R"(","createdAt":"2024-05-01T12:00:00+0000","displayStatus":"paid","deliveryStatus":"pending",)"
           R"("lineItems":{"nodes":[],"__typename":"OrderLineItemConnection"},"shop":{"name":")" +
           id + R"(","__typename":"Shop"},"trackers":{"nodes":[],"__typename":"TrackerConnection"}})";
}

std::string list(const std::vector<std::string>& nodes) {
    std::string text = R"({"data":{"deliveriesOrdersList":{"nodes":[)";
    for (const auto& node : nodes) text += (&node == &nodes.front() ? "" : ",") + node;
    return text + R"(],"__typename":"DeliveriesOrdersListConnection"},"__typename":"Query"}})";
}

std::string caseOf(const std::exception_ptr& failure) {
    if (!failure) return "none";
    try {
        std::rethrow_exception(failure);
    } catch (const FetchPackagesError& error) {
        return error.what();
    } catch (const std::exception& error) {
        return std::string("another error: ") + error.what();
    } catch (...) {
        return "no exception of the standard library";
    }
}

class PackageFetchTest : public AccountServerTwin {
  protected:
    std::optional<presentation::PackageList> fetched() { return awaited(fetch.fetchPackages()); }

    /// The case that a fetch fails with.
    std::string failure() {
        try {
            fetched();
            return "none";
        } catch (const FetchPackagesError& error) {
            return error.what();
        }
    }

    std::string refreshFailure() {
        try {
            awaited(fetch.refreshAccessToken());
            return "none";
        } catch (const RefreshTokenError& error) {
            return error.what();
        }
    }

    std::vector<std::string> bodies() {
        std::vector<std::string> operations;
        for (const auto& request : session->requests())
            operations.push_back(request.httpBody.find("mutation RefreshAccessToken") != std::string::npos
                                     ? "mutation"
                                     : "query");
        return operations;
    }

    std::string stored(const char* key) {
        return tokens.withExclusiveAccess(
            [&](const Keychain& keychain) { return keychain.stringValue(key).value_or("none"); });
    }

    PackageFetch fetch{connectivity, tokens};
};

TEST_F(PackageFetchTest, KeepsTheServersOrderAndDropsItemsOfUnknownKind) {
    signIn("access", "refresh");
    session->answer(200,
                    list({delivery("a"), R"({"__typename":"Article","id":"x"})", order("b"), delivery("c")}));
    const auto packages = fetched();
    ASSERT_TRUE(packages);
    std::vector<std::string> names;
    for (const auto& package : *packages) names.push_back(package->shopName());
    EXPECT_EQ(names, (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(bodies(), std::vector<std::string>{"query"});
}

TEST_F(PackageFetchTest, GivesAnEmptyListWithoutAnErrorWhereThereIsNothing) {
    for (const auto& body :
         {list({}), std::string(R"({"data":{"__typename":"Query","deliveriesOrdersList":null}})")}) {
        session->answer(200, body);
        EXPECT_TRUE(fetched()->empty());
    }
}

TEST_F(PackageFetchTest, RenewsThePairAfterA401AndFailsWithNoPackagesFound) {
    signIn("old access", "old refresh");
    session->answer(401, "");
    session->answer(200, refreshed);
    EXPECT_EQ(failure(), "noPackagesFound");
    EXPECT_EQ(bodies(), (std::vector<std::string>{"query", "mutation"}));
    EXPECT_EQ(stored("accessToken"), "new access");
    EXPECT_EQ(stored("refreshToken"), "new refresh");
    EXPECT_NE(session->requests()[1].httpBody.find("old refresh"), std::string::npos);
}

TEST_F(PackageFetchTest, AsksForPicturesOfAtMost192Pixels) {
    EXPECT_EQ(failure(), "refreshTokenError");
    ASSERT_EQ(session->requests().size(), 1u);
    const auto body = platform::JSONSerialization::JSONObjectWithData(session->requests()[0].httpBody);
    EXPECT_EQ(body.at("variables"), boost::json::value({{"maxImageSize", 192}}));
}

TEST_F(PackageFetchTest, RenewsInEachOfTwoFetchesAtOnce) {
    signIn("old access", "old refresh");
    for (int query = 0; query < 2; ++query) session->answer(401, "");
    for (const std::string number : {"1", "2"})
        session->answer(
            200, refreshAnswer(R"({"accessToken":"access )" + number + R"(","refreshToken":"refresh )" +
                                   number + R"(","__typename":"Auth"})",
                               "[]"));
    boost::asio::io_context context;
    std::vector<std::exception_ptr> failures(2);
    for (auto& failed : failures)
        boost::asio::co_spawn(context, fetch.fetchPackages(),
                              [&](const std::exception_ptr& error, const auto&) { failed = error; });
    context.run();
    for (const auto& failed : failures) EXPECT_EQ(caseOf(failed), "noPackagesFound");
    ASSERT_EQ(bodies(), (std::vector<std::string>{"query", "query", "mutation", "mutation"}));
    for (const std::size_t mutation : {2u, 3u})
        EXPECT_NE(session->requests()[mutation].httpBody.find("old refresh"), std::string::npos);
    EXPECT_EQ(stored("accessToken"), "access 2");
    EXPECT_EQ(stored("refreshToken"), "refresh 2");
}

/// Answers from a script up to the request at which it falls silent.
class SilentURLSession final : public platform::testing::ScriptedURLSession {
  public:
    SilentURLSession(int requestsAnswered, std::function<void()> onSilence)
        : requestsAnswered_(requestsAnswered), onSilence_(std::move(onSilence)) {}

    boost::asio::awaitable<platform::URLReply> data(platform::URLRequest request) override {
        if (requestsAnswered_-- > 0) co_return co_await ScriptedURLSession::data(std::move(request));
        boost::asio::steady_timer never(co_await boost::asio::this_coro::executor,
                                        boost::asio::steady_timer::time_point::max());
        onSilence_();
        co_await never.async_wait(boost::asio::use_awaitable);
        std::abort();
    }

  private:
    int requestsAnswered_;
    std::function<void()> onSilence_;
};

TEST_F(PackageFetchTest, FailsWithACaseOfItsOwnWhenItIsCancelled) {
    for (const int requestsAnswered : {0, 1}) {
        signIn("old access", "old refresh");
        boost::asio::io_context context;
        boost::asio::cancellation_signal signal;
        const auto silent = std::make_shared<SilentURLSession>(requestsAnswered, [&] {
            boost::asio::post(context, [&] { signal.emit(boost::asio::cancellation_type::terminal); });
        });
        silent->answer(401, "");
        PackageFetch cancelled(
            std::make_shared<VelaServerConnectivity>(defaults, keychains, [silent] { return silent; }),
            tokens);
        std::exception_ptr failed;
        boost::asio::co_spawn(
            context, cancelled.fetchPackages(),
            boost::asio::bind_cancellation_slot(
                signal.slot(), [&](const std::exception_ptr& error, const auto&) { failed = error; }));
        context.run();
        EXPECT_EQ(caseOf(failed), "refreshTokenError") << requestsAnswered;
        EXPECT_EQ(stored("refreshToken"), "old refresh") << requestsAnswered;
    }
}

/// Fails with whatever it is given.
class FailingURLSession final : public platform::testing::ScriptedURLSession {
  public:
    explicit FailingURLSession(std::exception_ptr failure) : failure_(std::move(failure)) {}
    boost::asio::awaitable<platform::URLReply> data(platform::URLRequest request) override {
        if (request.httpBody.find("mutation") != std::string::npos)
            co_return co_await ScriptedURLSession::data(std::move(request));
        std::rethrow_exception(failure_);
    }

  private:
    std::exception_ptr failure_;
};

TEST_F(PackageFetchTest, FailsWithACaseOfItsOwnWhateverIsRaised) {
    const std::exception_ptr failures[] = {
        std::make_exception_ptr(std::bad_alloc()),
        std::make_exception_ptr(std::system_error(std::make_error_code(std::errc::too_many_files_open))),
        std::make_exception_ptr(std::logic_error("of the library")),
        std::make_exception_ptr("no exception of the standard library"),
    };
    for (const auto& failure : failures) {
        signIn("old access", "old refresh");
        const auto failing = std::make_shared<FailingURLSession>(failure);
        PackageFetch raising(
            std::make_shared<VelaServerConnectivity>(defaults, keychains, [failing] { return failing; }),
            tokens);
        failing->answer(200, refreshed);
        for (const std::string expected : {"noPackagesFound", "refreshTokenError"}) {
            try {
                awaited(raising.fetchPackages());
                ADD_FAILURE() << "nothing was raised";
            } catch (...) {
                EXPECT_EQ(caseOf(std::current_exception()), expected);
            }
        }
    }
}

TEST_F(PackageFetchTest, SendsTheRenewedTokenWithTheNextFetch) {
    signIn("old access", "old refresh");
    session->answer(401, "");
    session->answer(200, refreshed);
    session->answer(200, list({}));
    EXPECT_EQ(failure(), "noPackagesFound");
    EXPECT_TRUE(fetched()->empty());
    EXPECT_EQ(session->requests()[2].value("authorization"), "Bearer new access");
}

TEST_F(PackageFetchTest, SendsNothingAfterTheQueryWithoutARefreshToken) {
    session->answer(401, "");
    EXPECT_EQ(failure(), "refreshTokenError");
    EXPECT_EQ(bodies(), std::vector<std::string>{"query"});
}

TEST_F(PackageFetchTest, FailsWithRefreshTokenErrorWhileOffline) {
    signIn("access", "refresh");
    session->answer(platform::URLErrorCode::cannotConnectToHost);
    session->answer(platform::URLErrorCode::cannotConnectToHost);
    EXPECT_EQ(failure(), "refreshTokenError");
    EXPECT_EQ(bodies(), (std::vector<std::string>{"query", "mutation"}));
    EXPECT_EQ(stored("refreshToken"), "refresh");
}

TEST_F(PackageFetchTest, RenewsAfterAnyFailureOfTheQuery) {
    for (const auto* body :
         {"not JSON", R"({"data":null})", R"({"data":{}})", R"({"errors":[{"message":"Unauthorized"}]})"}) {
        signIn("access", "refresh");
        session->answer(200, body);
        session->answer(200, refreshed);
        EXPECT_EQ(failure(), "noPackagesFound") << body;
    }
}

TEST_F(PackageFetchTest, StoresNothingForAnInvalidRefreshToken) {
    signIn("access", "refresh");
    const std::string payload = R"({"accessToken":"a","refreshToken":"b","__typename":"Auth"})";
    const std::string invalid = R"([{"message":"other","__typename":"UserError"},)"
                                R"({"message":"invalid_refresh_token","__typename":"UserError"}])";
    for (const auto& answer : {refreshAnswer("null", invalid), refreshAnswer(payload, invalid)}) {
        session->answer(200, answer);
        EXPECT_EQ(refreshFailure(), "unknown");
        session->answer(401, "");
        session->answer(200, answer);
        EXPECT_EQ(failure(), "refreshTokenError");
        EXPECT_EQ(stored("accessToken"), "access");
        EXPECT_EQ(stored("refreshToken"), "refresh");
    }
}

TEST_F(PackageFetchTest, ComparesTheUserErrorWhole) {
    signIn("access", "refresh");
    const std::string payload = R"({"accessToken":"a","refreshToken":"b","__typename":"Auth"})";
    for (const auto* message :
         {"invalid_refresh_token ", "Invalid_refresh_token", "invalid_refresh_tokens", ""}) {
        const auto errors = R"([{"message":")" + std::string(message) + R"(","__typename":"UserError"}])";
        session->answer(200, refreshAnswer(payload, errors));
        EXPECT_EQ(refreshFailure(), "none") << message;
        session->answer(200, refreshAnswer("null", errors));
        EXPECT_EQ(refreshFailure(), "unknown") << message;
    }
    EXPECT_EQ(stored("accessToken"), "a");
}

TEST_F(PackageFetchTest, FailsTheRefreshAsUnknownForEveryOtherFailure) {
    signIn("access", "refresh");
    session->answer(401, refreshed);
    EXPECT_EQ(refreshFailure(), "unknown");
    session->answer(200, "not JSON");
    EXPECT_EQ(refreshFailure(), "unknown");
    session->answer(platform::URLErrorCode::timedOut);
    EXPECT_EQ(refreshFailure(), "unknown");
    session->answer(200, refreshAnswer("null", "[]"));
    EXPECT_EQ(refreshFailure(), "unknown");
}

TEST_F(PackageFetchTest, FailsTheRefreshBeforeAnyRequestWithoutARefreshToken) {
    EXPECT_EQ(refreshFailure(), "missingRefreshToken");
    EXPECT_TRUE(session->requests().empty());
}

TEST_F(PackageFetchTest, MovesALegacyRefreshTokenBeforeItIsUsed) {
    legacyTokenKeychain().setData(platform::Data{"old place"}, "refreshToken");
    session->answer(200, refreshed);
    EXPECT_EQ(refreshFailure(), "none");
    EXPECT_NE(session->requests()[0].httpBody.find("old place"), std::string::npos);
    EXPECT_TRUE(legacyTokenKeychain().allItems().empty());
    EXPECT_EQ(stored("refreshToken"), "new refresh");
}

TEST_F(PackageFetchTest, StoresThePairInOneTransaction) {
    signIn("old access", "old refresh");
    ScriptedItemStore scripted;
    const platform::SecItemStore::Override scriptInForce(scripted);
    scripted.answer(platform::errSecSuccess, platform::Data{"old refresh"});
    for (int call = 0; call < 4; ++call) scripted.answer(platform::errSecSuccess);
    session->answer(200, refreshed);
    EXPECT_EQ(refreshFailure(), "none");
    using Record = platform::testing::SecItemTransactionRecord;
    EXPECT_EQ(scripted.transactions(), (std::vector<Record>{{.begin = 0, .end = 1, .isCommitted = true},
                                                            {.begin = 1, .end = 5, .isCommitted = true}}));
    std::vector<std::string> accounts;
    for (const auto& request : scripted.requests())
        accounts.push_back(std::get<std::string>(request.attributes.at("acct")));
    EXPECT_EQ(accounts, (std::vector<std::string>{"refreshToken", "accessToken", "accessToken",
                                                  "refreshToken", "refreshToken"}));
}

TEST_F(PackageFetchTest, HoldsTheStoreFromReadingTheRefreshTokenToStoringThePair) {
    signIn("old access", "old refresh");
    std::vector<platform::OSStatus> statuses;
    const auto replace = [&] {
        statuses.push_back(store.lock(platform::SecItemHold::exclusive)->tryAcquire());
    };
    session->onRequest(replace);
    session->answer(200, refreshed);
    EXPECT_EQ(refreshFailure(), "none");
    replace();
    EXPECT_EQ(statuses, (std::vector<platform::OSStatus>{platform::errSecInteractionNotAllowed,
                                                         platform::errSecSuccess}));
}

TEST_F(PackageFetchTest, WaitsForASignInThatIsOnItsWayAndRenewsItsPair) {
    signIn("old access", "old refresh");
    auto companion = store.lock(platform::SecItemHold::exclusive);
    ASSERT_EQ(companion->tryAcquire(), platform::errSecSuccess);
    session->answer(200, refreshed);
    boost::asio::io_context context;
    boost::asio::co_spawn(context, fetch.refreshAccessToken(), boost::asio::detached);
    context.poll();
    EXPECT_TRUE(session->requests().empty());
    signIn("another's access", "another's refresh");
    companion.reset();
    context.run();
    ASSERT_EQ(session->requests().size(), 1u);
    EXPECT_NE(session->requests()[0].httpBody.find("another's refresh"), std::string::npos);
    EXPECT_EQ(stored("refreshToken"), "new refresh");
}

TEST_F(PackageFetchTest, GivesUpWhenTheCompanionHoldsTheStoreForLong) {
    signIn("access", "refresh");
    const auto companion = store.lock(platform::SecItemHold::exclusive);
    ASSERT_EQ(companion->tryAcquire(), platform::errSecSuccess);
    EXPECT_EQ(refreshFailure(), "unknown");
    EXPECT_TRUE(session->requests().empty());
    EXPECT_EQ(stored("refreshToken"), "refresh");
}

// Can be read, and says so when something that is written could not be kept.
class FullItemStore : public platform::testing::InMemoryItemStore {
  public:
    std::unique_ptr<platform::SecItemLock> lock(platform::SecItemHold) override {
        struct Refused : platform::SecItemLock {
            platform::OSStatus tryAcquire() override { return platform::errSecIO; }
        };
        return std::make_unique<Refused>();
    }
};

TEST_F(PackageFetchTest, SpendsNoTokenWhereItsSuccessorCouldNotBeKept) {
    FullItemStore full;
    const platform::SecItemStore::Override fullInForce(full);
    EXPECT_EQ(refreshFailure(), "missingRefreshToken");
    signIn("access", "refresh");
    EXPECT_EQ(refreshFailure(), "unknown");
    EXPECT_TRUE(session->requests().empty());
}

TEST_F(PackageFetchTest, SpendsNoTokenOnceItsProcessIsAskedToEnd) {
    EXPECT_EQ(platform::testing::runInChild([&] {
                  signIn("access", "refresh");
                  const auto other = platform::ExpiringActivity::begin();
                  platform::endAfterActivities();
                  const bool isRefused = refreshFailure() == "unknown" && session->requests().empty();
                  ::_exit(isRefused ? 7 : 8);
                  return 0;
              }),
              7);
}

TEST_F(PackageFetchTest, FinishesARenewalWhenItsProcessIsAskedToEndMeanwhile) {
    const platform::testing::TemporaryFolder folder;
    platform::EmbeddedItemStore kept(folder.path() / "vela" / "keychain.sqlite");
    const platform::SecItemStore::Override keptInForce(kept);
    EXPECT_EQ(platform::testing::runInChild([&] {
                  signIn("old access", "old refresh");
                  session->onRequest([] { platform::endAfterActivities(); });
                  session->answer(200, refreshed);
                  refreshFailure();
                  return 9;
              }),
              0)
        << "it ends with the renewal";
    EXPECT_EQ(stored("accessToken"), "new access");
    EXPECT_EQ(stored("refreshToken"), "new refresh");
}

TEST_F(PackageFetchTest, StoresTheAccessTokenFirst) {
    platform::testing::InMemoryItemStore fresh;
    const platform::SecItemStore::Override freshInForce(fresh);
    legacyTokenKeychain().setData(platform::Data{"x"}, "refreshToken");
    session->answer(200, refreshed);
    awaited(fetch.refreshAccessToken());
    tokens.withExclusiveAccess([](const Keychain& keychain) {
        // The refresh token moved here from the legacy place before anything was sent, so it is the older
        // item.
        const auto items = keychain.allItems();
        ASSERT_EQ(items.size(), 2u);
        EXPECT_LE(keychain.itemWithKey("accessToken")->modificationDate,
                  keychain.itemWithKey("refreshToken")->modificationDate);
    });
}

}  // namespace
}  // namespace server
