// SPDX-License-Identifier: Apache-2.0

#include "host/sign-in-window/DroppedFile.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace host {
namespace {

std::string droppedPath(const std::string& address) {
    const auto file = droppedFile(address, "Desk");
    EXPECT_EQ(file.path.empty(), !file.refusal.empty()) << address;
    return file.path;
}

std::string refusal(const std::string& address) {
    EXPECT_EQ(droppedPath(address), "") << address;
    return std::string(droppedFile(address, "Desk").refusal);
}

TEST(DroppedFile, IsTakenFromThisMachineByAnyOfItsNames) {
    for (const std::string address : {"file:///home/ada/pair.json", "file:/home/ada/pair.json",
                                      "FILE:///home/ada/pair.json", "file://localhost/home/ada/pair.json",
                                      "file://LocalHost/home/ada/pair.json", "file://desk/home/ada/pair.json",
                                      "file://DESK/home/ada/pair.json", "file:///home/ada/p%61ir%2Ejson"})
        EXPECT_EQ(droppedPath(address), "/home/ada/pair.json") << address;
    EXPECT_EQ(droppedPath("file:////other/pair"), "//other/pair");
    EXPECT_EQ(droppedPath("file:///a%20b/%C3%BC%26%FF"), "/a b/\xC3\xBC&\xFF");
}

TEST(DroppedFile, IsNotTakenFromAnotherMachine) {
    for (const std::string address :
         {"file://192.168.1.2/pair", "file://my_server/pair", "file://ada@desk/pair", "file://desk:80/pair",
          "file://de%73k/pair", "file://otherhost/home/ada/pair.json",
          "file://desk.example/home/ada/pair.json", "file://localhost.example/pair", "file://des/pair",
          "file://127.0.0.1/pair", "file://home/"})
        EXPECT_EQ(refusal(address), "That file is on another machine; copy it to this one first.") << address;
}

TEST(DroppedFile, HasAnAddressThatIsWhole) {
    for (const std::string address :
         {"file:///pair%", "file:///pair%2", "file:///pair%GG", "file:///%00pair", "file:///a%2Fpair",
          "file:///pair#part", "file:pair", "file:desk/home/ada/pair.json", "file:", "file://", "file://desk",
          "file:///pair\xFF%"})
        EXPECT_EQ(refusal(address), "The address of that file is damaged; choose the file instead.")
            << address;
}

TEST(DroppedFile, IsAFile) {
    for (const std::string address : {"", "/home/ada/pair.json", "sftp://desk/pair", "files:///pair", "pair"})
        EXPECT_EQ(refusal(address), "That is no file of this machine.") << address;
}

}  // namespace
}  // namespace host
