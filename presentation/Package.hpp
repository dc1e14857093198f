// SPDX-License-Identifier: Apache-2.0

#pragma once

// A delivery or an order, reduced to the six values that a layout draws. Packages are immutable; layouts know
// them through this interface alone. Every property is computed on each read, and none fails. Safe from any
// thread.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/URL/URL.hpp"
#include "presentation/StatusPair.hpp"

namespace presentation {

class Package {
  public:
    virtual ~Package() = default;

    /// The title: merchant, seller or carrier.
    virtual std::string shopName() const = 0;
    /// Opened in the companion app when the package is tapped.
    virtual platform::URL deepLinkingUrl() const = 0;
    /// Merchant or carrier logo.
    virtual std::optional<platform::URL> shopImage() const = 0;
    virtual std::optional<platform::URL> productImage() const = 0;
    /// Fill of the progress bar, 0.0 to 1.0.
    virtual float progress() const = 0;
    virtual StatusPair statusText() const = 0;
};

/// Packages of mixed kinds, in the order in which the server gave them.
using PackageList = std::vector<std::shared_ptr<const Package>>;

/// Whether two packages show the same six values.
bool showsTheSame(const Package& first, const Package& second);

}  // namespace presentation
