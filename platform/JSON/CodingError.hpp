// SPDX-License-Identifier: Apache-2.0

#pragma once

// What goes wrong between a JSON text and a typed value. An error names its kind and its place; it never
// quotes a value, which may be a secret.

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/JSON/CodingPath.hpp"

namespace platform {

enum class DecodingErrorKind { keyNotFound, valueNotFound, typeMismatch, dataCorrupted };

constexpr std::string_view words(DecodingErrorKind kind) {
    switch (kind) {
        case DecodingErrorKind::keyNotFound: return "A required key is missing";
        case DecodingErrorKind::valueNotFound: return "A required value is null";
        case DecodingErrorKind::typeMismatch: return "A value is of another type than expected";
        case DecodingErrorKind::dataCorrupted: return "A value is not of the form expected";
    }
    return "";
}

inline std::string describedAt(std::string_view description, const std::vector<std::string>& codingPath) {
    const std::string place = codingPath.empty() ? "the top level" : joined(codingPath);
    return std::string(description) + " at " + place;
}

class DecodingError : public std::runtime_error {
  public:
    DecodingError(DecodingErrorKind kind, std::vector<std::string> codingPath)
        : std::runtime_error(describedAt(words(kind), codingPath)),
          kind_(kind),
          codingPath_(std::move(codingPath)) {}

    DecodingErrorKind kind() const { return kind_; }
    /// From the top to the value or the missing key.
    const std::vector<std::string>& codingPath() const { return codingPath_; }

  private:
    DecodingErrorKind kind_;
    std::vector<std::string> codingPath_;
};

/// A value that JSON cannot carry.
class EncodingError : public std::runtime_error {
  public:
    EncodingError(std::string debugDescription, std::vector<std::string> codingPath)
        : std::runtime_error(describedAt(debugDescription, codingPath)),
          debugDescription_(std::move(debugDescription)),
          codingPath_(std::move(codingPath)) {}

    const std::string& debugDescription() const { return debugDescription_; }
    const std::vector<std::string>& codingPath() const { return codingPath_; }

  private:
    std::string debugDescription_;
    std::vector<std::string> codingPath_;
};

}  // namespace platform
