// SPDX-License-Identifier: Apache-2.0

#pragma once

// The sample that is shown before anything is known. Immutable; safe from any thread.

#include "presentation/StoredPackage.hpp"

namespace presentation {

class PlaceholderPackage final : public StoredPackage {
  public:
    using StoredPackage::StoredPackage;
};

/// The three sample packages, of the given merchant, with progress 0.4, 0.8 and 0.4.
PackageList placeholderPackages(const std::string& shopName);

}  // namespace presentation
