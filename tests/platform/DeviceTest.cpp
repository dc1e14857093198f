// SPDX-License-Identifier: Apache-2.0

#include "platform/Device/Device.hpp"

#include <gtest/gtest.h>
#include <sys/utsname.h>

#include "tests/support/TemporaryFolder.hpp"

namespace platform {
namespace {

using testing::TemporaryFolder;

constexpr const char* productName = "sys/class/dmi/id/product_name";
constexpr const char* deviceTreeModel = "proc/device-tree/model";

std::string machineType() {
    utsname kernel = {};
    uname(&kernel);
    return kernel.machine;
}

std::string kernelRelease() {
    utsname kernel = {};
    uname(&kernel);
    return kernel.release;
}

TEST(DeviceModel, IsTheProductNameOfTheFirmware) {
    const TemporaryFolder root;
    root.write(productName, "  Laptop 14 Gen 3 \n");
    root.write(deviceTreeModel, "Board");
    EXPECT_EQ(Device::describedUnder(root.path()).model(), "Laptop 14 Gen 3");
}

TEST(DeviceModel, IsNotAPlaceholderOfTheFirmware) {
    for (const std::string placeholder :
         {"To Be Filled By O.E.M.\n", "to be filled by o.e.m.", "System Product Name\n", "Default string",
          "Not Applicable", "None", "  \n", ""}) {
        const TemporaryFolder root;
        root.write(productName, placeholder);
        EXPECT_EQ(Device::describedUnder(root.path()).model(), machineType()) << placeholder;
        root.write(deviceTreeModel, std::string("Single Board 4\0", 15));
        EXPECT_EQ(Device::describedUnder(root.path()).model(), "Single Board 4") << placeholder;
    }
}

/// What firmware has been seen to say, or might.
const std::string unreadableTexts[] = {
    "NUC\xAE Kit",
    "NUC\xAE Kit\n",
    "\xFF\xFE",
    "cut \xE2\x82",
    "surrogate \xED\xA0\x80",
    "overlong \xC0\xAF",
    std::string("Board\0Revision", 14),
    std::string("\0\0\0", 3),
    "two\nlines",
    "bell \a",
    "escape \x1B[31m",
    "delete \x7F",
    " \t\r\n",
    "",
};

TEST(DeviceModel, PassesOverWhatCannotBeRead) {
    for (const auto& text : unreadableTexts) {
        const TemporaryFolder root;
        root.write(productName, text);
        EXPECT_EQ(Device::describedUnder(root.path()).model(), machineType()) << text;
        root.write(deviceTreeModel, "Board");
        EXPECT_EQ(Device::describedUnder(root.path()).model(), "Board") << text;
        root.write(deviceTreeModel, text);
        EXPECT_EQ(Device::describedUnder(root.path()).model(), machineType()) << text;
    }
}

TEST(DeviceModel, KeepsLettersOfEveryScript) {
    for (const std::string name : {"NUC® Kit", "ノート 14", "Ноутбук"}) {
        const TemporaryFolder root;
        root.write(productName, name + "\n");
        EXPECT_EQ(Device::describedUnder(root.path()).model(), name);
    }
}

TEST(DeviceModel, IsTheMachineTypeWhereNothingElseIsKnown) {
    const TemporaryFolder root;
    EXPECT_EQ(Device::describedUnder(root.path()).model(), machineType());
    EXPECT_EQ(Device::describedUnder("/nonexistent").model(), machineType());
    root.write(std::string(productName) + "/file", "");
    EXPECT_EQ(Device::describedUnder(root.path()).model(), machineType());
}

TEST(SystemVersion, IsTheVersionOfTheRelease) {
    struct Row {
        std::string text;
        std::string version;
    };
    for (const auto& [text, version] : {
             Row{"NAME=\"Debian\"\nVERSION_ID=\"12\"\n", "12"},
             Row{"VERSION_ID=12.5", "12.5"},
             Row{"# VERSION_ID=1\nVERSION_ID='39'\n", "39"},
             Row{"  VERSION_ID=\"a\\\"b\"\r\n", "a\"b"},
             Row{R"(VERSION_ID="\\\$\`")", R"(\$`)"},
             Row{R"(VERSION_ID="a\b")", R"(a\b)"},
             Row{R"(VERSION_ID='a\$b')", R"(a\$b)"},
             Row{R"(VERSION_ID=12\$)", "12$"},
             Row{"VERSION_ID=\nVERSION_ID=\"\xAE\"\nVERSION_ID=\"12\"\n", "12"},
             Row{"VERSION_ID=\"12 é\"", "12 é"},
         }) {
        const TemporaryFolder root;
        root.write("etc/os-release", text);
        EXPECT_EQ(Device::describedUnder(root.path()).systemVersion(), version) << text;
    }
}

TEST(SystemVersion, IsLookedForInBothPlaces) {
    const TemporaryFolder root;
    root.write("usr/lib/os-release", "VERSION_ID=13\n");
    EXPECT_EQ(Device::describedUnder(root.path()).systemVersion(), "13");
    root.write("etc/os-release", "VERSION_ID=14\n");
    EXPECT_EQ(Device::describedUnder(root.path()).systemVersion(), "14");
}

TEST(SystemVersion, PassesOverWhatCannotBeRead) {
    for (const auto& text : unreadableTexts) {
        const TemporaryFolder root;
        root.write("etc/os-release", "NAME=\"\xAE\"\nVERSION_ID=\"" + text + "\"\n");
        EXPECT_EQ(Device::describedUnder(root.path()).systemVersion(), kernelRelease()) << text;
        root.write("usr/lib/os-release", "VERSION_ID=13\n");
        EXPECT_EQ(Device::describedUnder(root.path()).systemVersion(), "13") << text;
    }
}

TEST(SystemVersion, IsTheKernelsWhereNothingElseIsKnown) {
    for (const std::string text : {"", "VERSION_ID=\n", "VERSION_ID=\"\"", "VERSION_ID=' '",
                                   "VERSION_ID='1\t2'", "XVERSION_ID=1", "\xff\xfe"}) {
        const TemporaryFolder root;
        root.write("etc/os-release", text);
        EXPECT_EQ(Device::describedUnder(root.path()).systemVersion(), kernelRelease()) << text;
    }
}

TEST(Device, IsReadOnceForThisMachine) {
    EXPECT_EQ(&Device::current(), &Device::current());
    EXPECT_FALSE(Device::current().model().empty());
    EXPECT_FALSE(Device::current().systemVersion().empty());
}

}  // namespace
}  // namespace platform
