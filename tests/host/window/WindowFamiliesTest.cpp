// SPDX-License-Identifier: Apache-2.0

#include "host/window/WindowFamilies.hpp"

#include <gtest/gtest.h>

namespace host {
namespace {

using platform::WidgetFamily;

TEST(WindowFamilies, TakeTheFamilyWhoseWindowIsNearest) {
    struct Row {
        drawing::Size size;
        WidgetFamily family;
    };
    const std::vector<Row> rows = {
        {{338, 158}, WidgetFamily::systemMedium},     {{250, 158}, WidgetFamily::systemMedium},
        {{240, 158}, WidgetFamily::systemSmall},      {{158, 158}, WidgetFamily::systemSmall},
        {{338, 260}, WidgetFamily::systemLarge},      {{158, 354}, WidgetFamily::systemLarge},
        {{338, 60}, WidgetFamily::accessoryInline},   {{180, 90}, WidgetFamily::accessoryRectangular},
        {{0, 0}, WidgetFamily::accessoryRectangular}, {{4000, 4000}, WidgetFamily::systemLarge},
    };
    for (const auto& row : rows)
        EXPECT_EQ(familyNearest(row.size).family, row.family) << row.size.width << "x" << row.size.height;
}

TEST(WindowFamilies, AreEachNearestToThemselves) {
    for (const auto& row : windowFamilies) {
        EXPECT_EQ(familyNearest(row.windowSize()).family, row.family) << row.title;
        EXPECT_EQ(&windowFamily(row.family), &row);
    }
}

TEST(WindowFamilies, OfferMediumForWhatIsNotOffered) {
    for (const auto family :
         {WidgetFamily::systemExtraLarge, WidgetFamily::accessoryCircular, WidgetFamily::other})
        EXPECT_EQ(windowFamily(family).family, WidgetFamily::systemMedium);
}

TEST(WindowFamilies, AreHeldByEdgesAndRoundCorners) {
    const drawing::Size window = {338, 158};
    struct Row {
        drawing::Point point;
        WindowEdges edges;
    };
    const std::vector<Row> rows = {
        {{2, 80}, {.left = true}},
        {{336, 80}, {.right = true}},
        {{170, 1}, {.top = true}},
        {{170, 157}, {.bottom = true}},
        {{8, 8}, {.left = true, .top = true}},
        {{330, 150}, {.right = true, .bottom = true}},
        {{330, 8}, {.right = true, .top = true}},
        {{8, 150}, {.left = true, .bottom = true}},
        {{170, 80}, {}},
        {{20, 20}, {}},
        {{7, 80}, {}},
        {{-1, 80}, {}},
        {{170, 200}, {}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(edgesAt(row.point, window), row.edges) << row.point.x << ", " << row.point.y;
}

TEST(WindowFamilies, KeepTheEdgesThatAreNotHeldWhereTheyAre) {
    const drawing::Rect window = {{100, 200}, {338, 354}};
    const drawing::Size small = {158, 158};
    EXPECT_EQ(heldOrigin(window, {.right = true, .bottom = true}, small), (drawing::Point{100, 200}));
    EXPECT_EQ(heldOrigin(window, {.left = true}, small), (drawing::Point{280, 200}));
    EXPECT_EQ(heldOrigin(window, {.left = true, .top = true}, small), (drawing::Point{280, 396}));
}

TEST(WindowFamilies, GrowTowardsThePointerOfWhoeverDrags) {
    const drawing::Size window = {158, 158};
    EXPECT_EQ(draggedSize(window, {.right = true}, {100, 50}), (drawing::Size{258, 158}));
    EXPECT_EQ(draggedSize(window, {.left = true, .top = true}, {-100, -50}), (drawing::Size{258, 208}));
    EXPECT_EQ(draggedSize(window, {.bottom = true}, {0, -500}), (drawing::Size{158, 0}));
}

}  // namespace
}  // namespace host
