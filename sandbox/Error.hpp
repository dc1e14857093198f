// SPDX-License-Identifier: Apache-2.0

#pragma once

// What the sandbox cannot start with, or cannot do: a scenario that does not read, a port that is taken.

#include <stdexcept>

namespace sandbox {

class Error : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace sandbox
