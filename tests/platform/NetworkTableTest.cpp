// SPDX-License-Identifier: Apache-2.0

#include "platform/SystemEvents/NetworkTable.hpp"

#include <gmock/gmock.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>

#include <cstring>

namespace platform::testing {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

/// A value's bytes as they lie in memory, filled up as the kernel does.
template <typename Value>
std::string bytes(const Value& value) {
    std::string text(reinterpret_cast<const char*>(&value), sizeof value);
    text.resize(NLMSG_ALIGN(text.size()));
    return text;
}

std::string message(std::uint16_t type, const std::string& body) {
    nlmsghdr head = {};
    head.nlmsg_len = static_cast<std::uint32_t>(NLMSG_LENGTH(body.size()));
    head.nlmsg_type = type;
    return bytes(head) + body;
}

std::string attribute(unsigned short type, const std::string& value) {
    const rtattr head = {.rta_len = static_cast<unsigned short>(RTA_LENGTH(value.size())), .rta_type = type};
    return bytes(head) + value;
}

std::string number(std::uint32_t value) {
    return bytes(value);
}

constexpr unsigned carrying = IFF_UP | IFF_RUNNING;

std::string link(int index, unsigned flags, std::uint16_t type = RTM_NEWLINK) {
    ifinfomsg body = {};
    body.ifi_index = index;
    body.ifi_flags = flags;
    return message(type, bytes(body) + attribute(IFLA_IFNAME, "eth0"));
}

std::string address(unsigned index, unsigned char scope, const std::string& value, std::uint32_t flags = 0,
                    std::uint16_t type = RTM_NEWADDR) {
    ifaddrmsg body = {};
    body.ifa_family = AF_INET;
    body.ifa_scope = scope;
    body.ifa_index = index;
    return message(type, bytes(body) + attribute(IFA_ADDRESS, value) + attribute(IFA_FLAGS, number(flags)));
}

std::string route(unsigned index, unsigned char destinationLength, unsigned char kind,
                  const std::string& gateway = "\x0a\x09\x00\x02", std::uint16_t type = RTM_NEWROUTE) {
    rtmsg body = {};
    body.rtm_family = AF_INET;
    body.rtm_dst_len = destinationLength;
    body.rtm_type = kind;
    return message(type, bytes(body) + attribute(RTA_OIF, number(index)) + attribute(RTA_GATEWAY, gateway));
}

class NetworkTableTest : public ::testing::Test {
  protected:
    void take(const std::string& datagram) { table_.take(std::as_bytes(std::span(datagram))); }
    /// A link with an address and a default route.
    void connect() {
        take(link(2, carrying) + address(2, RT_SCOPE_UNIVERSE, "abcd") + route(2, 0, RTN_UNICAST));
    }
    NetworkTable table_;
};

TEST_F(NetworkTableTest, ALinkThatCarriesWithAnAddressAndADefaultRouteAreTwoWays) {
    connect();
    EXPECT_THAT(table_.ways(), SizeIs(2));
}

TEST_F(NetworkTableTest, ARouteByAnotherGatewayIsAnotherWay) {
    connect();
    take(route(2, 0, RTN_UNICAST, "abcd"));
    EXPECT_THAT(table_.ways(), SizeIs(3));
}

TEST_F(NetworkTableTest, WhatIsSaidAgainIsNothingNew) {
    connect();
    const auto ways = table_.ways();
    connect();
    EXPECT_EQ(table_.ways(), ways);
}

struct NoWay {
    const char* name;
    std::string datagram;
};

TEST_F(NetworkTableTest, WhatLeadsNowhereIsNoWay) {
    const std::string usable = address(2, RT_SCOPE_UNIVERSE, "abcd");
    const std::vector<NoWay> cases = {
        {"a link without an address", link(2, carrying)},
        {"an address without a link", usable},
        {"a link without a carrier", link(2, IFF_UP) + usable},
        {"a link that is shut", link(2, IFF_RUNNING) + usable},
        {"loopback", link(2, carrying | IFF_LOOPBACK) + usable},
        {"an address of the link alone", link(2, carrying) + address(2, RT_SCOPE_LINK, "abcd")},
        {"an address that is being tried",
         link(2, carrying) + address(2, RT_SCOPE_UNIVERSE, "abcd", IFA_F_TENTATIVE)},
        {"a route over a link that carries nothing", route(2, 0, RTN_UNICAST)},
        {"a link that went", link(2, carrying) + usable + link(2, carrying, RTM_DELLINK)},
        {"an address that went",
         link(2, carrying) + usable + address(2, RT_SCOPE_UNIVERSE, "abcd", 0, RTM_DELADDR)},
    };
    for (const auto& one : cases) {
        NetworkTable table;
        table.take(std::as_bytes(std::span(one.datagram)));
        EXPECT_THAT(table.ways(), IsEmpty()) << one.name;
    }
}

TEST_F(NetworkTableTest, OnlyADefaultRouteThatLeadsOnIsAWay) {
    take(link(2, carrying) + address(2, RT_SCOPE_UNIVERSE, "abcd"));
    take(route(2, 24, RTN_UNICAST) + route(2, 0, RTN_UNREACHABLE) + route(2, 0, RTN_LOCAL));
    EXPECT_THAT(table_.ways(), SizeIs(1));
}

TEST_F(NetworkTableTest, ARouteThatWentIsNoWay) {
    connect();
    take(route(2, 0, RTN_UNICAST, "\x0a\x09\x00\x02", RTM_DELROUTE));
    EXPECT_THAT(table_.ways(), SizeIs(1));
}

TEST_F(NetworkTableTest, TheRoutesOfALinkThatWasShutAreGoneWithoutAWord) {
    connect();
    take(link(2, 0));
    take(link(2, carrying));
    EXPECT_THAT(table_.ways(), SizeIs(1));
    take(route(2, 0, RTN_UNICAST));
    EXPECT_THAT(table_.ways(), SizeIs(2));
}

TEST_F(NetworkTableTest, WhatABridgeSaysOfItsPortsIsNoLink) {
    ifinfomsg body = {};
    body.ifi_family = AF_BRIDGE;
    body.ifi_index = 2;
    body.ifi_flags = carrying;
    take(message(RTM_NEWLINK, bytes(body)) + address(2, RT_SCOPE_UNIVERSE, "abcd"));
    EXPECT_THAT(table_.ways(), IsEmpty());
}

TEST_F(NetworkTableTest, TakesWhatIsWholeOfAMessageThatBreaksOff) {
    const std::string whole =
        link(2, carrying) + address(2, RT_SCOPE_UNIVERSE, "abcd") + route(2, 0, RTN_UNICAST);
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        NetworkTable table;
        table.take(std::as_bytes(std::span(whole)).first(size));
        EXPECT_LE(table.ways().size(), 2U);
    }
}

