// SPDX-License-Identifier: Apache-2.0

#include "platform/Files/TrustedFolder.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

#include <fstream>
#include <functional>

#include "tests/support/ChildProcess.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace platform {
namespace {

namespace fs = std::filesystem;
using platform::testing::runInChild;
using platform::testing::runWithoutPrivileges;
using Others = TrustedFolder::Others;
using ::testing::HasSubstr;

// Neither root, nor nobody, nor who runs this.
constexpr uid_t stranger = 54321;

void setMode(const fs::path& path, mode_t mode) {
    ASSERT_EQ(::chmod(path.c_str(), mode), 0) << path;
}

mode_t mode(const fs::path& path) {
    struct stat found = {};
    return ::lstat(path.c_str(), &found) == 0 ? found.st_mode & 07777 : 0;
}

void giveAway(const fs::path& path) {
    ASSERT_EQ(::lchown(path.c_str(), stranger, stranger), 0) << path;
}

/// A folder with a file, on a way of two folders and a link.
class Tree : public ::testing::Test {
  protected:
    Tree() {
        temporary.write("home/data/suite/file", "text");
        fs::create_directory_symlink("home", temporary.path() / "link");
        for (const auto& made : {home, data, suite}) setMode(made, 0700);
        setMode(file, 0600);
    }

    /// What opening folder and file says; empty where both are trusted.
    std::string fault(const fs::path& folder, Others others = Others::mayRead) const {
        try {
            const auto opened = TrustedFolder::open(folder);
            if (!opened) return "no folder";
            return opened->openFile("file", others) ? "" : "no file";
        } catch (const FileError& error) {
            return error.what();
        }
    }
    std::string fault() const { return fault(suite); }

