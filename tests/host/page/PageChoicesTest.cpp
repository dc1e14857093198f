// SPDX-License-Identifier: Apache-2.0

#include "host/page/PageChoices.hpp"

#include <gtest/gtest.h>

namespace host {
namespace {

TEST(PageChoices, LeaveToTheSystemWhatTheAddressDoesNotSay) {
    const auto choices = PageChoices::fromQuery("");
    EXPECT_EQ(choices.scheme, std::nullopt);
    EXPECT_EQ(choices.textSize, std::nullopt);
    EXPECT_EQ(choices.appearance().textSize, drawing::TextSize::large);
    EXPECT_EQ(choices.query(), "");
}

TEST(PageChoices, AreSaidAgainAsTheyWereRead) {
    for (const auto* query : {"?scheme=dark", "?textSize=xSmall", "?scheme=light&textSize=accessibility5",
                              "?scheme=dark&textSize=large&contrast=increased"})
        EXPECT_EQ(PageChoices::fromQuery(query + 1).query(), query);
}

TEST(PageChoices, PassOverWhatTheyDoNotKnow) {
    for (const auto* query :
         {"scheme=system&textSize=system", "scheme=<script>", "textSize", "=", "&&&", "scheme=dark%00",
          "Scheme=dark", "contrast=", "other=dark&scheme=", "textSize=large=large"})
        EXPECT_EQ(PageChoices::fromQuery(query).query(), "") << query;
    EXPECT_EQ(PageChoices::fromQuery("x=1&scheme=dark&&y").query(), "?scheme=dark");
}

}  // namespace
}  // namespace host
