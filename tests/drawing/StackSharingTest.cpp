// SPDX-License-Identifier: Apache-2.0

#include "drawing/Layout/StackSharing.hpp"

#include <gmock/gmock.h>

#include <limits>
#include <string>

namespace {

using drawing::shareOut;
using drawing::StackChild;
using testing::ElementsAreArray;

constexpr double most = std::numeric_limits<double>::infinity();

struct Sharing {
    std::string what;
    double available;
    std::vector<StackChild> children;
    std::vector<double> lengths;
};

const std::vector<Sharing> sharings = {
    {"nobody", 100, {}, {}},
    {"one that takes everything", 100, {{0, most}}, {100}},
    {"one that is fixed", 100, {{30, 30}}, {30}},
    {"equal parts", 90, {{0, most}, {0, most}, {0, most}}, {30, 30, 30}},
    {"the fixed before the flexible", 100, {{0, most}, {30, 30}}, {70, 30}},
    {"what one cannot use goes to the next", 100, {{0, 20}, {0, most}, {0, 60}}, {20, 40, 40}},
    {"a minimum above the equal part", 90, {{60, most}, {0, most}}, {60, 30}},
    {"too little for all", 50, {{40, 40}, {40, 40}}, {40, 40}},
    {"the higher priority first", 100, {{0, 80, 0}, {0, 80, 1}}, {20, 80}},
    {"the higher priority leaves the lower its minimum", 100, {{30, 80, 0}, {0, most, 1}}, {30, 70}},
    {"a spacer takes what all others leave", 100, {{0, 60}, {10, most, -most}, {16, 16}}, {60, 24, 16}},
    {"a spacer keeps its minimum", 60, {{0, 60}, {10, most, -most}}, {50, 10}},
};

TEST(StackSharing, GivesEachChildItsLength) {
    for (const Sharing& sharing : sharings) {
        EXPECT_THAT(shareOut(sharing.available, sharing.children), ElementsAreArray(sharing.lengths))
            << sharing.what;
    }
}

}  // namespace
