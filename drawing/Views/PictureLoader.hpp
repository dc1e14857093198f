// SPDX-License-Identifier: Apache-2.0

#pragma once

// The seam through which a view reads the pictures it shows.

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/URL/URL.hpp"

namespace drawing {

class PictureLoader {
  public:
    virtual ~PictureLoader() = default;

    /// The whole resource; nothing for any failure. Blocks until it is there.
    virtual std::optional<std::string> read(const platform::URL& url) = 0;

    using Receiver = std::function<void(std::size_t place, std::optional<std::string> bytes)>;
    /// Each of them, at the same time where one would wait for another. `receive` is called once for each,
    /// with its place among `urls`, as they come. Blocks until all are there.
    virtual void readAll(const std::vector<platform::URL>& urls, const Receiver& receive) {
        for (std::size_t place = 0; place < urls.size(); ++place) receive(place, read(urls[place]));
    }
};

}  // namespace drawing