TEST_F(NetworkTableTest, LengthsThatLieEndTheReading) {
    for (const std::uint32_t lie : {0U, 1U, 15U, 0xffffffffU, 0x7fffffffU, 4096U}) {
        std::string datagram = link(2, carrying);
        std::memcpy(datagram.data(), &lie, sizeof lie);
        take(datagram + address(2, RT_SCOPE_UNIVERSE, "abcd"));
        EXPECT_THAT(table_.ways(), IsEmpty()) << lie;
    }
    for (const unsigned short lie : {0, 3, 0xffff}) {
        std::string datagram = link(2, carrying) + address(2, RT_SCOPE_UNIVERSE, "abcd");
        std::memcpy(datagram.data() + link(2, carrying).size() + NLMSG_HDRLEN + sizeof(ifaddrmsg), &lie,
                    sizeof lie);
        NetworkTable table;
        table.take(std::as_bytes(std::span(datagram)));
        EXPECT_THAT(table.ways(), SizeIs(1)) << "without its attributes an address is one all the same";
    }
}

TEST(NetworkTable, KnowsTheEndOfAnAnswer) {
    const auto ends = [](const std::string& datagram) {
        return NetworkTable::endsAnswer(std::as_bytes(std::span(datagram)));
    };
    EXPECT_TRUE(ends(message(NLMSG_DONE, bytes(int{0}))));
    EXPECT_TRUE(ends(link(2, carrying) + message(NLMSG_DONE, bytes(int{0}))));
    EXPECT_TRUE(ends(message(NLMSG_ERROR, bytes(nlmsgerr{}))));
    EXPECT_FALSE(ends(link(2, carrying)));
    EXPECT_FALSE(ends(""));
}

}  // namespace
}  // namespace platform::testing
