// SPDX-License-Identifier: Apache-2.0

#include "sandbox/Scenario.hpp"

#include <unistd.h>

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <filesystem>
#include <fstream>

#include "sandbox/Error.hpp"
#include "tests/sandbox/RunningSandbox.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using boost::json::parse;
using sandbox::Scenario;

const sandbox::WallTime wallNow =
    std::chrono::local_days(std::chrono::year(2024) / 2 / 29) + 12h + 30min + 15s;

TEST(ScenarioRules, AreReplacedByWhatTheyStandFor) {
    const sandbox::ScenarioContext context{.now = wallNow, .baseURL = "http://here", .maximumImageSize = 64};
    const auto given = parse(R"({"url": {"$picture": "a.png"}, "imageUrl": {"$picture": "a.png"},
        "list": [{"$now": "+1d"}, {"$url": "/loop"}, {"$repeat": "ab", "times": 3}], "kept": {"plain": 1}})");
    EXPECT_EQ(sandbox::resolved(given, context),
              parse(R"({"url": "http://here/pictures/a.png?maxWidth=64&maxHeight=64",
        "imageUrl": "http://here/pictures/a.png", "list": ["2024-03-01T12:30:15+0000", "http://here/loop", "ababab"],
        "kept": {"plain": 1}})"));
}

TEST(ShippedScenario, LoadsAndServesEveryPage) {
    const sandbox::ScenarioContext context{.now = wallNow, .baseURL = "http://here", .maximumImageSize = 192};
    for (const std::string name :
         {"empty", "every-delivery-status", "every-order-status", "everyday", "expired-token", "hostile",
          "one", "pictures", "signed-out", "unknown-types"}) {
        const Scenario scenario = Scenario::load(name, SANDBOX_DATA_FOLDER);
        for (std::size_t page = 0; page < 4; ++page)
            EXPECT_LE(scenario.page(page, context).size(), 10u) << name;
    }
}

TEST(ShippedScenario, EverydayShowsTenItemsOfManyStatuses) {
    const Scenario scenario = Scenario::load("everyday", SANDBOX_DATA_FOLDER);
    std::set<std::string> statuses;
    for (const auto& item : scenario.items) {
        const auto& record = item.as_object();
        const auto* status = record.if_contains("status");
        statuses.insert(std::string((status ? *status : record.at("displayStatus")).as_string()));
    }
    EXPECT_EQ(scenario.items.size(), 10u);
    EXPECT_GE(statuses.size(), 8u);
}

class ScenarioFile : public testing::Test {
  public:
    ~ScenarioFile() override { std::filesystem::remove_all(folder_); }

  protected:
    ScenarioFile() {
        char pattern[] = "/tmp/scenario-XXXXXX";
        folder_ = mkdtemp(pattern);
    }
    std::string write(const std::string& text) const {
        const std::string path = folder_ / "mine.json";
        std::ofstream(path) << text;
        return path;
    }

  private:
    std::filesystem::path folder_;
};

TEST_F(ScenarioFile, IsServedByItsPath) {
    const std::string path = write(R"({"reply": {"data": null, "errors": [{"message": "Oh"}]}})");
    const tests::RunningSandbox sandbox(tests::serving(path));
    EXPECT_EQ(sandbox.query().json(), parse(R"({"data": null, "errors": [{"message": "Oh"}]})"));
}

TEST_F(ScenarioFile, IsRefusedWithAReason) {
    const struct {
        std::string text;
        std::string reason;
    } rows[] = {
        {"{", "is not JSON"},
        {"[]", "is not a JSON object"},
        {R"({"itmes": []})", "unknown key \"itmes\""},
        {R"({"items": {}})", "\"items\" is not a list"},
        {R"({"items": [1]})", "an item is not an object"},
        {R"({"accessToken": "old"})", "neither \"valid\" nor \"refused\""},
        {R"({"items": [{"__typename": "Article", "at": {"$now": "tomorrow"}}]})", "unreadable shift"},
        {R"({"items": [{"__typename": "Article", "at": {"$repeat": "a", "times": -1}}]})", "\"times\""},
    };
    for (const auto& row : rows) {
        try {
            Scenario::load(write(row.text), SANDBOX_DATA_FOLDER);
            ADD_FAILURE() << row.text << " loads";
        } catch (const sandbox::Error& error) {
            EXPECT_THAT(error.what(), testing::HasSubstr(row.reason)) << row.text;
        }
    }
    EXPECT_THROW(Scenario::load("no-such-scenario", SANDBOX_DATA_FOLDER), sandbox::Error);
}

}  // namespace
