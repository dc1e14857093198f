// SPDX-License-Identifier: Apache-2.0

#pragma once

// The seam through which a view reads the pictures it shows.

#include <optional>
#include <string>

#include "platform/URL/URL.hpp"

namespace drawing {

class PictureLoader {
  public:
    virtual ~PictureLoader() = default;

    /// The whole resource; nothing for any failure. Blocks until it is there.
    virtual std::optional<std::string> read(const platform::URL& url) = 0;
};

}  // namespace drawing
