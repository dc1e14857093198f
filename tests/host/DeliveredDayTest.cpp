// SPDX-License-Identifier: Apache-2.0

// The day of a delivery, from the sandbox to what the program prints, in zones and locales of all kinds.

#include <gtest/gtest.h>

#include <ctime>
#include <fstream>

#include "tests/host/Person.hpp"
#include "tests/support/ZoneInForce.hpp"

namespace host {
namespace {

using platform::testing::BackgroundProgram;
using platform::testing::eventually;
using platform::testing::ZoneInForce;

/// Told by the wall clock of the person's zone.
constexpr const char* scenario = R"({
    "description": "Parcels about midnight, and one of long ago.",
    "items": [
        {"__typename": "Delivery", "id": "1", "status": "DELIVERED", "state": "PAST", "customName": "first of today",
         "deliveredAt": {"$now": "", "at": "00:00"}},
        {"__typename": "Delivery", "id": "2", "status": "DELIVERED", "state": "PAST", "customName": "last of yesterday",
         "deliveredAt": {"$now": "-1d", "at": "23:59"}},
        {"__typename": "Delivery", "id": "3", "status": "DELIVERED", "state": "PAST", "customName": "first of yesterday",
         "deliveredAt": {"$now": "-1d", "at": "00:00"}},
        {"__typename": "Delivery", "id": "4", "status": "DELIVERED", "state": "PAST", "customName": "long ago",
         "deliveredAt": "2020-03-05T12:00:00+0000"}
    ]
})";

using Words = std::vector<std::string>;

int dayOfMonth() {
    const std::time_t now = std::time(nullptr);
    std::tm parts = {};
    localtime_r(&now, &parts);
    return parts.tm_mday;
}

/// A rule for a zone in which it is `hour` o'clock and a half by now, less than a day from Greenwich.
std::string zoneWhereItIs(int hour) {
    constexpr int minutesOfDay = 24 * 60;
    const auto minutes = static_cast<int>(std::time(nullptr) / 60 % minutesOfDay);
    int west = (minutes - (hour * 60 + 30) + minutesOfDay) % minutesOfDay;
    if (west > minutesOfDay / 2) west -= minutesOfDay;
    const auto magnitude = std::abs(west);
    return std::string("<here>") + (west < 0 ? "-" : "") + std::to_string(magnitude / 60) + ":" +
           std::to_string(magnitude % 60);
}

class DeliveredDay : public Person {
  protected:
    /// What the timeline says of each parcel, with the zone and the locale of `environment`.
    Words words() {
        const auto bundle = (folder.path() / "bundle").string();
        const auto ready = folder.path() / "ready";
        std::filesystem::remove(ready);
        const BackgroundProgram sandbox(
            program("vela-sandbox", {"--scenario", folder.write("scenario.json", scenario).string(),
                                     "--bundle", bundle, "--ready-file", ready.string()}));
        EXPECT_TRUE(eventually([&] { return exists(ready) && !is_empty(ready); }));
        std::getline(std::ifstream(ready), environment["BASE_URL"]);
        environment["VELA_BUNDLE"] = bundle;
        const auto credentialsOfSandbox = program("vela-sandbox", {"--print-credentials"}).run().output;
        EXPECT_EQ(companion({"sign-in"}, credentialsOfSandbox).status, 0);

        const auto result = widget({"timeline"});
        EXPECT_EQ(state(result), "loggedIn") << result.errors;
        const auto timeline = platform::JSONSerialization::JSONObjectWithData(result.output);
        Words all;
        for (const auto& package : timeline.at("entries").at(0).at("packages").as_array())
            all.emplace_back(package.at("statusText").at("secondary").as_string());
        return all;
    }

    /// The same, of a run that no midnight fell into.
    Words wordsIn(const std::string& zone) {
        environment["TZ"] = zone;
        const ZoneInForce inForce(zone);
        int day = 0;
        Words all;
        do {
            day = dayOfMonth();
            all = words();
        } while (dayOfMonth() != day);
        return all;
    }
};

const Words rightDays = {"Delivered today", "Delivered yesterday", "Delivered yesterday",
                         "Delivered on Mar 5, 2020"};

TEST_F(DeliveredDay, IsRightInZonesThatChangedTheirRulesLately) {
    for (const char* zone : {"America/Mexico_City", "Africa/Cairo", "America/Ciudad_Juarez", "Asia/Almaty"})
        EXPECT_EQ(wordsIn(zone), rightDays) << zone;
}

TEST_F(DeliveredDay, IsRightInZonesThatAreRules) {
    for (const std::string& zone :
         {std::string("CST6"), std::string("<-03>3"), std::string("EST5EDT,M3.2.0,M11.1.0"), zoneWhereItIs(0),
          zoneWhereItIs(23)})
        EXPECT_EQ(wordsIn(zone), rightDays) << zone;
}

TEST_F(DeliveredDay, IsRightInAZoneThatIsAFile) {
    for (const char* zone : {":/usr/share/zoneinfo/America/Coyhaique", "posix/Asia/Kolkata"})
        EXPECT_EQ(wordsIn(zone), rightDays) << zone;
}

TEST_F(DeliveredDay, IsToldInTheNextLanguageThatHasWords) {
    environment["LC_ALL"] = "oc_FR.UTF-8";
    EXPECT_EQ(wordsIn("Europe/Paris").back(), "Delivered on Mar 5, 2020");
    environment["LANGUAGE"] = "oc:de";
    EXPECT_EQ(wordsIn("Europe/Paris").back(), "Delivered on März 5, 2020");
}

}  // namespace
}  // namespace host
