// SPDX-License-Identifier: Apache-2.0

#pragma once

// Which package stands in a person's bars: the first, until the wheel has walked on. Kept in a file, for bars
// run a command for each turn of the wheel. It says nothing of any package. For one thread.

#include <cstddef>
#include <filesystem>

namespace host {

class BarPosition {
  public:
    enum class Step { next, previous };

    /// In $XDG_RUNTIME_DIR/vela-widget-bar: beside the live host's folder, which ends with it. Throws
    /// HostAddressError.
    static BarPosition ofPerson();

    /// 0 where none is kept, or what is there is none.
    std::size_t read() const;
    /// Round the `count` packages that there are. Throws platform::FileError.
    void walk(Step step, std::size_t count) const;

    std::filesystem::path file() const { return folder_ / fileName; }

  private:
    static constexpr const char* fileName = "position";

    explicit BarPosition(std::filesystem::path folder) : folder_(std::move(folder)) {}

    std::filesystem::path folder_;
};

}  // namespace host
