// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/HostPlace.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "host/protocol/Forgetting.hpp"
#include "tests/support/ChildProcess.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace host {
namespace {

namespace fs = std::filesystem;
using platform::Descriptor;
using platform::testing::ChildProcess;
using platform::testing::runInChild;
using platform::testing::ScopedEnvironment;
using ::testing::HasSubstr;

class HostPlaceTest : public testing::Test {
  protected:
    HostPlaceTest() { fs::permissions(folder.path(), fs::perms::owner_all); }

    /// "claimed", or why not.
    std::string claim(const std::optional<std::string>& runtime) const {
        const ScopedEnvironment other({{"XDG_RUNTIME_DIR", runtime}});
        try {
            const auto place = HostPlace::claim(HostAddress::ofPerson(), std::nullopt);
            return "claimed";
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    }
    std::string claim() const { return claim(folder.path().string()); }

    /// What the person is told of it.
    static std::string forgottenInItsPlace() {
        std::string words;
        forgetInPlaceOfHost([&](std::string_view notice) { words += notice; });
        return words;
    }

    fs::path inside(const char* name) const { return folder.path() / "vela-widget" / name; }

    Descriptor listening(const fs::path& path) const {
        Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, path.c_str(), path.native().size());
        EXPECT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(socket, 1), 0);
        return socket;
    }

    platform::testing::TemporaryFolder folder;
    const ScopedEnvironment scope{{{"XDG_RUNTIME_DIR", folder.path().string()}}};
};

TEST_F(HostPlaceTest, SaysWhatIsWrongWithTheFolderThatItIsToLieIn) {
    const auto own = folder.path().string();
    EXPECT_THAT(claim(std::nullopt), HasSubstr("XDG_RUNTIME_DIR is not set"));
    EXPECT_THAT(claim(""), HasSubstr("XDG_RUNTIME_DIR is not set"));
    EXPECT_THAT(claim("run/here"), HasSubstr("is not an absolute path"));
    EXPECT_THAT(claim(own + "/nowhere"), HasSubstr("cannot be used: No such file or directory"));
    folder.write("file", "");
    EXPECT_THAT(claim(own + "/file"), HasSubstr("is no folder"));
    const auto longPath = own + "/" + std::string(100, 'x');
    fs::create_directory(longPath);
    EXPECT_THAT(claim(longPath), HasSubstr("is too long for a socket (107 bytes at most)"));
    const auto withBlank = own + "/a folder";
    fs::create_directory(withBlank);
    fs::permissions(withBlank, fs::perms::all);
    EXPECT_THAT(claim(withBlank), HasSubstr("mend it with: chmod 700 '" + withBlank + "'"));
    fs::permissions(own, fs::perms::all);
    EXPECT_THAT(claim(), HasSubstr("can be changed by other users; mend it with: chmod 700 " + own));
    fs::permissions(own, fs::perms::owner_all);
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(own.c_str(), 1234, 1234), 0);
        EXPECT_THAT(claim(), HasSubstr("belongs to another user (uid 1234)"));
    }
}

TEST_F(HostPlaceTest, SaysWhatIsWrongWithAFolderThatIsThereAlready) {
    fs::create_directory_symlink("/tmp", folder.path() / "vela-widget");
    EXPECT_THAT(claim(), HasSubstr("it is a symbolic link"));
    fs::remove(folder.path() / "vela-widget");
    folder.write("vela-widget", "");
    EXPECT_THAT(claim(), HasSubstr("Not a directory"));
    fs::remove(folder.path() / "vela-widget");
    fs::create_directory(folder.path() / "vela-widget");
    fs::permissions(folder.path() / "vela-widget", fs::perms::all);
    EXPECT_THAT(claim(), HasSubstr("other users can change it"));
    if (::geteuid() == 0) {
        fs::permissions(folder.path() / "vela-widget", fs::perms::owner_all);
        ASSERT_EQ(::chown((folder.path() / "vela-widget").c_str(), 1234, 1234), 0);
        EXPECT_THAT(claim(), HasSubstr("it belongs to another user (uid 1234)"));
    }
}

