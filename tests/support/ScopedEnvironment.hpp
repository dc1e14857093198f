// SPDX-License-Identifier: Apache-2.0

#pragma once

// Environment variables as a test wants them, put back as they were at the end. Not for use beside other
// threads that read the environment.

#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace platform::testing {

class ScopedEnvironment {
  public:
    /// Sets each variable, or unsets it where there is no value.
    ScopedEnvironment(std::initializer_list<std::pair<std::string, std::optional<std::string>>> variables);
    ~ScopedEnvironment();
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

  private:
    std::map<std::string, std::optional<std::string>> previous_;
};

}  // namespace platform::testing
