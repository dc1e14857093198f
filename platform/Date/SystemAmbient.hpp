#pragma once

// The machine's clock and settings. Safe from any thread as long as nobody changes the environment meanwhile.

#include <sys/types.h>

#include <chrono>
#include <ctime>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/Date/Ambient.hpp"

namespace platform {

class SystemAmbient final : public Ambient {
  public:
    struct Settings {
        /// A link into a folder named zoneinfo.
        std::filesystem::path zoneFile = "/etc/localtime";
        /// How long the zone file is taken to stand as it was.
        std::chrono::steady_clock::duration zoneCheckInterval = std::chrono::minutes(1);
    };

    SystemAmbient();
    explicit SystemAmbient(Settings settings);

    Date now() const override;
    std::string timeZoneIdentifier() const override;
    std::string localeIdentifier() const override;
    std::vector<std::string> preferredLanguages() const override;

  private:
    /// What tells one state of the zone file from another: the link and what it leads to.
    struct ZoneFileStamp {
        ino_t link = 0;
        ino_t target = 0;
        time_t linkChanged = 0;
        time_t targetModified = 0;
        bool operator==(const ZoneFileStamp&) const = default;
    };
    struct Zone {
        std::string identifier;
        std::optional<std::string> variable;
        ZoneFileStamp file;
        std::chrono::steady_clock::time_point checked;
    };

    std::string detectedZone(const std::optional<std::string>& variable) const;
    ZoneFileStamp zoneFileStamp() const;

    Settings settings_;
    mutable std::mutex mutex_;
    mutable std::optional<Zone> zone_;
};

}  // namespace platform