    platform::testing::TemporaryFolder temporary;
    const fs::path home = temporary.path() / "home";
    const fs::path data = home / "data";
    const fs::path suite = data / "suite";
    const fs::path file = suite / "file";
};

TEST_F(Tree, IsTrustedWhereItsOwnerAloneCanChangeIt) {
    EXPECT_EQ(fault(), "");
    const auto opened = TrustedFolder::open(suite);
    char text[4];
    EXPECT_EQ(::read(*opened->openFile("file", Others::mayDoNothing), text, sizeof text), 4);
    EXPECT_EQ(std::string(text, 4), "text");
    EXPECT_EQ(opened->openFile("other", Others::mayRead), std::nullopt);
    EXPECT_EQ(opened->fileStatus("other", Others::mayRead), std::nullopt);
    EXPECT_EQ(opened->fileStatus("file", Others::mayRead)->st_size, 4);
}

TEST_F(Tree, IsTrustedWhereOthersCanOnlyRead) {
    for (const auto& folder : {home, data, suite}) setMode(folder, 0755);
    setMode(file, 0644);
    EXPECT_EQ(fault(), "");
}

TEST_F(Tree, IsTrustedOnTheWaysThatPeopleHave) {
    setMode(home, 0775);  // umask 002, a group of one's own
    setMode(data, 02775);
    EXPECT_EQ(fault(), "");
    setMode(home, 01777);  // as /tmp
    EXPECT_EQ(fault(), "");
    EXPECT_EQ(fault(temporary.path() / "link/data/suite"), "");
    EXPECT_EQ(fault(home / "./data//suite/"), "");
    EXPECT_EQ(fault(home / "../link/data/suite"), "");
    fs::create_directory_symlink(data, temporary.path() / "absolute");
    EXPECT_EQ(fault(temporary.path() / "absolute/suite"), "");
}

TEST_F(Tree, SaysWhichFolderOrFileIsNotTrustedAndWhatMendsIt) {
    struct Row {
        const fs::path& path;
        mode_t mode;
        std::string fault;
    };
    const std::string changeable =
        " is not trusted: other users can change it; make sure that it holds what it should, then: ";
    const std::string replaceable =
        " is not trusted: every user can replace what lies in it; mend it with: chmod o-w ";
    const std::vector<Row> rows = {
        {file, 0620, file.string() + changeable + "chmod 600 " + file.string()},
        {file, 0602, file.string() + changeable + "chmod 600 " + file.string()},
        {file, 0666, file.string() + changeable + "chmod 600 " + file.string()},
        {suite, 0720, suite.string() + changeable + "chmod 700 " + suite.string()},
        {suite, 0777, suite.string() + changeable + "chmod 700 " + suite.string()},
        {suite, 01777, suite.string() + changeable + "chmod 700 " + suite.string()},
        {data, 0777, data.string() + replaceable + data.string()},
        {home, 0702, home.string() + replaceable + home.string()},
    };
    for (const auto& row : rows) {
        const mode_t before = mode(row.path);
        setMode(row.path, row.mode);
        EXPECT_EQ(fault(), row.fault);
        setMode(row.path, before);
    }
    EXPECT_EQ(fault(), "");
}

TEST_F(Tree, IsNotTrustedWithAFileThatOthersCanReadWhereTheyMayNot) {
    for (const mode_t open : {0640u, 0604u, 0610u, 0601u}) {
        setMode(file, open);
        EXPECT_EQ(fault(suite), "");
        EXPECT_EQ(fault(suite, Others::mayDoNothing),
                  file.string() + " is not trusted: other users can read it; mend it with: chmod 600 " +
                      file.string());
    }
}

TEST_F(Tree, IsMendedByTheCommandThatIsNamedWhateverItsPath) {
    fs::rename(suite, data / "it's $HOME \"odd\"");
    setMode(data / "it's $HOME \"odd\"", 0777);
    // What is named is handed to a shell: it must be this and nothing else.
    const std::string command = "chmod 700 '" + data.string() + "/it'\\''s $HOME \"odd\"'";
    ASSERT_THAT(fault(data / "it's $HOME \"odd\""), ::testing::EndsWith("then: " + command));
    ASSERT_EQ(::system(command.c_str()), 0);
    EXPECT_EQ(fault(data / "it's $HOME \"odd\""), "");
}

TEST_F(Tree, IsNotTrustedWhenItBelongsToAnotherUser) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root gives files away";
    for (const auto& path : {file, suite, data, home}) {
        giveAway(path);
        EXPECT_THAT(fault(),
                    HasSubstr(path.string() + " is not trusted: it belongs to another user (uid 54321)"));
        ASSERT_EQ(::lchown(path.c_str(), 0, 0), 0);
    }
    ASSERT_EQ(::chown(data.c_str(), 65534, 65534), 0);
    EXPECT_THAT(fault(), HasSubstr("belongs to another user (uid 65534)")) << "nobody is a stranger too";
    ASSERT_EQ(::chown(data.c_str(), 0, 0), 0);
    giveAway(temporary.path() / "link");
    EXPECT_THAT(fault(temporary.path() / "link/data/suite"), HasSubstr("belongs to another user"));
    EXPECT_EQ(fault(), "");
}

TEST_F(Tree, IsTrustedByAnyoneWhereItIsRoots) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root has files of root's";
    for (const auto& folder : {temporary.path(), home, data, suite}) setMode(folder, 0755);
    setMode(file, 0644);
    EXPECT_EQ(runWithoutPrivileges([&] { return fault().empty() ? 0 : 1; }), 0);
}

/// Into a user namespace that knows this process's user alone, as many sandboxes are made.
bool enterNamespaceWithoutRoot() {
    if (::geteuid() == 0 && ::setresuid(stranger, stranger, stranger) != 0) return false;
    ::prctl(PR_SET_DUMPABLE, 1);
    const auto user = ::geteuid();
    if (::unshare(CLONE_NEWUSER) != 0) return false;
    std::ofstream map("/proc/self/uid_map");
    map << "1000 " << user << " 1" << std::flush;
    return map.good() && ::geteuid() == 1000;
}

TEST_F(Tree, IsTrustedWhereRootsFoldersShowAsNobodys) {
    if (::geteuid() == 0)
        for (const auto& path : {temporary.path(), home, data, suite, file}) giveAway(path);
    const auto result = runInChild([&] {
        if (!enterNamespaceWithoutRoot()) return 77;
        if (fault("/usr") !=
            "/usr is not trusted: it belongs to another user (uid 65534); move it out of the way")
            return 1;
        return fault().empty() ? 0 : 2;
    });
    if (result == 77) GTEST_SKIP() << "user namespaces are not allowed here";
    EXPECT_EQ(result, 0);
}

