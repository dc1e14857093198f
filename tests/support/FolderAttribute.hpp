// SPDX-License-Identifier: Apache-2.0

#pragma once

// A folder's attribute of the file system (`FS_APPEND_FL`, `FS_IMMUTABLE_FL`), which holds for root too,
// until the end of a scope.

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>

#include <filesystem>

#include "platform/Files/Descriptor.hpp"

namespace platform::testing {

class FolderAttribute {
  public:
    FolderAttribute(const std::filesystem::path& folder, int attribute)
        : folder_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        const bool isKnown = ::ioctl(folder_, FS_IOC_GETFLAGS, &before_) == 0;
        int flags = before_ | attribute;
        isSet_ = isKnown && ::ioctl(folder_, FS_IOC_SETFLAGS, &flags) == 0;
    }
    ~FolderAttribute() {
        if (isSet_) ::ioctl(folder_, FS_IOC_SETFLAGS, &before_);
    }
    FolderAttribute(const FolderAttribute&) = delete;
    FolderAttribute& operator=(const FolderAttribute&) = delete;

    /// False where the file system has none, or the process may not.
    bool isSet() const { return isSet_; }

  private:
    Descriptor folder_;
    int before_ = 0;
    bool isSet_ = false;
};

}  // namespace platform::testing
