// SPDX-License-Identifier: Apache-2.0

#pragma once

// A file's successor, which lies beside it until it takes its place. All that needs room on the disk is done
// when it is made; what is left needs none. For one thread at a time.

#include <filesystem>
#include <string>
#include <string_view>

#include "platform/Files/Descriptor.hpp"

namespace platform {

class FileReplacement {
  public:
    /// Writes and flushes `text` as `temporaryName`, mode 0600, in the file's folder, which has to be open
    /// for as long as this is there. What has that name is overwritten. Throws FileError.
    FileReplacement(const Descriptor& folder, std::filesystem::path file, std::string temporaryName,
                    std::string_view text);
    /// Unless it has taken its place, it is removed.
    ~FileReplacement();
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;

    /// Whoever opens the file sees the old one or the new one, also after the power was cut. Throws
    /// FileError.
    void commit();

  private:
    [[noreturn]] void fail() const;

    const Descriptor& folder_;
    std::filesystem::path file_;
    std::string temporaryName_;
    bool isPending_ = false;
};

}  // namespace platform
