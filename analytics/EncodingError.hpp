#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include "analytics/DynamicCodingKeys.hpp"

namespace analytics {

/// A value that cannot be encoded. The coding path is that of the container which was being written.
class EncodingError : public std::runtime_error {
  public:
    EncodingError(CodingPath codingPath, const std::string& debugDescription)
        : std::runtime_error(debugDescription), codingPath_(std::move(codingPath)) {}

    std::string debugDescription() const { return what(); }
    const CodingPath& codingPath() const { return codingPath_; }

  private:
    CodingPath codingPath_;
};

}  // namespace analytics
