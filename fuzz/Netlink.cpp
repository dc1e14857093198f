// SPDX-License-Identifier: Apache-2.0

// What the kernel says of the network, as it might never say it: what is said twice is no news.

#include <span>

#include "fuzz/Require.hpp"
#include "platform/SystemEvents/NetworkTable.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    const auto datagram = std::as_bytes(std::span(input, size));
    platform::NetworkTable table;
    table.take(datagram);
    const auto ways = table.ways();
    table.take(datagram);
    require(table.ways() == ways, "what is said twice is no news");
    static_cast<void>(platform::NetworkTable::endsAnswer(datagram));
    return 0;
}