TEST_F(Tree, IsNotTrustedWithALinkInItsPlace) {
    EXPECT_THAT(fault(temporary.path() / "link"), HasSubstr("it is a symbolic link"));
    fs::rename(file, data / "elsewhere");
    fs::create_symlink(data / "elsewhere", file);
    EXPECT_THAT(fault(), HasSubstr(file.string() + " is not trusted: it is a symbolic link"));
    EXPECT_THROW(TrustedFolder::open(suite)->fileStatus("file", Others::mayRead), FileError);
    fs::remove(file);
    fs::create_symlink("nowhere", file);
    EXPECT_THAT(fault(), HasSubstr("it is a symbolic link"));
    fs::rename(suite, data / "moved");
    fs::create_directory_symlink("moved", suite);
    EXPECT_THAT(fault(), HasSubstr(suite.string() + " is not trusted: it is a symbolic link"));
    EXPECT_THROW(TrustedFolder::make(suite), FileError);
}

TEST_F(Tree, IsNotReadWhereItsFileIsNone) {
    const std::vector<std::pair<const char*, std::function<void()>>> rows = {
        {"a folder", [&] { ASSERT_EQ(::mkdir(file.c_str(), 0700), 0); }},
        {"a fifo", [&] { ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0); }},
        {"a device",
         [&] {
             const bool isMade = ::mknod(file.c_str(), S_IFCHR | 0600, makedev(1, 5)) == 0;
             if (!isMade) fs::create_directory(file);  // without root's rights
         }},
        {"a socket",
         [&] {
             sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = "file"};
             const auto before = fs::current_path();
             fs::current_path(suite);
             const Descriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
             ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
             setMode("file", 0600);
             fs::current_path(before);
         }},
    };
    for (const auto& [kind, make] : rows) {
        fs::remove(file);
        make();
        EXPECT_EQ(fault(), file.string() + ": is not a regular file") << kind;
    }
    fs::remove(file);
    EXPECT_EQ(fault(), "no file");
}

TEST_F(Tree, IsReadWithASecondName) {
    // As a back-up leaves it. Nobody else can have put the name into a folder that is trusted.
    fs::create_hard_link(file, data / "copy");
    EXPECT_EQ(fault(), "");
}

TEST_F(Tree, IsNoFolderWhereThereIsNone) {
    EXPECT_EQ(fault(data / "other"), "no folder");
    EXPECT_EQ(fault(home / "none" / "at" / "all"), "no folder");
    EXPECT_THAT(fault(file), HasSubstr(file.string() + ": Not a directory"));
    EXPECT_THAT(fault(file / "suite"), HasSubstr(file.string() + ": Not a directory"));
    EXPECT_THAT(fault(data / std::string(300, 'x')), HasSubstr("File name too long"));
    fs::create_directory_symlink("round", data / "round");
    EXPECT_THAT(fault(data / "round" / "suite"), HasSubstr("Too many levels of symbolic links"));
}

TEST_F(Tree, CannotBeUsedWithoutTheRightTo) {
    setMode(temporary.path(), 0755);
    for (const auto& folder : {home, data, suite}) setMode(folder, 0755);
    setMode(suite, 0);
    EXPECT_EQ(runWithoutPrivileges([&] { return fault() == suite.string() + ": Permission denied" ? 0 : 1; }),
              0);
    setMode(suite, 0644);
    EXPECT_EQ(runWithoutPrivileges([&] { return fault() == suite.string() + ": Permission denied" ? 0 : 1; }),
              0);
    setMode(suite, 0700);
}

TEST_F(Tree, IsMadeForItsOwnerAlone) {
    const mode_t before = ::umask(0);
    EXPECT_EQ(TrustedFolder::make(home / "new" / "at" / "all").path(), home / "new" / "at" / "all");
    ::umask(before);
    for (const auto* made : {"new", "new/at", "new/at/all"}) EXPECT_EQ(mode(home / made), 0700u) << made;
    EXPECT_NO_THROW(TrustedFolder::make(suite));
    setMode(data, 0777);
    EXPECT_THROW(TrustedFolder::make(data / "new"), FileError);
    EXPECT_FALSE(fs::exists(data / "new"));
}

}  // namespace
}  // namespace platform
