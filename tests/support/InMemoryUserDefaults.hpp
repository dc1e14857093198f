// SPDX-License-Identifier: Apache-2.0

#pragma once

// A suite that is kept nowhere. Safe from any thread.

#include <boost/json/object.hpp>
#include <mutex>

#include "platform/UserDefaults/UserDefaults.hpp"

namespace platform::testing {

class InMemoryUserDefaults : public UserDefaults {
  public:
    InMemoryUserDefaults() = default;
    explicit InMemoryUserDefaults(boost::json::object values) : values_(std::move(values)) {}

    std::optional<boost::json::value> objectForKey(std::string_view key) const override;
    void setObject(std::string_view key, const boost::json::value& value) override;
    void removeObject(std::string_view key) override;
    std::unique_ptr<UserDefaultsReplacement> prepareReplacement(
        std::string_view key, const std::optional<boost::json::value>& value) override;

  private:
    mutable std::mutex mutex_;
    boost::json::object values_;
};

}  // namespace platform::testing
