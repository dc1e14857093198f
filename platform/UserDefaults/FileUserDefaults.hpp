// SPDX-License-Identifier: Apache-2.0

#pragma once

// A suite kept as one JSON object in `preferences.json` of its folder. What another user could have changed
// is not read. Safe from any thread.

#include <atomic>
#include <boost/json/object.hpp>
#include <filesystem>

#include "platform/UserDefaults/UserDefaults.hpp"

namespace platform {

class FileUserDefaults : public UserDefaults {
  public:
    static constexpr const char* fileName = "preferences.json";
    static constexpr std::size_t maximumFileSize = std::size_t{4} << 20;

    /// Throws UserDefaultsError for a folder that cannot be used; one that does not exist yet can.
    explicit FileUserDefaults(std::filesystem::path folder);

    std::optional<boost::json::value> objectForKey(std::string_view key) const override;
    void setObject(std::string_view key, const boost::json::value& value) override;
    void removeObject(std::string_view key) override;
    std::unique_ptr<UserDefaultsReplacement> prepareReplacement(
        std::string_view key, const std::optional<boost::json::value>& value) override;
    void requireReadable() const override;

  private:
    boost::json::object loaded() const;
    boost::json::object read() const;

    std::filesystem::path folder_;
    mutable std::atomic<bool> hasComplained_ = false;
};

}  // namespace platform
