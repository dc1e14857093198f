// SPDX-License-Identifier: Apache-2.0

#pragma once

// Where a person lives who does not exist: a folder that goes with who made it, or with the next tour where
// its owner was killed. For one thread.

#include <filesystem>

#include "platform/Files/Descriptor.hpp"

namespace host {

class SampleFolder {
  public:
    /// In the person's runtime folder, which goes with her session, else among the temporary files. Throws
    /// std::runtime_error where neither has room.
    SampleFolder();
    /// Removes it with all that is in it.
    ~SampleFolder();
    SampleFolder(const SampleFolder&) = delete;
    SampleFolder& operator=(const SampleFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

    /// Removes those of the person's own whose owner has gone without doing so.
    static void removeLeft();

  private:
    bool makeIn(const std::filesystem::path& place);

    std::filesystem::path path_;
    /// Says that somebody lives here.
    platform::Descriptor lock_{-1};
};

}  // namespace host