TEST_F(HostPlaceTest, ClosesItsFolderToOthers) {
    fs::create_directory(folder.path() / "vela-widget");
    fs::permissions(folder.path() / "vela-widget",
                    fs::perms::owner_all | fs::perms::group_read | fs::perms::others_read);
    const auto place = HostPlace::claim(HostAddress::ofPerson(), std::nullopt);
    EXPECT_EQ(fs::status(folder.path() / "vela-widget").permissions(), fs::perms::owner_all);
}

TEST_F(HostPlaceTest, IsHeldByOneAndSaysByWhom) {
    const auto place = HostPlace::claim(HostAddress::ofPerson(), std::nullopt);
    const auto refusal = claim();
    EXPECT_THAT(refusal, HasSubstr("a live host is running already, process " + std::to_string(::getpid())));
}

TEST_F(HostPlaceTest, LeavesNothingBehind) {
    EXPECT_EQ(claim(), "claimed");
    EXPECT_TRUE(fs::is_empty(folder.path()));
    EXPECT_EQ(claim(), "claimed");
}

TEST_F(HostPlaceTest, IsLostWithItsLockAndItsFolder) {
    using Loss = std::function<void()>;
    const Loss losses[] = {
        [&] { fs::remove(inside("host.lock")); },
        [&] { fs::remove_all(inside("")); },
        [&] { fs::rename(inside(""), folder.path() / "elsewhere"); },
    };
    for (const auto& lose : losses) {
        const auto place = HostPlace::claim(HostAddress::ofPerson(), std::nullopt);
        EXPECT_TRUE(place.claim().isHeld());
        lose();
        EXPECT_FALSE(place.claim().isHeld());
        fs::remove_all(inside(""));
    }
}

TEST_F(HostPlaceTest, LeavesToItsSuccessorWhatIsTheSuccessors) {
    std::optional<HostPlace> lost(HostPlace::claim(HostAddress::ofPerson(), std::nullopt));
    fs::remove_all(inside(""));
    const auto place = HostPlace::claim(HostAddress::ofPerson(), std::nullopt);
    lost.reset();
    EXPECT_TRUE(place.claim().isHeld());
    EXPECT_TRUE(fs::exists(inside("host.socket")));
}

TEST_F(HostPlaceTest, TakesOverFromAHostThatWasKilled) {
    ChildProcess killed([] {
        const auto place = HostPlace::claim(HostAddress::ofPerson(), std::nullopt);
        ::pause();
        return 0;
    });
    while (!fs::exists(inside("host.socket"))) platform::testing::runInChild([] { return 0; });
    killed.kill();
    killed.wait();
    folder.write("vela-widget/entry.json", "somebody's");
    folder.write("vela-widget/.systemSmall-dark@2x.png.tmp", "somebody's");
    folder.write("vela-widget/notes", "the person's own");
    const auto place = HostPlace::claim(HostAddress::ofPerson(), std::nullopt);
    EXPECT_FALSE(fs::exists(inside("entry.json")));
    EXPECT_FALSE(fs::exists(inside(".systemSmall-dark@2x.png.tmp")));
    EXPECT_TRUE(fs::exists(inside("notes")));
}

