// SPDX-License-Identifier: Apache-2.0

#pragma once

// The machine as the platform's device object describes it. Read once, on first use; safe from any thread.
// Both texts are UTF-8 without control characters: a source that says anything else, or nothing, is passed
// over for the next.

#include <filesystem>
#include <string>
#include <utility>

namespace platform {

class Device {
  public:
    static const Device& current();
    /// The machine whose file system begins at `root`.
    static Device describedUnder(const std::filesystem::path& root);

    /// The firmware's product name, or the device tree's model, else the machine type ("x86_64").
    const std::string& model() const { return model_; }
    /// os-release's version ("12"), else the kernel's.
    const std::string& systemVersion() const { return systemVersion_; }

    Device(std::string model, std::string systemVersion)
        : model_(std::move(model)), systemVersion_(std::move(systemVersion)) {}

  private:
    std::string model_;
    std::string systemVersion_;
};

}  // namespace platform
