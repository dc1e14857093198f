// SPDX-License-Identifier: Apache-2.0

#pragma once

// Entries to look at: every state, and packages in many scripts.

#include <string>
#include <vector>

#include "drawing/Views/PictureLoader.hpp"
#include "presentation/StoredPackage.hpp"
#include "widget/SimpleEntry.hpp"

namespace drawing_tests {

struct SampleEntry {
    std::string name;
    widget::SimpleEntry entry;
};

std::vector<SampleEntry> sampleEntries();
/// The one of that name among them.
widget::SimpleEntry sampleEntry(const std::string& name);

/// Pictures drawn by hand for "sample:shop", "sample:wide" and "sample:photo"; nothing for any other URL.
class SamplePictures final : public drawing::PictureLoader {
  public:
    std::optional<std::string> read(const platform::URL& url) override;
};

presentation::PackageList packages(std::vector<presentation::StoredPackage::Values> values);
platform::URL url(const std::string& text);
widget::SimpleEntry entry(widget::WidgetState state);

}  // namespace drawing_tests
