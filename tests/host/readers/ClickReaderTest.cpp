// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Bar/ClickReader.hpp"

#include <gtest/gtest.h>

namespace host {
namespace {

using Buttons = std::vector<int>;

TEST(ClickReader, ReadsAnArrayWithoutAnEnd) {
    ClickReader reader;
    EXPECT_EQ(reader.take("[\n"), Buttons());
    EXPECT_EQ(reader.take("{\"name\":\"vela\",\"button\":1,\"modifiers\":[\"Shift\"],\"x\":5}\n"),
              Buttons{1});
    EXPECT_EQ(reader.take(",{\"button\":4}\n,{\"button\":5}\n"), (Buttons{4, 5}));
}

TEST(ClickReader, ReadsAClickThatComesByteByByte) {
    ClickReader reader;
    Buttons buttons;
    for (const char byte : std::string("[{\"name\":\"}\\\"{\",\"a\":{\"button\":9},\"button\":3}\n"))
        for (const int button : reader.take({&byte, 1})) buttons.push_back(button);
    EXPECT_EQ(buttons, Buttons{3});
}

TEST(ClickReader, ReadsANumberALine) {
    ClickReader reader;
    EXPECT_EQ(reader.take("1\n4\r\n12\n\n5"), (Buttons{1, 4}));
    EXPECT_EQ(reader.take("\n"), Buttons{5});
}

TEST(ClickReader, PassesOverWhatIsNoClick) {
    struct Row {
        const char* text;
    };
    for (const char* text : {"{}", "{\"button\":\"1\"}", "{\"button\":1.5}", "{\"button\"}", "{button:1}",
                             "rm\n", "{\"button\":99999999999999999999}", "1 2\n", "\"1\"\n"}) {
        ClickReader reader;
        EXPECT_EQ(reader.take(text), Buttons()) << text;
        EXPECT_EQ(reader.take("\n{\"button\":2}"), Buttons{2}) << "after " << text;
    }
}

TEST(ClickReader, KeepsNoMoreOfAClickThanOneMayHold) {
    ClickReader reader;
    EXPECT_EQ(reader.take("{\"name\":\"" + std::string(100'000, 'x') + "\",\"button\":1}"), Buttons());
    EXPECT_EQ(reader.take("{\"button\":1}"), Buttons{1});
}

}  // namespace
}  // namespace host
