#pragma once

// A suite kept as one JSON object in `preferences.json` of its folder. Safe from any thread.

#include <atomic>
#include <boost/json/object.hpp>
#include <filesystem>
#include <functional>

#include "platform/UserDefaults/UserDefaults.hpp"

namespace platform {

class FileUserDefaults : public UserDefaults {
  public:
    static constexpr std::size_t maximumFileSize = std::size_t{4} << 20;

    explicit FileUserDefaults(std::filesystem::path folder) : folder_(std::move(folder)) {}

    std::optional<boost::json::value> objectForKey(std::string_view key) const override;
    void setObject(std::string_view key, const boost::json::value& value) override;
    void removeObject(std::string_view key) override;

  private:
    boost::json::object read() const;
    void change(const std::function<bool(boost::json::object&)>& edit);

    std::filesystem::path folder_;
    mutable std::atomic<bool> hasComplained_ = false;
};

}  // namespace platform
