#pragma once

// A package whose six values are given: the sample shown before anything is known, and the package of a saved
// entry.

#include "presentation/Package.hpp"

namespace presentation {

class PlaceholderPackage final : public Package {
  public:
    struct Values {
        std::string shopName;
        platform::URL deepLinkingUrl;
        float progress;
        std::optional<platform::URL> shopImage = std::nullopt;
        std::optional<platform::URL> productImage = std::nullopt;
        StatusPair statusText;
    };

    explicit PlaceholderPackage(Values values) : values_(std::move(values)) {}

    std::string shopName() const override { return values_.shopName; }
    platform::URL deepLinkingUrl() const override { return values_.deepLinkingUrl; }
    std::optional<platform::URL> shopImage() const override { return values_.shopImage; }
    std::optional<platform::URL> productImage() const override { return values_.productImage; }
    float progress() const override { return values_.progress; }
    StatusPair statusText() const override { return values_.statusText; }

  private:
    Values values_;
};

/// The three sample packages, of the given merchant, with progress 0.4, 0.8 and 0.4.
PackageList placeholderPackages(const std::string& shopName);

}  // namespace presentation