TEST_F(HostPlaceTest, IsClearedOfAHostThatIsKilledInThisMoment) {
    // What is killed holds its lock for as long as the system takes to end it.
    folder.write("vela-widget/entry.json", "somebody's");
    folder.write("vela-widget/host.lock", "1\n");
    fs::permissions(folder.path() / "vela-widget", fs::perms::owner_all);
    std::optional<Descriptor> lock(::open(inside("host.lock").c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(::flock(*lock, LOCK_EX), 0);
    std::thread end([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(60));
        lock.reset();
    });
    EXPECT_EQ(forgottenInItsPlace(), "");
    end.join();
    EXPECT_FALSE(fs::exists(inside("entry.json")));
}

/// After a while.
std::thread greetingOneWhoComesIn(const HostPlace& place, std::chrono::milliseconds after) {
    return std::thread([&place, after] {
        const Descriptor visitor(::accept(place.socket(), nullptr, nullptr));
        std::this_thread::sleep_for(after);
        EXPECT_EQ(::send(visitor, "{", 1, MSG_NOSIGNAL), 1);
    });
}

TEST_F(HostPlaceTest, IsNotClearedOfAHostThatAnswersThoughLate) {
    const auto place = HostPlace::claim(HostAddress::ofPerson(), std::nullopt);
    folder.write("vela-widget/entry.json", "hers");
    auto host = greetingOneWhoComesIn(place, std::chrono::milliseconds(1500));
    EXPECT_EQ(forgottenInItsPlace(), "waiting for the live host, which does not answer");
    host.join();
    EXPECT_TRUE(fs::exists(inside("entry.json")));
    EXPECT_TRUE(place.claim().isHeld());
}

TEST_F(HostPlaceTest, IsTakenAtOnceFromAHostThatIsStopped) {
    ChildProcess stopped([] {
        const auto place = HostPlace::claim(HostAddress::ofPerson(), std::nullopt);
        ::raise(SIGSTOP);
        return place.claim().isHeld() ? 1 : 0;
    });
    siginfo_t information = {};
    ASSERT_EQ(::waitid(P_ALL, 0, &information, WSTOPPED | WNOWAIT), 0);
    const auto process = information.si_pid;
    folder.write("vela-widget/entry.json", "hers");
    EXPECT_EQ(forgottenInItsPlace(),
              "the live host (process " + std::to_string(process) +
                  ") is stopped, so what it shows is removed; another one begins with the "
                  "next reader");
    EXPECT_FALSE(fs::exists(inside("entry.json")));
    EXPECT_EQ(stopped.wait(), 0) << "it is told to go on, and finds its place lost";
}

TEST_F(HostPlaceTest, IsTakenFromAHostThatDoesNotAnswer) {
    std::optional<HostPlace> place(HostPlace::claim(HostAddress::ofPerson(), std::nullopt));
    const auto out = folder.path() / "out";
    place->claim().noteOutput(out);
    for (const char* name : {"vela-widget/entry.json", "vela-widget/.widget.txt.tmp", "out/panel.json",
                             "vela-widget/notifications.json"})
        folder.write(name, "hers");
    EXPECT_THAT(forgottenInItsPlace(),
                HasSubstr("(process " + std::to_string(::getpid()) + ") does not answer"));
    EXPECT_FALSE(fs::exists(inside("")));
    EXPECT_TRUE(fs::is_empty(out));
    EXPECT_EQ(place->claim().standing(), HostClaim::Standing::lost);
    const auto successor = HostPlace::claim(HostAddress::ofPerson(), std::nullopt);
    EXPECT_EQ(place->claim().standing(), HostClaim::Standing::anothers);
    place.reset();
    EXPECT_TRUE(successor.claim().isHeld());
}

TEST_F(HostPlaceTest, LeavesTheSocketToTheServiceManagerWhoseHostDoesNotAnswer) {
    fs::create_directory(folder.path() / "vela-widget");
    fs::permissions(folder.path() / "vela-widget", fs::perms::owner_all);
    const auto theirs = listening(inside("host.socket"));
    ChildProcess silent([&] {
        const auto place =
            HostPlace::claim(HostAddress::ofPerson(), Descriptor(::fcntl(theirs, F_DUPFD_CLOEXEC, 0)));
        ::pause();
        return 0;
    });
    while (!fs::exists(inside("host.lock")) || fs::is_empty(inside("host.lock"))) ::usleep(1000);
    folder.write("vela-widget/entry.json", "hers");
    EXPECT_THAT(forgottenInItsPlace(), HasSubstr("does not answer"));
    EXPECT_FALSE(fs::exists(inside("entry.json")));
    EXPECT_TRUE(fs::exists(inside("host.socket")));
}

TEST_F(HostPlaceTest, LeavesASocketThatSomebodyListensOn) {
    fs::create_directory(folder.path() / "vela-widget");
    fs::permissions(folder.path() / "vela-widget", fs::perms::owner_all);
    const auto other = listening(inside("host.socket"));
    EXPECT_THAT(claim(), HasSubstr("is listened on already"));
    EXPECT_TRUE(fs::exists(inside("host.socket")));
}

TEST_F(HostPlaceTest, IsHadByExactlyOneOfManyThatBeginAtOnce) {
    constexpr int many = 12;
    std::array<int, 2> outcomes = {-1, -1};
    std::array<int, 2> end = {-1, -1};
    ASSERT_EQ(::pipe2(outcomes.data(), O_CLOEXEC), 0);
    ASSERT_EQ(::pipe2(end.data(), O_CLOEXEC), 0);
    std::vector<std::unique_ptr<ChildProcess>> all;
    for (int count = 0; count < many; ++count)
        all.push_back(std::make_unique<ChildProcess>([&] {
            ::close(end[1]);
            try {
                const auto place = HostPlace::claim(HostAddress::ofPerson(), std::nullopt);
                (void)!::write(outcomes[1], "y", 1);
                // Until all others have been refused.
                char none = 0;
                (void)!::read(end[0], &none, 1);
            } catch (const HostPlaceError&) {
                (void)!::write(outcomes[1], "n", 1);
            }
            return 0;
        }));
    ::close(outcomes[1]);
    std::string told(many, ' ');
    for (char& outcome : told) ASSERT_EQ(::read(outcomes[0], &outcome, 1), 1);
    for (const int each : {outcomes[0], end[0], end[1]}) ::close(each);
    for (const auto& each : all) EXPECT_EQ(each->wait(), 0);
    EXPECT_EQ(std::count(told.begin(), told.end(), 'y'), 1) << told;
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_F(HostPlaceTest, IsHeldByOneHoweverOftenItIsGivenUp) {
    const auto mark = (folder.path() / "held").string();
    std::vector<std::unique_ptr<ChildProcess>> all;
    for (int count = 0; count < 4; ++count)
        all.push_back(std::make_unique<ChildProcess>([&] {
            int claimed = 0;
            for (int round = 0; round < 300; ++round) try {
                    const auto place = HostPlace::claim(HostAddress::ofPerson(), std::nullopt);
                    const Descriptor held(::open(mark.c_str(), O_CREAT | O_EXCL | O_CLOEXEC, 0600));
                    if (!held.isOpen()) return 1;
                    ::unlink(mark.c_str());
                    ++claimed;
                } catch (const HostPlaceError&) {
                }
            return claimed > 0 ? 7 : 2;
        }));
    for (const auto& each : all) EXPECT_EQ(each->wait(), 7);
}

TEST_F(HostPlaceTest, ServesOnTheSocketThatAServiceManagerHandsDown) {
    fs::create_directory(folder.path() / "vela-widget");
    const auto path = inside("host.socket");
    const auto theirs = listening(path);
    const int status = runInChild([&] {
        if (::dup2(theirs, 3) != 3) return 1;
        ::setenv("LISTEN_PID", std::to_string(::getpid()).c_str(), 1);
        ::setenv("LISTEN_FDS", "1", 1);
        {
            const auto place = HostPlace::claim(HostAddress::ofPerson(), HostPlace::handedDownSocket());
            if (place.socket() != 3 || ::getenv("LISTEN_FDS")) return 2;
        }
        return 7;
    });
    EXPECT_EQ(status, 7);
    EXPECT_TRUE(fs::exists(path)) << "it is not the host's to remove";
    EXPECT_FALSE(fs::exists(inside("host.lock")));
}

TEST_F(HostPlaceTest, TakesNothingForHandedDownThatIsNotMeantForIt) {
    struct Case {
        const char* process;
        const char* count;
        std::string outcome;
    };
    for (const auto& [process, count, outcome] : {
             Case{"1", "1", "none"},
             Case{"self", "2", "one socket is handed down to a live host, not 2"},
             Case{"self", "1", "what is handed down to the live host is no local socket that listens"},
         }) {
        const auto expected = outcome;
        const std::string named = process;
        const std::string counted = count;
        const int status = runInChild([&] {
            const Descriptor nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
            ::dup2(nothing, 3);
            ::setenv("LISTEN_PID", (named == "self" ? std::to_string(::getpid()) : named).c_str(), 1);
            ::setenv("LISTEN_FDS", counted.c_str(), 1);
            try {
                return HostPlace::handedDownSocket() ? 1 : expected == "none" ? 7 : 2;
            } catch (const HostPlaceError& error) {
                return error.what() == expected ? 7 : 3;
            }
        });
        EXPECT_EQ(status, 7) << outcome;
    }
}

}  // namespace
}  // namespace host
