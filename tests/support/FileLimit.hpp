// SPDX-License-Identifier: Apache-2.0

#pragma once

// How many files this process may open, for the length of a scope.

#include <sys/resource.h>

namespace platform::testing {

class FileLimit {
  public:
    explicit FileLimit(rlim_t files) {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit now = {.rlim_cur = files, .rlim_max = before_.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &now);
    }
    ~FileLimit() { ::setrlimit(RLIMIT_NOFILE, &before_); }
    FileLimit(const FileLimit&) = delete;
    FileLimit& operator=(const FileLimit&) = delete;

  private:
    rlimit before_ = {};
};

}  // namespace platform::testing
