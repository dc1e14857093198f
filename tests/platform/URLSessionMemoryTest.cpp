// SPDX-License-Identifier: Apache-2.0

#include <chrono>
#include <thread>

#include "tests/platform/URLSessionFixture.hpp"
#include "tests/support/AllocatedMemory.hpp"

namespace platform {
namespace {

using platform::testing::LoopbackServer;
using platform::testing::ReceivedRequest;
using platform::testing::URLSessionTest;

class URLSessionMemory : public URLSessionTest {};

TEST_F(URLSessionMemory, HoldsALongReplyOnce) {
    if (!tests::memoryIsCounted) GTEST_SKIP() << "a sanitizer counts for itself";
    // Announced, so that room is made once; sent in parts, of which the server holds one.
    constexpr std::size_t length = std::size_t{3} << 20;
    const LoopbackServer server([](const ReceivedRequest&, LoopbackServer::Peer& peer) {
        peer.send("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(length) + "\r\n\r\n");
        const std::string part(std::size_t{1} << 12, 'x');
        for (std::size_t sent = 0; sent < length; sent += part.size()) peer.send(part);
    });
    std::size_t received = 0;
    const auto get = [&] { received = fetch({.url = server.url()}).data.size(); };
    // What is made once is there after the first.
    get();
    const auto peak = tests::peakMemory(get);
    EXPECT_EQ(received, length);
    EXPECT_LT(peak, 2 * length);
}

}  // namespace
}  // namespace platform
