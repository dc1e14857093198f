// SPDX-License-Identifier: Apache-2.0

#include "platform/SystemEvents/NetworkTable.hpp"

#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <optional>

namespace platform {
namespace {

using Bytes = std::span<const std::byte>;

/// The head of `bytes`, which is taken off them with what fills it up to the next boundary.
template <typename Head>
std::optional<Head> takeHead(Bytes& bytes, std::size_t alignment) {
    Head head;
    if (bytes.size() < sizeof head) return std::nullopt;
    std::memcpy(&head, bytes.data(), sizeof head);
    const std::size_t aligned = (sizeof head + alignment - 1) / alignment * alignment;
    bytes = bytes.subspan(std::min(bytes.size(), aligned));
    return head;
}

struct KernelMessage {
    nlmsghdr head;
    Bytes body;
};

/// The next message of a datagram; nothing where there is none that is whole.
std::optional<KernelMessage> takeMessageOff(Bytes& datagram) {
    Bytes rest = datagram;
    const auto head = takeHead<nlmsghdr>(rest, NLMSG_ALIGNTO);
    if (!head || head->nlmsg_len < sizeof(nlmsghdr) || head->nlmsg_len > datagram.size()) return std::nullopt;
    const Bytes message = datagram.first(head->nlmsg_len);
    datagram = datagram.subspan(std::min<std::size_t>(datagram.size(), NLMSG_ALIGN(head->nlmsg_len)));
    return KernelMessage{.head = *head,
                         .body = message.subspan(std::min<std::size_t>(message.size(), NLMSG_HDRLEN))};
}

/// The attributes that follow a body's own head, by their types.
std::map<unsigned short, std::string> attributesIn(Bytes bytes) {
    std::map<unsigned short, std::string> attributes;
    for (;;) {
        Bytes rest = bytes;
        const auto head = takeHead<rtattr>(rest, RTA_ALIGNTO);
        if (!head || head->rta_len < RTA_LENGTH(0) || head->rta_len > bytes.size()) return attributes;
        const Bytes value = bytes.first(head->rta_len).subspan(RTA_LENGTH(0));
        attributes[head->rta_type & NLA_TYPE_MASK] =
            std::string(reinterpret_cast<const char*>(value.data()), value.size());
        bytes = bytes.subspan(std::min<std::size_t>(bytes.size(), RTA_ALIGN(head->rta_len)));
    }
}

std::uint32_t numberIn(const std::map<unsigned short, std::string>& attributes, unsigned short type,
                       std::uint32_t otherwise) {
    const auto found = attributes.find(type);
    if (found == attributes.end() || found->second.size() != sizeof otherwise) return otherwise;
    std::memcpy(&otherwise, found->second.data(), sizeof otherwise);
    return otherwise;
}

std::string textIn(const std::map<unsigned short, std::string>& attributes, unsigned short type) {
    const auto found = attributes.find(type);
    return found == attributes.end() ? "" : found->second;
}

template <typename Value>
void keep(std::set<Value>& values, const Value& value, bool isThere) {
    if (isThere)
        values.insert(value);
    else
        values.erase(value);
}

}  // namespace

void NetworkTable::take(Bytes datagram) {
    while (const auto message = takeMessageOff(datagram))
        takeMessage(message->head.nlmsg_type, message->body);
}

bool NetworkTable::endsAnswer(Bytes datagram) {
    while (const auto message = takeMessageOff(datagram))
        if (message->head.nlmsg_type == NLMSG_DONE || message->head.nlmsg_type == NLMSG_ERROR) return true;
    return false;
}

void NetworkTable::takeMessage(std::uint16_t type, Bytes body) {
    switch (type) {
        case RTM_NEWLINK:
        case RTM_DELLINK: return takeLink(type == RTM_NEWLINK, body);
        case RTM_NEWADDR:
        case RTM_DELADDR: return takeAddress(type == RTM_NEWADDR, body);
        case RTM_NEWROUTE:
        case RTM_DELROUTE: return takeRoute(type == RTM_NEWROUTE, body);
        default: return;
    }
}

void NetworkTable::takeLink(bool isThere, Bytes body) {
    const auto link = takeHead<ifinfomsg>(body, NLMSG_ALIGNTO);
    // A bridge speaks of its ports under its own family.
    if (!link || link->ifi_family != AF_UNSPEC || (link->ifi_flags & IFF_LOOPBACK) != 0) return;
    const auto index = static_cast<std::uint32_t>(link->ifi_index);
    const bool isUp = isThere && (link->ifi_flags & IFF_UP) != 0;
    keep(carrying_, index, isUp && (link->ifi_flags & IFF_RUNNING) != 0);
    // The kernel does not say that the routes of a link that was shut are gone.
    if (!isUp) std::erase_if(defaultRoutes_, [index](const Route& route) { return route.link == index; });
}

void NetworkTable::takeAddress(bool isThere, Bytes body) {
    const auto address = takeHead<ifaddrmsg>(body, NLMSG_ALIGNTO);
    if (!address || address->ifa_scope >= RT_SCOPE_LINK) return;
    const auto attributes = attributesIn(body);
    // Until nobody else is known to have it, an address is not used.
    const bool isUsable = (numberIn(attributes, IFA_FLAGS, address->ifa_flags) & IFA_F_TENTATIVE) == 0;
    keep(addresses_, {.link = address->ifa_index, .bytes = textIn(attributes, IFA_ADDRESS)},
         isThere && isUsable);
}

void NetworkTable::takeRoute(bool isThere, Bytes body) {
    const auto route = takeHead<rtmsg>(body, NLMSG_ALIGNTO);
    if (!route || route->rtm_dst_len != 0 || route->rtm_type != RTN_UNICAST) return;
    if (route->rtm_family != AF_INET && route->rtm_family != AF_INET6) return;
    const auto attributes = attributesIn(body);
    keep(defaultRoutes_,
         {.link = numberIn(attributes, RTA_OIF, 0),
          .family = route->rtm_family,
          .gateway = textIn(attributes, RTA_GATEWAY)},
         isThere);
}

std::set<std::string> NetworkTable::ways() const {
    std::set<std::uint32_t> usable;
    for (const Address& address : addresses_)
        if (carrying_.contains(address.link)) usable.insert(address.link);
    std::set<std::string> ways;
    for (const auto link : usable) ways.insert("link " + std::to_string(link));
    for (const Route& route : defaultRoutes_)
        // One over several links names none of them.
        if (usable.contains(route.link) || (route.link == 0 && !usable.empty()))
            ways.insert("route " + std::to_string(route.link) + ' ' + std::to_string(route.family) + ' ' +
                        route.gateway);
    return ways;
}

std::string NetworkTable::question(Question question) {
    struct {
        nlmsghdr head;
        rtgenmsg body;
    } asked = {};
    asked.head.nlmsg_len = NLMSG_LENGTH(sizeof asked.body);
    asked.head.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    switch (question) {
        case Question::links: asked.head.nlmsg_type = RTM_GETLINK; break;
        case Question::addresses: asked.head.nlmsg_type = RTM_GETADDR; break;
        case Question::routes: asked.head.nlmsg_type = RTM_GETROUTE; break;
    }
    asked.body.rtgen_family = AF_UNSPEC;
    return {reinterpret_cast<const char*>(&asked), asked.head.nlmsg_len};
}

}  // namespace platform
