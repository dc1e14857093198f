// SPDX-License-Identifier: Apache-2.0

#pragma once

// The program's bundle: a folder of resources with an Info dictionary. The folder is VELA_BUNDLE, else
// share/vela-widget beside the program's bin. Safe from any thread.

#include <boost/json/value.hpp>
#include <filesystem>
#include <optional>

namespace platform {

class Bundle {
  public:
    /// The running program's bundle; located and its Info.json read once, on first use.
    static const Bundle& main();
    /// A bundle at a folder.
    static Bundle at(std::filesystem::path folder);

    const std::filesystem::path& resourceFolder() const { return folder_; }
    /// Nothing when Info.json is missing or is not a JSON object.
    const std::optional<boost::json::object>& infoDictionary() const { return info_; }

  private:
    Bundle(std::filesystem::path folder, std::optional<boost::json::object> info)
        : folder_(std::move(folder)), info_(std::move(info)) {}
    std::filesystem::path folder_;
    std::optional<boost::json::object> info_;
};

}  // namespace platform
