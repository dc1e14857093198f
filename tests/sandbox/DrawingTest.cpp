// SPDX-License-Identifier: Apache-2.0

#include "sandbox/Drawing.hpp"

#include <gtest/gtest.h>

#include <set>

#include "sandbox/Error.hpp"

namespace {

using sandbox::drawn;

std::size_t colourCount(const drawing::StraightBitmap& bitmap) {
    return std::set<drawing::Pixel>(bitmap.pixels.begin(), bitmap.pixels.end()).size();
}

TEST(Drawing, DrawsEveryMotifAndProduct) {
    for (const std::string motif : {"wave", "ring", "sun", "peak", "leaf", "kite", "bars", "tile"}) {
        const auto logo =
            drawn({.subject = "logo", .motif = motif, .text = "柚", .ground = 0x0B5563}, {64, 48});
        EXPECT_EQ(logo.pixels.size(), 64u * 48u);
        EXPECT_GT(colourCount(logo), 20u) << motif;
    }
    for (const std::string subject :
         {"mug", "lamp", "book", "plant", "chair", "headphones", "lantern", "vase", "landscape"}) {
        EXPECT_GT(colourCount(drawn({.subject = subject, .ground = 0xD97706}, {48, 64})), 20u) << subject;
    }
}

TEST(Drawing, DrawsNothingOfAnotherName) {
    EXPECT_THROW(drawn({.subject = "unicorn"}, {8, 8}), sandbox::Error);
    EXPECT_THROW(drawn({.subject = "logo", .motif = "mug"}, {8, 8}), sandbox::Error);
}

}  // namespace
