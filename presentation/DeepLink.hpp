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

    /// The account server's page that shows what a link is for, as what follows the server's address: the
    /// page's path, and after it whatever the link has after its host. Nothing where no page does.
    static std::optional<std::string> pageFor(const platform::URL& link);
};

}  // namespace presentation
