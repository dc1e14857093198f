// SPDX-License-Identifier: Apache-2.0

#pragma once

// Pictures from the network (http, https), this machine's files and data URLs, those of the network all at
// the same time and by one deadline. What became of those is kept in a memory, but for what a drawing in a
// hurry did not wait for. One object is used by one thread at a time.

#include <chrono>
#include <optional>

#include "drawing/Views/PictureLoader.hpp"
#include "platform/Streams/Deadline.hpp"
#include "widget/PictureMemory.hpp"

namespace widget {

class NetworkPictures final : public drawing::PictureLoader {
  public:
    /// A server that has not answered within that has failed for other drawings as well.
    static constexpr std::chrono::milliseconds patience = std::chrono::seconds(1);

    /// `memory` outlives it. Without a deadline a picture may take as long as a transfer may.
    NetworkPictures(PictureMemory& memory, std::optional<platform::Deadline> deadline)
        : memory_(memory), deadline_(deadline) {}

    std::optional<std::string> read(const platform::URL& url) override;
    void readAll(const std::vector<platform::URL>& urls, const Receiver& receive) override;

  private:
    PictureMemory& memory_;
    std::optional<platform::Deadline> deadline_;
};

}  // namespace widget
