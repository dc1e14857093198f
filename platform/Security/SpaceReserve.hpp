// SPDX-License-Identifier: Apache-2.0

#pragma once

// Space on the disk that is kept free for what must not fail: a file of zeros that is removed when its room
// is needed. On a file system that stores zeros without room, and against a limit on a file's size, it is of
// no use.

#include <cstddef>
#include <filesystem>

namespace platform {

class SpaceReserve {
  public:
    /// `file` lies where the space is needed, and has the mode 0600.
    explicit SpaceReserve(std::filesystem::path file) : file_(std::move(file)) {}

    /// Whether there are `size` bytes in reserve now; where there are fewer, it tries to set aside twice
    /// that, so that the next request finds some slack.
    bool keep(std::size_t size) const;
    /// Frees it; false where there was none.
    bool release() const;

  private:
    bool setAside(std::size_t size) const;

    std::filesystem::path file_;
};

}  // namespace platform
