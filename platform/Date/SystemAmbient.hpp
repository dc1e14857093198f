// SPDX-License-Identifier: Apache-2.0

#pragma once

// The machine's clock and settings. Safe from any thread as long as nobody changes the environment meanwhile.

#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/Date/Ambient.hpp"

namespace platform {

class SystemAmbient final : public Ambient {
  public:
    struct Settings {
        /// How long the system's zone is taken to stand as it was.
        std::chrono::steady_clock::duration zoneCheckInterval = std::chrono::minutes(1);
    };

    SystemAmbient();
    explicit SystemAmbient(Settings settings);

    Date now() const override;
    int secondsFromGMT(Date date) const override;
    std::string localeIdentifier() const override;
    std::vector<std::string> preferredLanguages() const override;

  private:
    /// The last locale that was looked for words of, and what was found.
    struct Locale {
        std::string name;
        std::string languages;
        std::string identifier;
    };

    void refreshZone() const;

    Settings settings_;
    mutable std::atomic<std::chrono::steady_clock::duration> nextZoneCheck_{};
    mutable std::mutex mutex_;
    mutable std::optional<Locale> locale_;
};

}  // namespace platform
