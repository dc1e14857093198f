// SPDX-License-Identifier: Apache-2.0

#pragma once

// Serves /pictures/NAME: drawings of a catalogue (a data file), bounded by maxWidth and maxHeight (or width
// and height) where the request says so, and pictures that are broken on purpose. Each size is drawn once,
// when it is first asked for. Not for use from several threads.

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include "sandbox/Drawing.hpp"
#include "sandbox/Message.hpp"
#include "sandbox/PictureForm.hpp"

namespace sandbox {

struct Picture {
    Drawing drawing;
    PictureForm form;
    drawing::Orientation orientation;
    drawing::PixelSize size;
};

/// The greatest size of the same shape within the bounds; never greater than `size`. A bound of zero is none.
drawing::PixelSize fitted(drawing::PixelSize size, drawing::PixelSize bounds);

class PictureGallery {
  public:
    /// Reads the catalogue. Throws Error.
    explicit PictureGallery(const std::filesystem::path& catalogue);

    Response answer(const Request& request);

  private:
    std::map<std::string, Picture, std::less<>> pictures_;
    std::map<std::string, std::string> files_;
};

}  // namespace sandbox
