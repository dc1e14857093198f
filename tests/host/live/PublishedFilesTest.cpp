// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/PublishedFiles.hpp"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "host/protocol/EntryCoding.hpp"
#include "host/widget/JSONLine.hpp"
#include "host/widget/Panel/PanelContent.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "tests/host/live/ReaderWorld.hpp"
#include "tests/support/SmallDisk.hpp"

namespace host {
namespace {

namespace fs = std::filesystem;
using platform::SystemEvent;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class PublishedFilesTest : public ReaderWorld {
  protected:
    fs::path path(const std::string& name) const { return folder.path() / "vela-widget" / name; }
    std::string text(const std::string& name) const { return folder.read("vela-widget/" + name); }
    /// "" where it is not there.
    std::string shown(const std::string& name) const { return fs::exists(path(name)) ? text(name) : ""; }
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto& each : fs::directory_iterator(folder.path() / "vela-widget"))
            if (!each.path().filename().string().starts_with("host.")) all.push_back(each.path().filename());
        return all;
    }
    /// Of the file and not of its name.
    ino_t identity(const std::string& name) const {
        struct stat found = {};
        EXPECT_EQ(::stat(path(name).c_str(), &found), 0);
        return found.st_ino;
    }
};

constexpr const char* picture = "systemSmall-dark@2x.png";

TEST_F(PublishedFilesTest, ShowNoSamplesAsParcels) {
    open();
    EXPECT_THAT(names(), UnorderedElementsAre("panel.json", "state.json", "widget.txt"));
    EXPECT_EQ(text("state.json"), "{\"asOf\":null,\"isPlaceholder\":true,\"trouble\":null}\n");
    EXPECT_EQ(text("widget.txt"), "  Looking for your packages\n");
}

