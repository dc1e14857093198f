// SPDX-License-Identifier: Apache-2.0

#include "presentation/DeepLink.hpp"

#include <gtest/gtest.h>

#include <utility>

namespace presentation {
namespace {

TEST(DeepLink, HasAPageForEachOfItsForms) {
    const std::pair<platform::URL, const char*> rows[] = {
        {DeepLink::delivery("d 1"), "/delivery/d%201?referral=ios_widget"},
        {DeepLink::order("42"), "/order/42"},
        {DeepLink::homeOrders(), "/orders"},
        {DeepLink::addDelivery(), "/add_delivery"},
        {DeepLink::fromText("velaapp://order/1/2?a=b#c"), "/order/1/2?a=b#c"},
    };
    for (const auto& [link, page] : rows) EXPECT_EQ(DeepLink::pageFor(link), page);
}

TEST(DeepLink, HasNoPageForAnyOtherLink) {
    for (const char* text :
         {"velaapp://elsewhere/1", "velaapp://orders", "velaapp:order/1", "https://order/1", "file:///order"})
        EXPECT_EQ(DeepLink::pageFor(DeepLink::fromText(text)), std::nullopt) << text;
}

}  // namespace
}  // namespace presentation
