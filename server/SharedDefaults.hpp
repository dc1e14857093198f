// SPDX-License-Identifier: Apache-2.0

#pragma once

// The settings that the widget shares with the companion app, and the two process-wide ones that locate the
// account server. `shared` and the settings behind it are made once, on first use; values are read on every
// access. Safe from any thread.

#include <boost/json/value.hpp>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/UserDefaults/UserDefaults.hpp"

namespace server {

/// Keys of the suite. The companion app writes them; the widget reads.
struct SharedDefaultsKey {
    static constexpr const char* serverURL = "PONTAL_URL";
    static constexpr const char* userId = "userId";
    static constexpr const char* installDeviceId = "installDeviceId";
    /// Ours beside the app's: whether a live host tells what happens.
    static constexpr const char* notifications = "notifications";
    /// Ours beside the app's: the site whose pages show what the widget's links are for.
    static constexpr const char* accountSite = "ACCOUNT_SITE_URL";
};

class SharedDefaults {
  public:
    /// The one instance, on the app group's suite. A suite that cannot be opened stops the process.
    static const SharedDefaults& shared();

    SharedDefaults(std::unique_ptr<platform::UserDefaults> store, std::string baseURL);

    const platform::UserDefaults& store() const { return *store_; }

    /// The account server's base URL: the suite's "PONTAL_URL" where that is a text, else the base URL
    /// setting.
    std::string serverURL() const;

  private:
    std::unique_ptr<platform::UserDefaults> store_;
    std::string baseURL_;
};

/// The app group's suite: "GROUP_IDENTIFIER" of the Info dictionary where that is a text, else the built-in
/// name.
std::string suiteName(const std::optional<boost::json::object>& infoDictionary);
/// The suite of this process's bundle.
const std::string& suiteName();

/// The variable "BASE_URL" as it stands, else the built-in address.
std::string baseURL(const std::map<std::string, std::string>& environment);

}  // namespace server
