// SPDX-License-Identifier: Apache-2.0

#include "platform/ProcessInfo/ProcessInfo.hpp"

#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>

#include "platform/ProcessInfo/SiblingProgram.hpp"
#include "platform/ProcessInfo/Spawning.hpp"
#include "tests/support/ScopedEnvironment.hpp"

namespace platform {
namespace {

using testing::ScopedEnvironment;
namespace fs = std::filesystem;

TEST(ProcessInfo, HoldsTheEnvironment) {
    const ScopedEnvironment environment(
        {{"VELA_ONE", "a=b"}, {"VELA_EMPTY", ""}, {"VELA_NONE", std::nullopt}});
    EXPECT_EQ(environmentVariable("VELA_ONE"), "a=b");
    EXPECT_EQ(environmentVariable("VELA_EMPTY"), "");
    EXPECT_EQ(environmentVariable("VELA_NONE"), std::nullopt);
    const auto all = processEnvironment();
    EXPECT_EQ(all.at("VELA_ONE"), "a=b");
    EXPECT_EQ(all.at("VELA_EMPTY"), "");
    EXPECT_FALSE(all.contains("VELA_NONE"));
}

TEST(DataHome, IsTheVariableWhereItIsAnAbsolutePath) {
    const ScopedEnvironment environment({{"XDG_DATA_HOME", "/data home"}, {"HOME", "/home/someone"}});
    EXPECT_EQ(dataHome(), fs::path("/data home"));
}

TEST(DataHome, IsInTheHomeFolderOtherwise) {
    for (const auto& variable : {std::optional<std::string>(), {""}, {"relative/path"}}) {
        const ScopedEnvironment environment({{"XDG_DATA_HOME", variable}, {"HOME", "/home/someone"}});
        EXPECT_EQ(dataHome(), fs::path("/home/someone/.local/share"));
    }
}

TEST(DataHome, IsInTheHomeFolderOfTheUserDatabaseWithoutHOME) {
    const auto* user = getpwuid(getuid());
    for (const auto& home : {std::optional<std::string>(), {""}, {"somewhere"}}) {
        const ScopedEnvironment environment({{"XDG_DATA_HOME", std::nullopt}, {"HOME", home}});
        if (user) {
            EXPECT_EQ(dataHome(), fs::path(user->pw_dir) / ".local/share");
        } else {
            EXPECT_EQ(dataHome(), std::nullopt);
        }
    }
}

TEST(ExecutablePath, IsThisProgram) {
    EXPECT_EQ(executablePath().filename(), "vela-tests-foundation");
}

TEST(SiblingProgram, SaysWhichPackageHasWhatIsNotInstalled) {
    const SiblingProgram program = {.name = "vela-nothing", .package = "vela-extras"};
    EXPECT_FALSE(program.isInstalled());
    try {
        program.become({});
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(error.what(), "this needs " + siblingProgramPath("vela-nothing").string() +
                                    ", which the package vela-extras has; install it");
    }
}

TEST(Process, GoesOnAsAnotherProgram) {
    const auto becomesShell = [] {
        const std::string test = "test \"$0 $1 $VELA_HEIR\" = 'word last left' && exit 42";
        _exit(replaceProcess("/bin/sh", {"sh", "-c", test, "word", "last"}, {{"VELA_HEIR", "left"}}));
    };
    EXPECT_EXIT(becomesShell(), ::testing::ExitedWithCode(42), "");
    EXPECT_EQ(replaceProcess("/nothing/at/all", {"nothing"}, {}), ENOENT);
}

TEST(CoreFiles, AreForbiddenTogetherWithReadsOfTheMemory) {
    EXPECT_EXIT(
        {
            forbidCoreFiles();
            rlimit limit = {};
            getrlimit(RLIMIT_CORE, &limit);
            _exit(limit.rlim_cur == 0 && limit.rlim_max == 0 && prctl(PR_GET_DUMPABLE) == 0 ? 42 : 1);
        },
        ::testing::ExitedWithCode(42), "");
}

}  // namespace
}  // namespace platform
