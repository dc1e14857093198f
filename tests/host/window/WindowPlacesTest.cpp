// SPDX-License-Identifier: Apache-2.0

#include "host/window/WindowPlaces.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include "host/window/WindowFamilies.hpp"
#include "platform/Files/Descriptor.hpp"
#include "platform/Files/TrustedFolder.hpp"
#include "tests/support/ChildProcess.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/SmallDisk.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace host {
namespace {

namespace fs = std::filesystem;
using platform::WidgetFamily;

class WindowPlacesTest : public testing::Test {
  protected:
    void write(std::string_view text) const {
        fs::create_directories(places.file().parent_path());
        fs::permissions(places.file().parent_path(), fs::perms::owner_all);
        std::ofstream(places.file()) << text;
        fs::permissions(places.file(), fs::perms::owner_read | fs::perms::owner_write);
    }

    platform::testing::TemporaryFolder folder;
    WindowPlaces places = WindowPlaces(folder.path() / "state/vela", std::chrono::hours(1));
};

TEST_F(WindowPlacesTest, BeginWithNothing) {
    EXPECT_EQ(places.read(), WindowMemory());
    EXPECT_FALSE(fs::exists(places.file()));
}

TEST_F(WindowPlacesTest, AreKeptForEachFamilyAndMonitor) {
    places.remember(WidgetFamily::systemSmall, "Tervane 27", {40, 60.4});
    places.remember(WidgetFamily::systemLarge, "Tervane 27", {-300, 0});
    places.remember(WidgetFamily::systemSmall, "eDP-1", {8, 9});
    const auto memory = places.read();
    EXPECT_EQ(memory.family, WidgetFamily::systemSmall);
    const auto& small = memory.windows.at(WidgetFamily::systemSmall);
    EXPECT_EQ(small.monitor, "eDP-1");
    EXPECT_EQ(small.places.at("Tervane 27"), (drawing::Point{40, 60}));
    EXPECT_EQ(small.places.at("eDP-1"), (drawing::Point{8, 9}));
    EXPECT_EQ(memory.windows.at(WidgetFamily::systemLarge).places.at("Tervane 27"),
              (drawing::Point{-300, 0}));
}

TEST_F(WindowPlacesTest, AreForThePersonAlone) {
    places.remember(WidgetFamily::systemSmall, "screen", {1, 2});
    struct stat status = {};
    ASSERT_EQ(::stat(places.file().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    ASSERT_EQ(::stat(places.file().parent_path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
}

TEST_F(WindowPlacesTest, AreNotWrittenAgainWhereTheyAreTheSame) {
    places.remember(WidgetFamily::systemSmall, "screen", {1, 2});
    struct stat before = {};
    ASSERT_EQ(::stat(places.file().c_str(), &before), 0);
    places.remember(WidgetFamily::systemSmall, "screen", {1, 2});
    struct stat after = {};
    ASSERT_EQ(::stat(places.file().c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST_F(WindowPlacesTest, TakeWhatTheyUnderstandOfAHostileFile) {
    write(R"({"family":"systemHuge","windows":{"systemSmall":{"monitor":7,"places":{"a":{"x":1,"y":2},
        "b":{"x":1e300,"y":2},"c":{"x":"1","y":2},"d":[1,2],"e":{"x":3}}},"systemLarge":[],"nobody":{},
        "systemMedium":{"places":"none"}}})");
    const auto memory = places.read();
    EXPECT_EQ(memory.family, std::nullopt);
    ASSERT_TRUE(memory.windows.contains(WidgetFamily::systemSmall));
    const std::map<std::string, drawing::Point> expected = {{"a", {1, 2}}};
    EXPECT_EQ(memory.windows.at(WidgetFamily::systemSmall).places, expected);
}

TEST_F(WindowPlacesTest, AreNothingWhereTheFileIsNone) {
    const std::vector<std::string> texts = {
        "", "{", "[]", "\xff\xfe", std::string(200'000, '['), R"({"windows":7})" + std::string(70'000, ' ')};
    for (const auto& text : texts) {
        write(text);
        EXPECT_EQ(places.read(), WindowMemory()) << text.substr(0, 20);
        places.remember(WidgetFamily::systemSmall, "screen", {1, 2});
        EXPECT_EQ(places.read().windows.size(), 1u);
    }
}

TEST_F(WindowPlacesTest, TrustNoFileThatOthersCanChange) {
    places.remember(WidgetFamily::systemSmall, "screen", {1, 2});
    fs::permissions(places.file(), fs::perms::all);
    EXPECT_EQ(places.read(), WindowMemory());
}

TEST_F(WindowPlacesTest, SayWhereNothingCanBeKept) {
    folder.write("state/vela", "a file where a folder should be");
    EXPECT_THROW(places.remember(WidgetFamily::systemSmall, "screen", {1, 2}), platform::FileError);
    EXPECT_EQ(places.read(), WindowMemory());
}

TEST_F(WindowPlacesTest, ForgetMonitorsBeforeTheFileGrowsWithoutEnd) {
    for (int number = 0; number < 200; ++number)
        places.remember(WidgetFamily::systemSmall, "monitor " + std::to_string(number), {1, 2});
    const auto history = places.read().windows.at(WidgetFamily::systemSmall);
    EXPECT_LE(history.places.size(), 64u);
    EXPECT_TRUE(history.places.contains("monitor 199"));
}

TEST_F(WindowPlacesTest, LoseNothingWhereSeveralWindowsWriteAtOnce) {
    std::vector<std::thread> windows;
    for (const auto& row : windowFamilies)
        windows.emplace_back([this, family = row.family] {
            for (int number = 0; number < 10; ++number)
                places.remember(family, "monitor " + std::to_string(number), {double(number), 0});
        });
    for (auto& window : windows) window.join();
    const auto memory = places.read();
    for (const auto& row : windowFamilies) EXPECT_EQ(memory.windows.at(row.family).places.size(), 10u);
}

TEST_F(WindowPlacesTest, WaitForNoWindowThatIsStoppedWhileItWrites) {
    places.remember(WidgetFamily::systemSmall, "screen", {1, 2});
    const platform::Descriptor stopped(
        ::open(places.file().parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::flock(stopped, LOCK_EX), 0);
    const WindowPlaces hurried(folder.path() / "state/vela", std::chrono::milliseconds(50));
    EXPECT_THROW(hurried.remember(WidgetFamily::systemSmall, "screen", {3, 4}), platform::FileError);
    ASSERT_EQ(::flock(stopped, LOCK_UN), 0);
    places.remember(WidgetFamily::systemSmall, "screen", {5, 6});
    EXPECT_EQ(places.read().windows.at(WidgetFamily::systemSmall).places.at("screen").x, 5);
}

TEST_F(WindowPlacesTest, AreAsTheyWereOnAFullDisk) {
    const auto disk = folder.path() / "disk";
    fs::create_directory(disk);
    const auto status = platform::testing::withSmallDisk(disk, "64k", [&] {
        const WindowPlaces full(disk / "state/vela");
        full.remember(WidgetFamily::systemSmall, "screen", {1, 2});
        full.remember(WidgetFamily::systemLarge, "screen", {3, 4});
        const auto before = full.read();
        platform::testing::fillUp(disk);
        try {
            full.remember(WidgetFamily::systemSmall, "screen", {5, 6});
            return 1;
        } catch (const platform::FileError&) {
        }
        if (full.read() != before) return 2;
        const auto files = std::distance(fs::directory_iterator(disk / "state/vela"), {});
        return files == 1 ? 0 : 3;
    });
    if (status == platform::testing::cannotMount) GTEST_SKIP() << "no disk can be mounted here";
    EXPECT_EQ(status, 0);
}

TEST_F(WindowPlacesTest, AreWholeWheneverAWindowIsKilled) {
    places.remember(WidgetFamily::systemLarge, "screen", {3, 4});
    double latest = 0;
    const int kills = platform::testing::longTests() ? 1000 : 30;
    // And as many more as it takes until one has written, on a machine with much else to do.
    for (int kill = 0; kill < kills || (latest == 0 && kill < 1000); ++kill) {
        platform::testing::ChildProcess window([&] {
            for (double x = latest;; ++x) places.remember(WidgetFamily::systemSmall, "screen", {x, 0});
            return 0;
        });
        std::this_thread::sleep_for(std::chrono::microseconds(5000 + 137 * kill));
        window.kill();
        window.wait();
        const auto memory = places.read();
        ASSERT_TRUE(memory.windows.contains(WidgetFamily::systemLarge)) << kill;
        if (!memory.windows.contains(WidgetFamily::systemSmall)) continue;
        const auto x = memory.windows.at(WidgetFamily::systemSmall).places.at("screen").x;
        ASSERT_GE(x, latest) << kill;
        latest = x;
    }
    EXPECT_GT(latest, 0) << "nothing was ever written";
}

TEST_F(WindowPlacesTest, StandInTheFolderForStates) {
    const platform::testing::ScopedEnvironment environment({{"XDG_STATE_HOME", "/somewhere"}});
    EXPECT_EQ(WindowPlaces::ofPerson()->file(), "/somewhere/vela/window.json");
    const platform::testing::ScopedEnvironment home(
        {{"XDG_STATE_HOME", std::nullopt}, {"HOME", "/home/ada"}});
    EXPECT_EQ(WindowPlaces::ofPerson()->file(), "/home/ada/.local/state/vela/window.json");
}

TEST(PlaceWithin, BringsAWindowOntoTheMonitor) {
    const drawing::Rect area = {{0, 30}, {1280, 770}};
    const drawing::Size window = {338, 158};
    EXPECT_EQ(placeWithin(area, window, {100, 100}), (drawing::Point{100, 100}));
    EXPECT_EQ(placeWithin(area, window, {-50, 0}), (drawing::Point{0, 30}));
    EXPECT_EQ(placeWithin(area, window, {5000, 5000}), (drawing::Point{942, 642}));
    EXPECT_EQ(placeWithin({{0, 0}, {200, 100}}, window, {50, 50}), (drawing::Point{0, 0}));
}

TEST(FirstPlace, LetsNoWindowCoverAnother) {
    for (const drawing::Size screen : {drawing::Size{1280, 800}, {1920, 1080}, {2560, 1440}}) {
        std::vector<drawing::Rect> taken;
        for (const auto& row : windowFamilies) {
            const drawing::Rect frame = {firstPlace({{0, 0}, screen}, row.family), row.windowSize()};
            EXPECT_GE(frame.left(), 0) << row.title;
            EXPECT_LE(frame.right(), screen.width) << row.title;
            EXPECT_LE(frame.bottom(), screen.height) << row.title;
            for (const auto& other : taken)
                EXPECT_TRUE(frame.right() <= other.left() || other.right() <= frame.left() ||
                            frame.bottom() <= other.top() || other.bottom() <= frame.top())
                    << row.title << " on " << screen.width;
            taken.push_back(frame);
        }
    }
}

}  // namespace
}  // namespace host
