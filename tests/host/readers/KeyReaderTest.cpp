// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Terminal/KeyReader.hpp"

#include <gtest/gtest.h>

namespace host {
namespace {

using Keys = std::vector<Key>;

TEST(KeyReader, KnowsEachKeyInTheFormsThatTerminalsSend) {
    struct Row {
        const char* bytes;
        Key key;
    };
    const Row rows[] = {
        {"k", Key::up},          {"\x1b[A", Key::up},      {"\x1bOA", Key::up},        {"j", Key::down},
        {"\x1b[B", Key::down},   {"\x1b[5~", Key::pageUp}, {"\x1b[6~", Key::pageDown}, {"\x1b[H", Key::first},
        {"\x1b[1~", Key::first}, {"\x1b[F", Key::last},    {"\x1b[4~", Key::last},     {"\r", Key::open},
        {"\n", Key::open},       {"o", Key::open},         {"y", Key::copy},           {"c", Key::copy},
        {"r", Key::reload},      {"?", Key::help},         {"q", Key::quit},
    };
    for (const auto& row : rows) {
        KeyReader reader;
        EXPECT_EQ(reader.take(row.bytes), Keys{row.key}) << row.bytes + 1;
        EXPECT_FALSE(reader.isUndecided());
    }
}

TEST(KeyReader, WaitsForTheRestOfASequence) {
    KeyReader reader;
    EXPECT_EQ(reader.take("\x1b"), Keys());
    EXPECT_TRUE(reader.isUndecided());
    EXPECT_EQ(reader.take("["), Keys());
    EXPECT_FALSE(reader.isUndecided());
    EXPECT_EQ(reader.take("Bj"), (Keys{Key::down, Key::down}));
}

TEST(KeyReader, TakesALoneEscapeForTheKey) {
    KeyReader reader;
    reader.take("\x1b");
    EXPECT_EQ(reader.decide(), Keys{Key::quit});
    EXPECT_EQ(reader.decide(), Keys());
    EXPECT_EQ(reader.take("\x1b\x1b"), Keys{Key::quit});
}

TEST(KeyReader, PassesOverWhatIsNoKeyOfOurs) {
    for (const char* bytes :
         {"\x1b[1;5A", "\x1b[200~", "\x1b[<0;3;3M", "\x1bq", "\x1bOq", "\x1b[?1;2c", "ü", "x"}) {
        KeyReader reader;
        EXPECT_EQ(reader.take(bytes), Keys()) << bytes + 1;
        EXPECT_EQ(reader.take("j"), Keys{Key::down}) << "after " << bytes + 1;
    }
}

}  // namespace
}  // namespace host