TEST_F(PublishedFilesTest, HoldTheEntryAsSnapshotPrintsItAndWhatATerminalShows) {
    open();
    start();
    EXPECT_EQ(text("entry.json"), jsonLine(entryObject(host.state().entry)));
    EXPECT_EQ(text("state.json"), "{\"asOf\":null,\"isPlaceholder\":false,\"trouble\":null}\n");
    EXPECT_THAT(text("widget.txt"), HasSubstr("Ada's\n  In transit\n"));
    struct stat found = {};
    ASSERT_EQ(::stat(path("entry.json").c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777, 0600u);
}

TEST_F(PublishedFilesTest, HoldWhatAPanelShows) {
    open();
    EXPECT_THAT(text("panel.json"), HasSubstr(R"("class":"placeholder")"));
    start();
    EXPECT_EQ(text("panel.json"), jsonLine(panelObject(host.state(), clock.now())));
    EXPECT_THAT(text("panel.json"), HasSubstr(R"("text":"Ada's: In transit")"));
}

TEST_F(PublishedFilesTest, SayWhatTheEntryIsAsOfAndWhy) {
    open();
    start();
    extension.answerWith(CredentialState::stored, ServerContact::unreachable);
    clock.advance(hour);
    EXPECT_THAT(text("state.json"), HasSubstr(R"("trouble":"serverUnreachable")"));
    EXPECT_THAT(text("state.json"), HasSubstr(R"("asOf":"2026-01-31T10:00:00.000Z")"));
    EXPECT_THAT(text("widget.txt"), HasSubstr("10:00: the server cannot be reached\n"));
    EXPECT_THAT(text("entry.json"), HasSubstr("Ada's"));
}

TEST_F(PublishedFilesTest, SayOnAnotherDayOfWhichTheEntryIs) {
    open();
    ambient.setNow("2026-01-31T10:00:00Z");
    start();
    extension.answerWith(CredentialState::stored, ServerContact::unreachable);
    clock.advance(hour);
    EXPECT_THAT(text("widget.txt"), HasSubstr("as of 10:00: "));
    ambient.setNow("2026-02-01T00:00:00Z");
    clock.advance(13 * hour);
    for (const auto* name : {"widget.txt", "panel.json"})
        EXPECT_THAT(text(name), HasSubstr("as of 31 Jan 10:00: the server cannot be reached")) << name;
}

TEST_F(PublishedFilesTest, AreReplacedWhenTheyHoldSomethingElseAndThenOnly) {
    pictures = {{.family = platform::WidgetFamily::systemSmall}};
    open();
    start();
    until([&] { return fs::exists(path(picture)) && text(picture) == "picture of Ada's"; });
    const auto drawing = identity(picture);
    const auto words = identity("widget.txt");
    const auto entry = identity("entry.json");
    const int drawnBefore = extension.drawings;
    clock.advance(hour);
    until([&] { return extension.drawings > drawnBefore; });
    clock.settle();
    EXPECT_NE(identity("entry.json"), entry) << "its date is another";
    EXPECT_EQ(identity("widget.txt"), words);
    EXPECT_EQ(identity(picture), drawing);
    extension.shopName = "Ada's, later";
    clock.advance(hour);
    EXPECT_TRUE(until([&] { return text(picture) == "picture of Ada's, later"; }));
    EXPECT_NE(identity("widget.txt"), words);
}

TEST_F(PublishedFilesTest, HoldNothingOfAPersonWhoHasSignedOut) {
    pictures = {{.family = platform::WidgetFamily::systemSmall}};
    open();
    start();
    until([&] { return fs::exists(path(picture)) && text(picture) == "picture of Ada's"; });
    extension.answerWith(CredentialState::none, ServerContact::refused);
    extension.isDrawingHeld = true;
    happens(SystemEvent::secretsChanged);
    EXPECT_FALSE(fs::exists(path(picture))) << "before another is drawn";
    for (const auto& name : names()) EXPECT_EQ(text(name).find("Ada"), std::string::npos) << name;
    extension.release();
    EXPECT_TRUE(until([&] { return fs::exists(path(picture)); }));
    EXPECT_EQ(text(picture), "picture of notLoggedIn");
    EXPECT_THAT(text("entry.json"), HasSubstr("notLoggedIn"));
}

TEST_F(PublishedFilesTest, ShowTheWordsBeforeThePicturesOfTheirPackagesHaveCome) {
    pictures = {{.family = platform::WidgetFamily::systemSmall},
                {.family = platform::WidgetFamily::systemLarge}};
    extension.pictureDelay = std::chrono::milliseconds(1500);
    open();
    start();
    EXPECT_THAT(text("entry.json"), HasSubstr("Ada's"));
    EXPECT_THAT(text("widget.txt"), HasSubstr("Ada's"));
    EXPECT_THAT(text("panel.json"), HasSubstr("Ada's"));
    for (const char* name : {picture, "systemLarge-dark@2x.png"}) {
        EXPECT_TRUE(until([&] { return shown(name) == "picture of Ada's without"; })) << name;
    }
    for (const char* name : {picture, "systemLarge-dark@2x.png"}) {
        EXPECT_TRUE(until([&] { return shown(name) == "picture of Ada's with"; })) << name;
    }
}

TEST_F(PublishedFilesTest, ShowOtherWordsWhilePicturesOfThoseBeforeAreAwaited) {
    pictures = {{.family = platform::WidgetFamily::systemSmall}};
    extension.pictureDelay = std::chrono::minutes(30);
    open();
    start();
    ASSERT_TRUE(until([&] { return shown(picture) == "picture of Ada's without"; }));
    extension.shopName = "Ada's, later";
    host.askNow();
    EXPECT_TRUE(until([&] { return shown(picture) == "picture of Ada's, later without"; }));
}

TEST_F(PublishedFilesTest, KeepThePicturesInADrawingThatSaysTheSame) {
    pictures = {{.family = platform::WidgetFamily::systemSmall}};
    extension.pictureDelay = std::chrono::milliseconds(800);
    open();
    start();
    ASSERT_TRUE(until([&] { return shown(picture) == "picture of Ada's with"; }));
    const int drawnBefore = extension.drawings;
    clock.advance(hour);
    EXPECT_FALSE(until([&] { return shown(picture) != "picture of Ada's with"; }, std::chrono::seconds(2)));
    EXPECT_EQ(extension.drawings, drawnBefore + 1);
}

TEST_F(PublishedFilesTest, KeepThePictureFromBeforeWhereTheExtensionFails) {
    pictures = {{.family = platform::WidgetFamily::systemSmall}};
    open();
    start();
    until([&] { return fs::exists(path(picture)) && text(picture) == "picture of Ada's"; });
    extension.isFailing = true;
    clock.advance(hour);
    clock.settle();
    EXPECT_EQ(text(picture), "picture of Ada's");
}

TEST_F(PublishedFilesTest, AreWrittenOnceTheyCanBe) {
    pictures = {{.family = platform::WidgetFamily::systemSmall}};
    fileRetry = std::chrono::milliseconds(20);
    open();
    fs::remove(path("panel.json"));
    for (const auto* name : {"panel.json", picture}) fs::create_directories(path(name) / "in the way");
    start();
    EXPECT_FALSE(fs::is_regular_file(path("panel.json")));
    for (const auto* name : {"panel.json", picture}) fs::remove_all(path(name));
    EXPECT_TRUE(until([&] { return fs::exists(path("panel.json")) && fs::exists(path(picture)); }));
    EXPECT_EQ(text("panel.json"), jsonLine(panelObject(host.state(), clock.now())));
}

TEST_F(PublishedFilesTest, AreGoneWithTheHost) {
    pictures = {{.family = platform::WidgetFamily::systemSmall}};
    open();
    start();
    until([&] { return fs::exists(path(picture)); });
    close();
    EXPECT_FALSE(fs::exists(folder.path() / "vela-widget"));
}

TEST(RuntimeFolder, LeavesTheOldFileOnAFullDiskAndSaysSoOnce) {
    const platform::testing::TemporaryFolder disk;
    const int status = platform::testing::withSmallDisk(disk.path(), "64k", [&] {
        std::vector<std::string> notices;
        auto folder =
            RuntimeFolder::make(disk.path(), [&](std::string_view notice) { notices.emplace_back(notice); });
        if (!folder.write("entry.json", "old")) return 1;
        platform::testing::fillUp(disk.path());
        const std::string large(32'000, 'x');
        if (folder.write("entry.json", large) || folder.write("widget.txt", large)) return 2;
        if (disk.read("entry.json") != "old" || fs::exists(disk.path() / ".entry.json.tmp")) return 3;
        if (notices.size() != 1 || notices[0].find("entry.json cannot be written: ") == std::string::npos)
            return 4;
        return 7;
    });
    if (status == platform::testing::cannotMount) GTEST_SKIP() << "no disk may be mounted here";
    EXPECT_EQ(status, 7);
}

TEST(RuntimeFolder, WritesNothingForAHostThatHasLostItsPlace) {
    const platform::testing::TemporaryFolder disk;
    auto standing = HostClaim::Standing::held;
    auto folder = RuntimeFolder::make(
        disk.path(), [](std::string_view) {}, [&] { return standing; });
    EXPECT_TRUE(folder.write("entry.json", "before"));
    for (const auto lost : {HostClaim::Standing::lost, HostClaim::Standing::anothers}) {
        standing = lost;
        EXPECT_FALSE(folder.write("entry.json", "after"));
        EXPECT_FALSE(folder.write("widget.txt", "after"));
        EXPECT_EQ(disk.read("entry.json"), "before");
        EXPECT_EQ(std::distance(fs::directory_iterator(disk.path()), {}), 1);
    }
}

TEST(RuntimeFolder, RemovesNothingOfAnotherHosts) {
    const platform::testing::TemporaryFolder disk;
    for (const auto& [standing, isLeft] :
         {std::pair(HostClaim::Standing::anothers, true), {HostClaim::Standing::lost, false}}) {
        {
            auto now = HostClaim::Standing::held;
            auto folder = RuntimeFolder::make(
                disk.path(), [](std::string_view) {}, [&] { return now; });
            EXPECT_TRUE(folder.write("entry.json", "words"));
            EXPECT_TRUE(folder.write("a.png", "picture"));
            now = standing;
            folder.remove("a.png");
            EXPECT_EQ(fs::exists(disk.path() / "a.png"), isLeft);
        }
        EXPECT_EQ(fs::exists(disk.path() / "entry.json"), isLeft);
    }
}

TEST(RuntimeFolder, RemovesWhatIsOfAnotherWhereNothingCanTakeItsPlace) {
    const platform::testing::TemporaryFolder disk;
    auto folder = RuntimeFolder::make(disk.path() / "new", [](std::string_view) {});
    EXPECT_TRUE(folder.write("a.png", "one"));
    EXPECT_TRUE(folder.write("b.png", "two"));
    EXPECT_TRUE(folder.write("c.txt", "three"));
    folder.removePictures([](const std::string& name) { return name == "b.png"; });
    EXPECT_FALSE(fs::exists(disk.path() / "new/a.png"));
    EXPECT_TRUE(fs::exists(disk.path() / "new/b.png"));
    EXPECT_TRUE(fs::exists(disk.path() / "new/c.txt"));
}

TEST(RuntimeFolder, RemovesWhatAHostThatWasKilledHasLeftAndNothingElse) {
    const platform::testing::TemporaryFolder folder;
    const std::vector<std::string> left = {"entry.json",
                                           "state.json",
                                           "widget.txt",
                                           "panel.json",
                                           ".entry.json.tmp",
                                           "systemLarge-dark@2x.png",
                                           "systemLarge-dark-text1.25@2x.png",
                                           "systemLarge-dark-increased@2x.png",
                                           "systemLarge-light-text0.5-increased@1x.png",
                                           "accessoryInline-light@1.5x.png"};
    const std::vector<std::string> others = {
        "systemLarge-dark.png",         "systemLarge-at the lake, relax.png",
        "systemLarge-dark@x.png",       "notes.json",
        "systemLarge-dark-text@2x.png", "systemLarge-dark-holiday@2x.png",
        "systemLarge-increased@2x.png"};
    for (const auto& names : {left, others})
        for (const auto& name : names) folder.write(name, "Ada's");
    const auto opened = RuntimeFolder::make(folder.path(), [](std::string_view) {});
    for (const auto& name : left) EXPECT_FALSE(fs::exists(folder.path() / name)) << name;
    for (const auto& name : others) EXPECT_TRUE(fs::exists(folder.path() / name)) << name;
}

TEST(PictureFile, IsNamedAfterWhatItShows) {
    EXPECT_EQ(PictureFile().name(), "systemMedium-dark@2x.png");
    EXPECT_EQ((PictureFile{.family = platform::WidgetFamily::accessoryInline,
                           .colorScheme = drawing::ColorScheme::light,
                           .scale = 1.5})
                  .name(),
              "accessoryInline-light@1.5x.png");
    EXPECT_EQ((PictureFile{.textScaling = 1.1, .contrast = drawing::Contrast::increased}).name(),
              "systemMedium-dark-text1.1-increased@2x.png");
    EXPECT_EQ((PictureFile{.contrast = drawing::Contrast::increased}).name(),
              "systemMedium-dark-increased@2x.png");
}

TEST(PictureFile, IsDrawnInTheTextSizeThatComesNearest) {
    const auto request = PictureFile{.textScaling = 1.25, .contrast = drawing::Contrast::increased}.request(
        widget::placeholderEntry(platform::Date::now(), ""));
    EXPECT_EQ(request.appearance.textSize, drawing::TextSize::xxLarge);
    EXPECT_EQ(request.appearance.contrast, drawing::Contrast::increased);
    EXPECT_EQ(request.colorScheme, drawing::ColorScheme::dark);
    EXPECT_EQ(request.scale, 2);
}

}  // namespace
}  // namespace host
