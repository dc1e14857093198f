// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/host/Person.hpp"

namespace host {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class WindowCommand : public Person {
  protected:
    /// The command line on its own, in a folder where nothing else is installed.
    ProgramResult runAlone(std::vector<std::string> arguments) const {
        const auto alone = folder.path() / "alone/vela-widget";
        fs::create_directories(alone.parent_path());
        fs::copy_file(platform::testing::programFolder() / "vela-widget", alone,
                      fs::copy_options::overwrite_existing);
        return program(alone.string(), std::move(arguments)).run();
    }
};

TEST_F(WindowCommand, NamesThePackageThatHasTheWindow) {
    const auto result = runAlone({"window"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, HasSubstr("vela-widget-gtk"));
    EXPECT_EQ(result.output, "");
}

TEST_F(WindowCommand, OffersTheFamiliesThatTheWidgetDeclares) {
    const auto help = widget({"window", "--help"});
    EXPECT_EQ(help.status, 0);
    for (const auto* family :
         {"systemMedium", "systemSmall", "systemLarge", "accessoryRectangular", "accessoryInline", "Example"})
        EXPECT_THAT(help.output, HasSubstr(family));
    EXPECT_EQ(widget({"window", "--family", "accessoryCircular"}).status, 2);
}

}  // namespace
}  // namespace host
