// SPDX-License-Identifier: Apache-2.0

#pragma once

// What the kernel has said about the machine's ways to the network: links that carry, addresses, default
// routes. Reads the kernel's messages (rtnetlink) and nothing else. A plain value.

#include <compare>
#include <cstddef>
#include <cstdint>
#include <set>
#include <span>
#include <string>

namespace platform {

class NetworkTable {
  public:
    enum class Question { links, addresses, routes };

    /// Takes in one datagram, or what of it is whole. Messages that it does not know are passed over.
    void take(std::span<const std::byte> datagram);
    /// Whether the datagram ends the answer to a question, well or ill.
    static bool endsAnswer(std::span<const std::byte> datagram);

    /// One for each way there is: a link that carries and has an address beyond itself, and each default
    /// route over such a link.
    std::set<std::string> ways() const;

    /// The datagram that asks the kernel for everything of a kind.
    static std::string question(Question question);

  private:
    struct Address {
        std::uint32_t link;
        std::string bytes;
        auto operator<=>(const Address&) const = default;
    };
    struct Route {
        std::uint32_t link;
        std::uint8_t family;
        std::string gateway;
        auto operator<=>(const Route&) const = default;
    };

    void takeMessage(std::uint16_t type, std::span<const std::byte> body);
    void takeLink(bool isThere, std::span<const std::byte> body);
    void takeAddress(bool isThere, std::span<const std::byte> body);
    void takeRoute(bool isThere, std::span<const std::byte> body);

    std::set<std::uint32_t> carrying_;
    std::set<Address> addresses_;
    std::set<Route> defaultRoutes_;
};

}  // namespace platform
