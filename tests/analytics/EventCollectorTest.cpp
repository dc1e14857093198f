// SPDX-License-Identifier: Apache-2.0

#include "analytics/EventCollector.hpp"

#include <gtest/gtest.h>

namespace analytics {
namespace {

using boost::json::object;

TEST(EventCollector, IsBuiltIn) {
    for (const auto& info : {std::optional<object>(), {object()}, {object{{"EVENT_COLLECTOR_URL", 7}}}}) {
        const auto url = eventCollectorURL(info);
        EXPECT_EQ(url.scheme(), "https");
        EXPECT_EQ(url.path(), "/v1/produce");
    }
}

TEST(EventCollector, IsWhereTheInfoDictionaryHasIt) {
    const auto url = eventCollectorURL(object{{"EVENT_COLLECTOR_URL", "http://127.0.0.1:8080/v1/produce"}});
    EXPECT_EQ(url.absoluteString(), "http://127.0.0.1:8080/v1/produce");
}

TEST(EventCollector, StopsTheProcessWhereItIsNoURL) {
    for (const char* address : {"", "no scheme", "http://h:port/"})
        EXPECT_EXIT(eventCollectorURL(object{{"EVENT_COLLECTOR_URL", address}}),
                    ::testing::KilledBySignal(SIGABRT),
                    "fatal error: the event collector's address is not a URL");
}

}  // namespace
}  // namespace analytics
