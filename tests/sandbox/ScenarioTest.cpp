#include "sandbox/Scenario.hpp"

#include <unistd.h>

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <filesystem>
#include <fstream>

#include "sandbox/DateRule.hpp"
#include "sandbox/Error.hpp"
#include "sandbox/Selection.hpp"
#include "tests/sandbox/RunningSandbox.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using boost::json::parse;
using sandbox::Scenario;

const sandbox::WallTime leapDay =
    std::chrono::local_days(std::chrono::year(2024) / 2 / 29) + 12h + 30min + 15s;

TEST(DateRule, TellsDatesFromNow) {
    const struct {
        std::string shift;
        std::optional<std::string> at;
        std::string text;
    } rows[] = {
        {"", {}, "2024-02-29T12:30:15+0000"},         {"-1d", {}, "2024-02-28T12:30:15+0000"},
        {"+1d", "00:05", "2024-03-01T00:05:00+0000"}, {"-2h30m", {}, "2024-02-29T10:00:15+0000"},
        {"-1y", {}, "2023-02-28T12:30:15+0000"},      {"+1mo", {}, "2024-03-29T12:30:15+0000"},
        {"-1y +3d", {}, "2023-03-03T12:30:15+0000"},  {"+16s", {}, "2024-02-29T12:30:31+0000"},
        {"-2000y", {}, "0024-02-29T12:30:15+0000"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(sandbox::dateText(row.shift, row.at, leapDay), row.text) << row.shift;
    }
}

TEST(DateRule, RefusesWhatItCannotRead) {
    for (const std::string shift : {"yesterday", "-1", "-1w", "--d", "1d!", "99999999999d"}) {
        EXPECT_THROW(sandbox::dateText(shift, {}, leapDay), sandbox::Error) << shift;
    }
    for (const std::string at : {"noon", "24:00", "12:60", "12", "12:30:15"}) {
        EXPECT_THROW(sandbox::dateText("", at, leapDay), sandbox::Error) << at;
    }
}

TEST(Selection, FillsInWhatAnItemLeavesOut) {
    const auto item =
        parse(R"({"__typename": "Delivery", "id": "1", "status": "IN_TRANSIT", "state": "CURRENT"})");
    EXPECT_EQ(boost::json::value(sandbox::selected(item.as_object())), parse(R"({
        "__typename": "Delivery", "id": "1", "status": "IN_TRANSIT", "state": "CURRENT", "customName": null,
        "deliveryName": null, "sellerName": null, "deliveredAt": null, "deliveryFlags": [], "exceptions": [],
        "currentEtaInfo": null, "tracker": null})"));
}

TEST(Selection, NamesTheTypeOfEveryRecord) {
    const auto item = parse(R"({"__typename": "Order", "id": "1", "createdAt": "", "displayStatus": "",
        "deliveryStatus": "", "shop": {"name": "A"}, "trackers": {"nodes": [{}]}})");
    EXPECT_EQ(boost::json::value(sandbox::selected(item.as_object())), parse(R"({
        "__typename": "Order", "id": "1", "createdAt": "", "displayStatus": "", "deliveryStatus": "",
        "shippingMethod": null, "markedAsDeliveredAt": null, "etaInfo": null,
        "lineItems": {"__typename": "OrderLineItemConnection", "nodes": []},
        "shop": {"__typename": "Shop", "name": "A", "visualTheme": null},
        "trackers": {"__typename": "TrackerConnection", "nodes": [{"__typename": "Tracker",
            "paginatedTrackingEvents": {"__typename": "TrackingEventConnection", "nodes": []}}]}})"));
}

TEST(Selection, RefusesWhatTheSchemaDoesNotHave) {
    for (
        const std::string item :
        {R"({"__typename": "Delivery", "id": "1", "status": "IN_TRANSIT"})",
         R"({"__typename": "Delivery", "id": "1", "status": "IN_TRANSIT", "state": "PAST", "colour": "red"})",
         R"({"__typename": "Order", "id": "1"})", R"({"id": "1"})"}) {
        EXPECT_THROW(sandbox::selected(parse(item).as_object()), sandbox::Error) << item;
    }
}

TEST(ScenarioRules, AreReplacedByWhatTheyStandFor) {
    const sandbox::ScenarioContext context{.now = leapDay, .baseURL = "http://here", .maximumImageSize = 64};
    const auto given = parse(R"({"url": {"$picture": "a.png"}, "imageUrl": {"$picture": "a.png"},
        "list": [{"$now": "+1d"}, {"$url": "/loop"}, {"$repeat": "ab", "times": 3}], "kept": {"plain": 1}})");
    EXPECT_EQ(sandbox::resolved(given, context),
              parse(R"({"url": "http://here/pictures/a.png?maxWidth=64&maxHeight=64",
        "imageUrl": "http://here/pictures/a.png", "list": ["2024-03-01T12:30:15+0000", "http://here/loop", "ababab"],
        "kept": {"plain": 1}})"));
}

TEST(ShippedScenario, LoadsAndServesEveryPage) {
    const sandbox::ScenarioContext context{.now = leapDay, .baseURL = "http://here", .maximumImageSize = 192};
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
  protected:
    ScenarioFile() {
        char pattern[] = "/tmp/scenario-XXXXXX";
        folder_ = mkdtemp(pattern);
    }
    ~ScenarioFile() override { std::filesystem::remove_all(folder_); }
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
