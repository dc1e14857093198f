// SPDX-License-Identifier: Apache-2.0

#pragma once

// A package whose six values are held as they are, such as that of a saved entry. Immutable; safe from any
// thread.

#include <utility>

#include "presentation/Package.hpp"

namespace presentation {

class StoredPackage : public Package {
  public:
    struct Values {
        std::string shopName;
        platform::URL deepLinkingUrl;
        float progress;
        std::optional<platform::URL> shopImage = std::nullopt;
        std::optional<platform::URL> productImage = std::nullopt;
        StatusPair statusText;
    };

    explicit StoredPackage(Values values) : values_(std::move(values)) {}

    std::string shopName() const override { return values_.shopName; }
    platform::URL deepLinkingUrl() const override { return values_.deepLinkingUrl; }
    std::optional<platform::URL> shopImage() const override { return values_.shopImage; }
    std::optional<platform::URL> productImage() const override { return values_.productImage; }
    float progress() const override { return values_.progress; }
    StatusPair statusText() const override { return values_.statusText; }

  private:
    Values values_;
};

}  // namespace presentation
