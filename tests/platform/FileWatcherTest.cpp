// SPDX-License-Identifier: Apache-2.0

#include "platform/SystemEvents/FileWatcher.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <vector>

#include "tests/support/ChildProcess.hpp"
#include "tests/support/EventLoop.hpp"
#include "tests/support/RecordingLogSink.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace platform::testing {
namespace {

namespace fs = std::filesystem;

/// Watches one file, and beside it another that is touched to know that all before it has been told.
class WatchedFile {
  public:
    explicit WatchedFile(const fs::path& file)
        : watcher_(loop_.executor(), {file, marker_.write("marker", "there from the beginning")},
                   [this](std::size_t index) { ++counts_.at(index); }) {}

    /// How often the file is told of for what `work` does.
    int toldFor(const std::function<void()>& work) {
        const int before = counts_[0];
        const int markerBefore = counts_[1];
        work();
        marker_.write("marker", std::to_string(markerBefore));
        EXPECT_TRUE(loop_.runUntil([&] { return counts_[1] > markerBefore; })) << "the marker was not seen";
        loop_.runReady();
        return counts_[0] - before;
    }

  private:
    EventLoop loop_;
    TemporaryFolder marker_;
    std::vector<int> counts_ = {0, 0};
    FileWatcher watcher_;
};

void replace(const TemporaryFolder& folder, const char* name, std::string_view text) {
    folder.write("new", text);
    fs::rename(folder.path() / "new", folder.path() / name);
}

struct WayToChange {
    const char* name;
    std::function<void(const TemporaryFolder&)> work;
    bool isTold;
};

TEST(FileWatcher, TellsOfWhatMayHaveChangedTheFileAndOfNothingElse) {
    const std::vector<WayToChange> ways = {
        {"written in place", [](const auto& folder) { folder.write("file", "more"); }, true},
        {"replaced", [](const auto& folder) { replace(folder, "file", "other"); }, true},
        {"removed", [](const auto& folder) { fs::remove(folder.path() / "file"); }, true},
        {"moved away", [](const auto& folder) { fs::rename(folder.path() / "file", folder.path() / "old"); },
         true},
        {"made readable for others",
         [](const auto& folder) { ::chmod((folder.path() / "file").c_str(), 0644); }, true},
        {"its folder opened to others", [](const auto& folder) { ::chmod(folder.path().c_str(), 0755); },
         true},
        {"a database's log beside it", [](const auto& folder) { folder.write("file-wal", "page"); }, true},
        {"a database's journal beside it, which comes and goes for a look",
         [](const auto& folder) {
             folder.write("file-journal", "page");
             fs::remove(folder.path() / "file-journal");
         },
         false},
        {"a neighbour", [](const auto& folder) { folder.write("fil", "text"); }, false},
        {"opened for writing, and nothing written",
         [](const auto& folder) { ::close(::open((folder.path() / "file").c_str(), O_RDWR)); }, false},
    };
    for (const auto& way : ways) {
        SCOPED_TRACE(way.name);
        TemporaryFolder folder;
        ::chmod(folder.write("file", "text").c_str(), 0600);
        WatchedFile watched(folder.path() / "file");
        EXPECT_EQ(watched.toldFor([&] { way.work(folder); }) > 0, way.isTold);
    }
}

TEST(FileWatcher, SeesAFileComeWhoseFoldersAreNotThereYet) {
    TemporaryFolder folder;
    WatchedFile watched(folder.path() / "a" / "b" / "file");
    EXPECT_EQ(watched.toldFor([&] { fs::create_directories(folder.path() / "a"); }), 0);
    EXPECT_GT(watched.toldFor([&] { folder.write("a/b/file", "text"); }), 0);
    EXPECT_GT(watched.toldFor([&] { folder.write("a/b/file", "other"); }), 0);
}

TEST(FileWatcher, SeesFoldersOnTheWayRemovedAndMadeAgain) {
    TemporaryFolder folder;
    folder.write("a/b/file", "text");
    WatchedFile watched(folder.path() / "a" / "b" / "file");
    EXPECT_GT(watched.toldFor([&] { fs::remove_all(folder.path() / "a"); }), 0);
    EXPECT_GT(watched.toldFor([&] { folder.write("a/b/file", "text"); }), 0);
    EXPECT_GT(watched.toldFor([&] { folder.write("a/b/file", "other"); }), 0);
}

TEST(FileWatcher, SeesAFolderOnTheWayMovedAndAnotherInItsPlace) {
    TemporaryFolder folder;
    folder.write("a/b/file", "text");
    WatchedFile watched(folder.path() / "a" / "b" / "file");
    EXPECT_GT(watched.toldFor([&] { fs::rename(folder.path() / "a", folder.path() / "old"); }), 0);
    folder.write("new/b/file", "other");
    EXPECT_GT(watched.toldFor([&] { fs::rename(folder.path() / "new", folder.path() / "a"); }), 0);
    EXPECT_EQ(watched.toldFor([&] { folder.write("old/b/file", "the former one"); }), 0);
    EXPECT_GT(watched.toldFor([&] { folder.write("a/b/file", "the present one"); }), 0);
}

TEST(FileWatcher, FollowsALinkAndSeesItPutElsewhere) {
    TemporaryFolder folder;
    folder.write("zones/Berlin", "one");
    folder.write("zones/Paris", "two");
    fs::create_symlink("zones/Berlin", folder.path() / "localtime");
    WatchedFile watched(folder.path() / "localtime");
    EXPECT_GT(watched.toldFor([&] { folder.write("zones/Berlin", "another rule"); }), 0) << "the target";
    EXPECT_EQ(watched.toldFor([&] { folder.write("zones/Paris", "another rule"); }), 0);
    EXPECT_GT(watched.toldFor([&] {
        fs::create_symlink(folder.path() / "zones" / "Paris", folder.path() / "new");
        fs::rename(folder.path() / "new", folder.path() / "localtime");
    }),
              0)
        << "the link";
    EXPECT_GT(watched.toldFor([&] { folder.write("zones/Paris", "yet another"); }), 0) << "the new target";
}

TEST(FileWatcher, FollowsALinkThatLeadsThroughTheFolderAboveAndSurvivesARing) {
    TemporaryFolder folder;
    folder.write("real/file", "text");
    fs::create_directory(folder.path() / "way");
    fs::create_symlink("../real/./file", folder.path() / "way" / "link");
    WatchedFile watched(folder.path() / "way" / "link");
    EXPECT_GT(watched.toldFor([&] { folder.write("real/file", "other"); }), 0);
    fs::create_symlink("ring", folder.path() / "ring");
    WatchedFile ring(folder.path() / "ring");
    EXPECT_GT(ring.toldFor([&] { replace(folder, "ring", "text"); }), 0);
}

TEST(FileWatcher, SaysOnceThatTheKernelHasNoWatchesAndGoesOnWhenItHas) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the undefined-behaviour sanitizer looks at each object with a pipe";
#endif
    // In a process of its own, whose descriptors run out.
    const int status = runInChild([] {
        TemporaryFolder folder;
        EventLoop loop;
        // Asio takes its own descriptors with its first timer.
        Alarm first(loop.executor(), [] {});
        RecordingLogSink log;
        rlimit limit = {};
        ::getrlimit(RLIMIT_NOFILE, &limit);
        const rlimit none = {.rlim_cur = 3, .rlim_max = limit.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &none);
        int told = 0;
        FileWatcher watcher(loop.executor(), {folder.path() / "file"}, [&](std::size_t) { ++told; });
        if (log.messages() != std::vector<std::string>{"files cannot be watched: Too many open files"})
            return 1;
        // One more attempt that fails, then one that does not.
        bool isOver = false;
        Alarm later(loop.executor(), [&] { isOver = true; });
        later.set(std::chrono::milliseconds(1500));
        if (!loop.runUntil([&] { return isOver; })) return 2;
        if (log.messages().size() != 1) return 3;
        ::setrlimit(RLIMIT_NOFILE, &limit);
        folder.write("file", "text");
        return loop.runUntil([&] { return told > 0; }) ? 0 : 4;
    });
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace platform::testing
