// SPDX-License-Identifier: Apache-2.0

#pragma once

// Where the library tells of errors that reach no caller. No operation and no response has a logger unless
// its type supplies one.

#include <string>
#include <string_view>
#include <vector>

namespace VelaApi {

class GraphApiLogger {
  public:
    virtual ~GraphApiLogger() = default;

    /// Each "%s" of `messageFormat` stands for the next of `arguments`.
    virtual void log(std::string_view messageFormat, std::string_view file, std::string_view function,
                     unsigned line, const std::vector<std::string>& arguments) const = 0;
};

/// Writes to the platform's standard log, at error level.
class DefaultLogger final : public GraphApiLogger {
  public:
    void log(std::string_view messageFormat, std::string_view file, std::string_view function, unsigned line,
             const std::vector<std::string>& arguments) const override;
};

}  // namespace VelaApi
