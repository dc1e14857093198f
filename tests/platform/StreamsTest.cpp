// SPDX-License-Identifier: Apache-2.0

#include "platform/Streams/Streams.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <system_error>

#include "tests/support/TemporaryFolder.hpp"

namespace platform {
namespace {

using std::chrono::milliseconds;

class InputTest : public ::testing::Test {
  protected:
    std::string path(const std::string& name) const { return (folder.path() / name).string(); }

    /// What is read of a file, or how that failed.
    static std::string read(const std::string& path, milliseconds patience = std::chrono::hours(1)) {
        try {
            return readFile(path, 10, Deadline(patience));
        } catch (const std::exception& failure) {
            return failure.what();
        }
    }

    testing::TemporaryFolder folder;
};

TEST_F(InputTest, IsReadToItsEnd) {
    folder.write("file", "0123456789");
    folder.write("empty", "");
    EXPECT_EQ(read(path("file")), "0123456789");
    EXPECT_EQ(read(path("empty")), "");
}

TEST_F(InputTest, IsRefusedWhereItCannotBeRead) {
    folder.write("long", "0123456789x");
    EXPECT_EQ(read(path("long")), path("long") + " is too long");
    EXPECT_EQ(read("/dev/zero"), "/dev/zero is too long");
    EXPECT_EQ(read(path("nowhere")), "cannot read " + path("nowhere") + ": No such file or directory");
    EXPECT_EQ(read(folder.path()), "cannot read " + folder.path().string() + ": Is a directory");
}

TEST_F(InputTest, OfAPipeIsAwaitedUntilTheDeadline) {
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    const auto message = path("pipe") + " has not ended within 50 ms";
    EXPECT_EQ(read(path("pipe"), milliseconds(50)), message) << "nobody writes";
    const int writer = ::open(path("pipe").c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_EQ(read(path("pipe"), milliseconds(50)), message) << "somebody could";
    EXPECT_EQ(::write(writer, "half", 4), 4);
    EXPECT_EQ(read(path("pipe"), milliseconds(50)), message) << "somebody has, and might again";
    ::close(writer);
}

TEST_F(InputTest, OfAPipeEndsWithItsWriter) {
    std::array<int, 2> ends;
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    EXPECT_EQ(::write(ends[1], "whole", 5), 5);
    ::close(ends[1]);
    EXPECT_EQ(readAll({.descriptor = ends[0], .name = "the pipe"}, 10), "whole");
    ::close(ends[0]);
}

}  // namespace
}  // namespace platform
