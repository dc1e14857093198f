// SPDX-License-Identifier: Apache-2.0

#pragma once

// A folder of its own for a test, removed with everything in it at the end.

#include <filesystem>
#include <string>
#include <string_view>

namespace platform::testing {

class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

    /// Writes a file at a path inside the folder, making the folders on its way; returns where it stands.
    std::filesystem::path write(const std::filesystem::path& relativePath, std::string_view contents) const;
    std::string read(const std::filesystem::path& relativePath) const;

  private:
    std::filesystem::path path_;
};

}  // namespace platform::testing
