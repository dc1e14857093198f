// SPDX-License-Identifier: Apache-2.0

#include "platform/Date/SystemZone.hpp"

#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "platform/Calendar/Calendar.hpp"
#include "platform/Calendar/TimeZone.hpp"
#include "platform/Date/SystemAmbient.hpp"
#include "platform/DateFormatter/DateFormatter.hpp"
#include "tests/support/ChildProcess.hpp"
#include "tests/support/FixedAmbient.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "tests/support/ZoneInForce.hpp"

namespace platform {
namespace {

using testing::FixedAmbient;
using testing::instant;
using testing::ScopedEnvironment;
using testing::TemporaryFolder;
using testing::ZoneInForce;

constexpr int hour = 3'600;
constexpr const char* zoneFolder = "/usr/share/zoneinfo";

int offset(const std::string& date) {
    return SystemZone::secondsFromGMT(instant(date));
}

TEST(SystemZoneFile, IsTheOneThatTZNamesUnlessThatIsARule) {
    const TemporaryFolder zones;
    zones.write("EST5EDT", "a zone that has the name of a rule");
    const auto in = [&](const char* name) { return std::optional(zones.path() / name); };
    const std::vector<std::pair<const char*, std::optional<std::filesystem::path>>> cases = {
        {"Europe/Berlin", in("Europe/Berlin")},
        {":Europe/Berlin", in("Europe/Berlin")},
        {"/etc/zone", "/etc/zone"},
        {":/etc/zone", "/etc/zone"},
        {"EST5EDT", in("EST5EDT")},
        {"Mars", in("Mars")},
        {"Europe/GMT-1", in("Europe/GMT-1")},
        {"A-24B", in("A-24B")},
        {"CET+", in("CET+")},
        {"<+03", in("<+03")},
        {"<+03>", in("<+03>")},
        {"C3T1", in("C3T1")},
        {"CET-1CEST,M3.5.0,M10.5.0/3", std::nullopt},
        {":CET-1CEST", std::nullopt},
        {"UTC0", std::nullopt},
        {"GMT+2", std::nullopt},
        {"<+0330>-3:30", std::nullopt},
        {"", std::nullopt},
        {":", std::nullopt},
    };
    for (const auto& [zone, file] : cases) {
        const ScopedEnvironment environment({{"TZ", zone}, {"TZDIR", zones.path().string()}});
        EXPECT_EQ(SystemZone::file(), file) << zone;
    }
}

TEST(SystemZoneFile, LiesAmongTheMachinesZonesWhereNoFolderIsNamed) {
    for (const auto& folder : {std::optional<std::string>(), std::optional<std::string>("")}) {
        const ScopedEnvironment environment({{"TZ", "Asia/Tokyo"}, {"TZDIR", folder}});
        EXPECT_EQ(SystemZone::file(), "/usr/share/zoneinfo/Asia/Tokyo");
    }
    const ScopedEnvironment environment({{"TZ", std::nullopt}});
    EXPECT_EQ(SystemZone::file(), "/etc/localtime");
}

TEST(SystemZoneFile, IsOneOnlyWhereItIsWhole) {
    const TemporaryFolder folder;
    const std::filesystem::path zone = std::filesystem::path(zoneFolder) / "Europe/Berlin";
    EXPECT_TRUE(SystemZone::isZoneFile(zone));
    std::ifstream stream(zone, std::ios::binary);
    const std::string whole((std::istreambuf_iterator<char>(stream)), {});
    // Cut anywhere before the rule for the future, which is its last line.
    const auto end = whole.rfind("\nCET");
    ASSERT_NE(end, std::string::npos);
    for (std::size_t length = 0; length < end; ++length)
        ASSERT_FALSE(SystemZone::isZoneFile(folder.write("cut", whole.substr(0, length)))) << length;
    EXPECT_FALSE(SystemZone::isZoneFile(folder.write("text", "Europe/Berlin\n")));
    EXPECT_FALSE(SystemZone::isZoneFile(folder.path()));
    EXPECT_FALSE(SystemZone::isZoneFile(folder.path() / "none"));
}

TEST(SystemZone, UnderstandsEveryFormOfTZ) {
    struct Row {
        const char* value;
        int inJanuary;
        int inJuly;
    };
    for (const auto& [value, inJanuary, inJuly] : {
             Row{"America/New_York", -5 * hour, -4 * hour},
             Row{":America/New_York", -5 * hour, -4 * hour},
             Row{"/usr/share/zoneinfo/Asia/Kolkata", 19'800, 19'800},
             Row{":/usr/share/zoneinfo/Pacific/Auckland", 13 * hour, 12 * hour},
             Row{"posix/Europe/Paris", hour, 2 * hour},
             Row{"right/Europe/Paris", hour, 2 * hour},
             Row{"../zoneinfo/Japan", 9 * hour, 9 * hour},
             Row{"America/Ciudad_Juarez", -7 * hour, -6 * hour},
             Row{"America/Coyhaique", -3 * hour, -3 * hour},
             Row{"America/Mexico_City", -6 * hour, -6 * hour},
             Row{"Africa/Cairo", 2 * hour, 3 * hour},
             Row{"Asia/Almaty", 5 * hour, 5 * hour},
             Row{"America/Asuncion", -3 * hour, -3 * hour},
             Row{"CST6", -6 * hour, -6 * hour},
             Row{"GMT-2", 2 * hour, 2 * hour},
             Row{"GMT-12", 12 * hour, 12 * hour},
             Row{"UTC0", 0, 0},
             Row{"IST-5:30", 19'800, 19'800},
             Row{"LMT4:56:02", -17'762, -17'762},
             Row{"<-03>3", -3 * hour, -3 * hour},
             Row{"<+1245>-12:45", 45'900, 45'900},
             Row{"CET-1CEST", hour, 2 * hour},
             Row{"CET-1CEST,M3.5.0,M10.5.0/3", hour, 2 * hour},
             Row{"EST5EDT", -5 * hour, -4 * hour},
             Row{"EST5EDT,M3.2.0,M11.1.0", -5 * hour, -4 * hour},
             Row{"NZST-12NZDT,M9.5.0,M4.1.0/3", 13 * hour, 12 * hour},
             Row{"IST-1GMT0,M10.5.0,M3.5.0/1", 0, hour},
             Row{"AAA3BBB,J60,J300", -3 * hour, -2 * hour},
             Row{"AAA3BBB1:30,59/0,299/23:59:59", -3 * hour, -5'400},
             Row{"", 0, 0},
             Row{"Foo/Bar", 0, 0},
             Row{"../../etc/passwd", 0, 0},
             Row{"/etc", 0, 0},
             Row{":", 0, 0},
             Row{"\xff\xfe", 0, 0},
         }) {
        const ZoneInForce zone(value);
        EXPECT_EQ(offset("2026-01-15T12:00:00Z"), inJanuary) << value;
        EXPECT_EQ(offset("2026-07-15T12:00:00Z"), inJuly) << value;
    }
}

TEST(SystemZone, SurvivesAnEndlessTZ) {
    const ZoneInForce zone(std::string(60'000, 'A'));
    EXPECT_EQ(offset("2026-01-15T12:00:00Z"), 0);
}

TEST(SystemZone, TakesZoneFilesFromTZDIR) {
    const TemporaryFolder folder;
    std::filesystem::copy(std::filesystem::path(zoneFolder) / "Asia/Tokyo", folder.path() / "Home");
    const ScopedEnvironment environment({{"TZDIR", folder.path().string()}});
    const ZoneInForce zone("Home");
    EXPECT_EQ(offset("2026-01-15T12:00:00Z"), 9 * hour);
}

/// `work` in a child whose root folder is `root`; 77 where the system allows no such child.
int runUnder(const std::filesystem::path& root, const std::function<int()>& work) {
    return testing::runInChild([&] {
        if (geteuid() != 0 && unshare(CLONE_NEWUSER) != 0) return 77;
        if (chroot(root.c_str()) != 0 || chdir("/") != 0) return 77;
        unsetenv("TZ");
        return work();
    });
}

int hoursFromGMT(const Ambient& ambient) {
    return ambient.secondsFromGMT(instant("2026-01-15T12:00:00Z")) / hour;
}

class LocalTime : public ::testing::Test {
  protected:
    LocalTime() {
        for (const std::string name : {"Asia/Tokyo", "Asia/Kabul", "Asia/Dubai"})
            std::filesystem::copy(std::filesystem::path(zoneFolder) / name, zones / name.substr(5));
    }
    static void link(const std::string& zone) {
        std::filesystem::remove("/etc/localtime");
        std::filesystem::create_symlink("/usr/share/zoneinfo/" + zone, "/etc/localtime");
    }
    static void copy(const std::string& zone) {
        std::filesystem::remove("/etc/localtime");
        std::filesystem::copy("/usr/share/zoneinfo/" + zone, "/etc/localtime");
    }
    void expectHours(int expected, const std::function<int()>& work) const {
        const int result = runUnder(folder.path(), work);
        if (result == 77) GTEST_SKIP() << "no child with another root folder can be made here";
        EXPECT_EQ(result, expected);
    }

    TemporaryFolder folder;
    const std::filesystem::path zones = madeFolder("usr/share/zoneinfo");
    const std::filesystem::path settings = madeFolder("etc");

  private:
    std::filesystem::path madeFolder(const char* name) const {
        const auto path = folder.path() / name;
        std::filesystem::create_directories(path);
        return path;
    }
};

TEST_F(LocalTime, RulesWhereThereIsNoTZ) {
    expectHours(9, [] {
        link("Tokyo");
        return hoursFromGMT(SystemAmbient());
    });
}

TEST_F(LocalTime, MayBeACopy) {
    expectHours(4, [] {
        copy("Dubai");
        return hoursFromGMT(SystemAmbient());
    });
}

TEST_F(LocalTime, IsGreenwichsWhereThereIsNone) {
    expectHours(0, [] { return hoursFromGMT(SystemAmbient()); });
}

TEST_F(LocalTime, IsSeenToChangeAtTheNextCheck) {
    expectHours(9 + 4, [] {
        const SystemAmbient ambient({.zoneCheckInterval = {}});
        link("Tokyo");
        const int before = hoursFromGMT(ambient);
        copy("Dubai");
        return before + hoursFromGMT(ambient);
    });
}

TEST_F(LocalTime, IsSeenToAppear) {
    expectHours(4, [] {
        const SystemAmbient ambient({.zoneCheckInterval = {}});
        const int before = hoursFromGMT(ambient);
        link("Dubai");
        return before + hoursFromGMT(ambient);
    });
}

TEST_F(LocalTime, IsLookedAtNoOftenerThanToldTo) {
    expectHours(9 + 9, [] {
        const SystemAmbient ambient({.zoneCheckInterval = std::chrono::hours(1)});
        link("Tokyo");
        const int before = hoursFromGMT(ambient);
        link("Dubai");
        return before + hoursFromGMT(ambient);
    });
}

// Against the C library's own calendar, in every zone of the machine.

/// Every name of the machine's zone folder, those of one content together.
std::vector<std::vector<std::string>> zones() {
    std::map<std::string, std::vector<std::string>> namesOfContent;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(zoneFolder)) {
        if (!entry.is_regular_file()) continue;
        std::ifstream stream(entry.path(), std::ios::binary);
        const std::string content((std::istreambuf_iterator<char>(stream)), {});
        if (content.starts_with("TZif"))
            namesOfContent[content].push_back(entry.path().lexically_relative(zoneFolder).string());
    }
    std::vector<std::vector<std::string>> result;
    for (auto& [content, names] : namesOfContent) result.push_back(std::move(names));
    return result;
}

std::tm localParts(std::time_t time) {
    std::tm parts = {};
    localtime_r(&time, &parts);
    return parts;
}

/// The first instants of every offset between two instants; none lasts less than four days.
std::vector<std::time_t> changesBetween(std::time_t first, std::time_t last) {
    std::vector<std::time_t> changes;
    constexpr std::time_t step = 4 * 86'400;
    for (auto low = first; low < last; low += step) {
        auto before = low;
        auto after = low + step;
        const auto offsetBefore = localParts(before).tm_gmtoff;
        if (offsetBefore == localParts(after).tm_gmtoff) continue;
        while (after - before > 1) {
            const auto middle = before + (after - before) / 2;
            (localParts(middle).tm_gmtoff == offsetBefore ? before : after) = middle;
        }
        changes.push_back(after);
    }
    return changes;
}

constexpr std::time_t year1800 = -5'364'662'400;
constexpr std::time_t year1970 = 0;
constexpr std::time_t year2038 = 2'145'916'800;
constexpr std::time_t year2200 = 7'258'118'400;

std::vector<std::time_t> instantsAboutChanges() {
    std::vector<std::time_t> instants;
    for (const auto change : changesBetween(year1970, year2038))
        for (const int distance : {-hour, -1, 0, 1, hour}) instants.push_back(change + distance);
    return instants;
}

class EveryZone : public ::testing::Test {
  protected:
    void expectOffset(std::time_t time) {
        ++compared;
        const auto date = Date::since1970(static_cast<double>(time));
        EXPECT_EQ(TimeZone::current().secondsFromGMT(date), localParts(time).tm_gmtoff) << where(time);
        EXPECT_EQ(TimeZone::current().secondsFromGMT(date.addingTimeInterval(0.999)),
                  localParts(time).tm_gmtoff)
            << where(time);
    }
    /// The wall clock as ICU shows it, and read back: in an hour that comes twice, as the later one.
    void expectWallTime(std::time_t time) {
        const auto parts = localParts(time);
        char expected[64];
        std::strftime(expected, sizeof expected, "%Y-%m-%d %H:%M:%S", &parts);
        const auto date = Date::since1970(static_cast<double>(time));
        EXPECT_EQ(wallClock.string(date), expected) << where(time);
        const auto read = wallClock.date(expected);
        ASSERT_TRUE(read) << where(time);
        EXPECT_EQ(wallClock.string(*read), expected) << where(time);
        EXPECT_GE(*read, date) << where(time);
    }
    void expectDay(std::time_t time, std::time_t other) {
        const auto first = localParts(time);
        const auto second = localParts(other);
        EXPECT_EQ(Calendar::current().isInSameDay(Date::since1970(static_cast<double>(time)),
                                                  Date::since1970(static_cast<double>(other))),
                  first.tm_year == second.tm_year && first.tm_yday == second.tm_yday)
            << where(time);
    }
    void expectAll(const std::vector<std::time_t>& times) {
        // The seconds of a clock that counts leap seconds are not the calendar's.
        const bool countsLeapSeconds = zone.starts_with("right/");
        for (const auto time : times) {
            expectOffset(time);
            if (countsLeapSeconds) continue;
            expectWallTime(time);
            expectDay(time, time - 12 * hour);
        }
    }
    std::vector<std::time_t> randomInstants() {
        std::vector<std::time_t> instants;
        std::uniform_int_distribution<std::time_t> any(year1800, year2200);
        for (int count = 0; count < 20; ++count) instants.push_back(any(random));
        return instants;
    }
    void put(const std::string& value) {
        zone = value;
        ambient.setTimeZone(value);
    }
    std::string where(std::time_t time) const { return zone + " at " + std::to_string(time); }

    FixedAmbient ambient;
    std::string zone;
    int compared = 0;
    std::mt19937 random{20260115};
    const DateFormatter wallClock{"yyyy-MM-dd HH:mm:ss"};
};

TEST_F(EveryZone, HasTheCLibrarysOffsetWallTimeAndDay) {
    int count = 0;
    for (const auto& names : zones()) {
        for (const auto& name : names) {
            put(name);
            expectAll(randomInstants());
            ++count;
        }
        expectAll(instantsAboutChanges());
        ASSERT_FALSE(HasFailure()) << zone;
    }
    EXPECT_GT(count, 300);
    RecordProperty("zones", count);
    RecordProperty("instants", compared);
}

TEST_F(EveryZone, HasTheSameByRule) {
    for (const char* rule :
         {"CST6", "GMT-2", "GMT-12", "<-03>3", "CET-1CEST", "EST5EDT,M3.2.0,M11.1.0", "AAA3BBB,J60,J300",
          "NZST-12NZDT,M9.5.0,M4.1.0/3", "IST-1GMT0,M10.5.0,M3.5.0/1", "AAA3BBB1:30,59/0,299/23:59:59",
          "EET-2EEST,M3.5.0/-24,M10.5.0/167", "A-24B-24:59:59,0/0,J365/23", "LMT4:56:02", "nonsense", ""}) {
        put(rule);
        expectAll(instantsAboutChanges());
        expectAll(randomInstants());
    }
    RecordProperty("instants", compared);
}

}  // namespace
}  // namespace platform
