// SPDX-License-Identifier: Apache-2.0

#include "platform/WidgetKit/WidgetFamily.hpp"

#include <gtest/gtest.h>

#include <set>

namespace platform {
namespace {

TEST(WidgetFamily, IsDescribedByTheNameOfItsCase) {
    EXPECT_EQ(description(WidgetFamily::systemSmall), "systemSmall");
    EXPECT_EQ(description(WidgetFamily::systemMedium), "systemMedium");
    EXPECT_EQ(description(WidgetFamily::systemLarge), "systemLarge");
    EXPECT_EQ(description(WidgetFamily::systemExtraLarge), "systemExtraLarge");
    EXPECT_EQ(description(WidgetFamily::accessoryCircular), "accessoryCircular");
    EXPECT_EQ(description(WidgetFamily::accessoryRectangular), "accessoryRectangular");
    EXPECT_EQ(description(WidgetFamily::accessoryInline), "accessoryInline");
}

TEST(WidgetFamily, IsFoundByItsDescription) {
    std::set<std::string_view> descriptions;
    for (const auto family : allWidgetFamilies) {
        descriptions.insert(description(family));
        if (family != WidgetFamily::other) {
            EXPECT_EQ(widgetFamily(description(family)), family);
        }
    }
    EXPECT_EQ(descriptions.size(), allWidgetFamilies.size());
}

TEST(WidgetFamily, IsNotFoundByAnyOtherText) {
    for (const std::string_view text : {"", "small", "SystemSmall", "systemSmall ", "other", "unknown"})
        EXPECT_FALSE(widgetFamily(text)) << text;
}

}  // namespace
}  // namespace platform
