// SPDX-License-Identifier: Apache-2.0

#include "platform/JSON/BoundedMemory.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/JSON/Coding.hpp"

namespace platform {
namespace {

namespace json = boost::json;

constexpr std::size_t plenty = std::size_t{1} << 20;

/// The least memory with which `work` succeeds.
template <typename Work>
std::size_t least(Work work) {
    std::size_t tooLittle = 0;
    std::size_t enough = plenty;
    while (enough - tooLittle > 1) {
        const std::size_t middle = (tooLittle + enough) / 2;
        BoundedMemory memory(middle);
        try {
            work(memory);
            enough = middle;
        } catch (const MemoryLimitExceeded&) {
            tooLittle = middle;
        }
    }
    return enough;
}

TEST(BoundedMemory, GivesOutNoMoreThanItsLimit) {
    BoundedMemory memory(1024);
    void* piece = memory.allocate(512);
    EXPECT_THROW(memory.allocate(512), MemoryLimitExceeded);
    EXPECT_THROW(memory.allocate(SIZE_MAX), MemoryLimitExceeded);
    memory.deallocate(piece, 512);
    memory.deallocate(memory.allocate(900), 900);
}

TEST(BoundedMemory, CountsWhatIsAllocatedByOtherMeans) {
    BoundedMemory memory(1024);
    memory.charge(512);
    memory.requireRoom(400);
    memory.requireRoom(400);
    EXPECT_THROW(memory.requireRoom(512), MemoryLimitExceeded);
    EXPECT_THROW(memory.charge(512), MemoryLimitExceeded);
    EXPECT_THROW(memory.charge(SIZE_MAX), MemoryLimitExceeded);
    EXPECT_THROW(memory.allocate(512), MemoryLimitExceeded);
}

TEST(BoundedMemory, CountsTheAllocatorsOwnPart) {
    for (const std::size_t bytes : {1u, 24u, 25u, 40u, 1000u, 200'000u}) {
        const std::size_t counted = least([&](BoundedMemory& memory) { memory.charge(bytes); });
        EXPECT_GE(counted, std::max<std::size_t>(32, bytes + sizeof(void*))) << bytes;
        EXPECT_LE(counted, bytes + 32 + (bytes > 100'000 ? 4096 : 0)) << bytes;
    }
}

TEST(BoundedMemory, HoldsATreeOrNoneOfIt) {
    const std::string text =
        R"({"a":[1,2.5,true,null,"a text that does not stand in its value"],"b":{"c":{},"c":[[]]},"d":)" +
        std::string(100, '7') + R"(.5,"e":"\u00e9 and what makes it longer than a value"})";
    const auto expected = JSONSerialization::JSONObjectWithData(text);
    const std::size_t needed =
        least([&](BoundedMemory& memory) { JSONSerialization::JSONObjectWithData(text, &memory); });
    EXPECT_GT(needed, text.size());
    for (std::size_t limit = 0; limit < needed; limit += 8) {
        BoundedMemory memory(limit);
        EXPECT_THROW(JSONSerialization::JSONObjectWithData(text, &memory), MemoryLimitExceeded)
            << limit << " of " << needed;
        if (limit >= 64) memory.requireRoom(limit - 32);  // nothing of the attempt is left
    }
    BoundedMemory enough(needed);
    EXPECT_EQ(JSONSerialization::JSONObjectWithData(text, &enough), expected);
}

struct Record {
    std::string text;
    std::vector<std::string> list;
    std::optional<URL> url = std::nullopt;

    static constexpr auto fields() {
        return std::tuple(field("text", &Record::text), field("list", &Record::list),
                          field("url", &Record::url));
    }
    bool operator==(const Record&) const = default;
};

std::size_t neededFor(const char* text) {
    const auto value = JSONSerialization::JSONObjectWithData(text);
    return least([&](BoundedMemory& memory) { JSONDecoder().decodeValue<Record>(value, &memory); });
}

TEST(BoundedMemory, IsChargedWithWhatARecordHoldsOnTheHeap) {
    const std::size_t nothing = neededFor(R"({"text":"","list":[]})");
    EXPECT_EQ(nothing, 1u);
    EXPECT_GE(neededFor(R"({"text":"0123456789012345678901234567890123456789","list":[]})"), 48u);
    EXPECT_GE(neededFor(R"({"text":"","list":["","",""]})"), 3 * sizeof(std::string));
    EXPECT_GE(neededFor(R"({"text":"","list":["0123456789012345678901234567890123456789"]})"),
              sizeof(std::string) + 48u);
    EXPECT_GE(neededFor(R"({"text":"","list":[],"url":"x:0123456789012345678901234567890123456789"})"), 48u);
}

TEST(BoundedMemory, MustHaveRoomForWhatAnAddressTakesWhileItIsEncoded) {
    const std::string blanks(1000, ' ');
    const std::string text = R"({"text":"","list":[],"url":"x:)" + blanks + "\"}";
    EXPECT_GE(neededFor(text.c_str()), 7 * blanks.size());
}

TEST(BoundedMemory, ChangesNothingOfARecordThatFits) {
    const auto value = JSONSerialization::JSONObjectWithData(
        R"({"text":"0123456789012345678901234567890123456789","list":["a",""],"url":"http://h/ |"})");
    BoundedMemory memory(plenty);
    EXPECT_EQ(JSONDecoder().decodeValue<Record>(value, &memory), JSONDecoder().decodeValue<Record>(value));
}

}  // namespace
}  // namespace platform
