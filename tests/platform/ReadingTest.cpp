// SPDX-License-Identifier: Apache-2.0

#include "platform/Files/Reading.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>

#include "platform/Files/Descriptor.hpp"
#include "platform/Files/Writing.hpp"

namespace platform {
namespace {

/// A pipe that holds `text`, of which nobody will write more.
Descriptor holding(const std::string& text) {
    std::array<int, 2> ends = {};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const Descriptor in(ends[1]);
    EXPECT_TRUE(writeAll(in, text));
    return Descriptor(ends[0]);
}

TEST(ReadUpTo, GivesAllOfWhatIsWithinTheLimit) {
    EXPECT_EQ(readUpTo(holding(""), 4), "");
    EXPECT_EQ(readUpTo(holding("abcd"), 4), "abcd");
}

TEST(ReadUpTo, GivesMoreThanTheLimitWhereThereIsMore) {
    EXPECT_GT(readUpTo(holding("abcde"), 4)->size(), 4U);
}

TEST(ReadUpTo, ReadsAFileThatDoesNotKnowItsSize) {
    const Descriptor file(::open("/proc/self/status", O_RDONLY | O_CLOEXEC));
    EXPECT_TRUE(readUpTo(file, 1 << 20)->starts_with("Name:"));
}

TEST(ReadUpTo, LeavesAnEndlessFileUnread) {
    const Descriptor file(::open("/dev/zero", O_RDONLY | O_CLOEXEC));
    EXPECT_LT(readUpTo(file, 1 << 20)->size(), std::size_t{2} << 20);
}

TEST(ReadUpTo, SaysWhyItCannotRead) {
    const Descriptor folder(::open("/", O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(readUpTo(folder, 4), std::nullopt);
    EXPECT_EQ(errno, EISDIR);
}

}  // namespace
}  // namespace platform
