// SPDX-License-Identifier: Apache-2.0

#include "server/SharedDefaults.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/support/InMemoryUserDefaults.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace server {
namespace {

using platform::testing::InMemoryUserDefaults;
using platform::testing::ScopedEnvironment;
using platform::testing::TemporaryFolder;

SharedDefaults defaults(boost::json::object values, const std::map<std::string, std::string>& environment) {
    return {std::make_unique<InMemoryUserDefaults>(std::move(values)), baseURL(environment)};
}

TEST(SharedDefaults, UsesTheBuiltInAddressWithoutAnyOverride) {
    EXPECT_EQ(defaults({}, {}).serverURL(), VELA_ACCOUNT_SERVER_URL);
    EXPECT_EQ(defaults({}, {{"HOME", "/"}}).serverURL(), VELA_ACCOUNT_SERVER_URL);
}

TEST(SharedDefaults, TakesTheEnvironmentsBaseURLAsItStands) {
    EXPECT_EQ(defaults({}, {{"BASE_URL", "http://127.0.0.1:1/"}}).serverURL(), "http://127.0.0.1:1/");
    EXPECT_EQ(defaults({}, {{"BASE_URL", ""}}).serverURL(), "");
}

TEST(SharedDefaults, LetsTheSuiteWinOverTheEnvironment) {
    EXPECT_EQ(defaults({{"PONTAL_URL", " http://a "}}, {{"BASE_URL", "http://b"}}).serverURL(), " http://a ");
    EXPECT_EQ(defaults({{"PONTAL_URL", ""}}, {{"BASE_URL", "http://b"}}).serverURL(), "");
}

TEST(SharedDefaults, IgnoresAnOverrideThatIsNoText) {
    const boost::json::value values[] = {7, 1.5, true, nullptr, boost::json::array(), boost::json::object()};
    for (const auto& value : values)
        EXPECT_EQ(defaults({{"PONTAL_URL", value}}, {{"BASE_URL", "http://b"}}).serverURL(), "http://b");
}

TEST(SharedDefaults, SeesAChangeOnTheNextRead) {
    auto store = std::make_unique<InMemoryUserDefaults>();
    auto& suite = *store;
    const SharedDefaults shared(std::move(store), "http://b");
    EXPECT_EQ(shared.serverURL(), "http://b");
    suite.setObject("PONTAL_URL", "http://a");
    EXPECT_EQ(shared.serverURL(), "http://a");
    suite.removeObject("PONTAL_URL");
    EXPECT_EQ(shared.serverURL(), "http://b");
}

TEST(SuiteName, IsTheInfoDictionarysGroupWhereThatIsAText) {
    constexpr const char* builtIn = "group.com.tervane.pontal.shared";
    EXPECT_EQ(suiteName(std::nullopt), builtIn);
    EXPECT_EQ(suiteName(boost::json::object()), builtIn);
    EXPECT_EQ(suiteName(boost::json::object({{"OTHER", "x"}})), builtIn);
    EXPECT_EQ(suiteName(boost::json::object({{"GROUP_IDENTIFIER", 7}})), builtIn);
    EXPECT_EQ(suiteName(boost::json::object({{"GROUP_IDENTIFIER", nullptr}})), builtIn);
    EXPECT_EQ(suiteName(boost::json::object({{"GROUP_IDENTIFIER", "group.mine"}})), "group.mine");
}

// Each in a process of its own: what is made on first use stays.

TEST(SharedDefaultsDeathTest, AreOneForTheProcessWithTheSettingsOfItsFirstUse) {
    const TemporaryFolder folder;
    const auto isOneAndStays = [&] {
        const ScopedEnvironment environment({{"XDG_DATA_HOME", folder.path()}, {"BASE_URL", "http://first"}});
        const SharedDefaults& first = SharedDefaults::shared();
        const std::string suite = suiteName();
        if (first.serverURL() != "http://first") return false;
        setenv("BASE_URL", "http://second", 1);
        setenv("VELA_BUNDLE",
               folder.write("Info.json", R"({"GROUP_IDENTIFIER": "other"})").parent_path().c_str(), 1);
        return &SharedDefaults::shared() == &first && first.serverURL() == "http://first" &&
               suiteName() == suite;
    };
    EXPECT_EXIT(std::_Exit(isOneAndStays() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(SharedDefaultsDeathTest, StopTheProcessWhereTheirSuiteCannotBeOpened) {
    const TemporaryFolder folder;
    const ScopedEnvironment environment({{"XDG_DATA_HOME", folder.write("file", "")}});
    EXPECT_DEATH(SharedDefaults::shared(), "The shared defaults suite .* cannot be opened");
}

}  // namespace
}  // namespace server
