// SPDX-License-Identifier: Apache-2.0

#pragma once

// The links into the companion app, each made in one place. Pure functions, safe from any thread.

#include <optional>
#include <string>
#include <string_view>

#include "VelaApi/Sources/VelaApi/DorvoSupport/GraphID.hpp"
#include "platform/URL/URL.hpp"

namespace presentation {

/// A link that does not parse stops the process: there is no other to fall back to. Identifiers go in as they
/// are; the URL's parser encodes what no URL may hold.
struct DeepLink {
    static constexpr std::string_view scheme = "velaapp";

    // What each link is for, as its host names it.
    static constexpr std::string_view deliveryHost = "delivery";
    static constexpr std::string_view orderHost = "order";
    static constexpr std::string_view homeOrdersHost = "home_orders";
    static constexpr std::string_view addDeliveryHost = "add_delivery";

    /// Says where the person came from, unlike `order`.
    static platform::URL delivery(const VelaApi::GraphID& id);
    static platform::URL order(const VelaApi::GraphID& id);
    static platform::URL homeOrders();
    static platform::URL addDelivery();

    static platform::URL fromText(const std::string& text);

    /// What a link is for.
    struct Target {
        enum class Kind { delivery, order, homeOrders, addDelivery } kind;
        /// As the link has it, percent-encoded; empty where the kind has none.
        std::string id = {};
        /// What the link says beside, with its question mark; empty where it says nothing.
        std::string query = {};

        /// The page of the account's site that shows it, as what follows the site's address.
        std::string page() const;
        /// For a person: "the order 42".
        std::string words() const;
        bool operator==(const Target&) const = default;
    };

    /// Longer texts are no links, in bytes; nor is an identifier that is longer, in its encoded form.
    static constexpr std::size_t longestLink = 2048;
    static constexpr std::size_t longestIdentifier = 512;

    /// Reads what anybody may have written: nothing for all but the forms that are made here. An identifier
    /// is one step of a path, well-formed UTF-8, without control characters, slashes or backslashes, however
    /// they are written.
    static std::optional<Target> read(std::string_view text);
};

}  // namespace presentation
