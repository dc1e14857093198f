// SPDX-License-Identifier: Apache-2.0

#pragma once

// What the page is made of beside its packages: a fixed table of files, the bundle's and the font that
// drawings are set in. No path of a request ever becomes a path of the machine.

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace host {

struct PageFile {
    std::string_view contentType;
    std::string bytes;
};

class PageFiles {
  public:
    /// Of the bundle's folder "page". Throws platform::InputError or std::system_error for a file that cannot
    /// be read.
    static PageFiles in(const std::filesystem::path& folder);

    /// The page's frame, in which its contents take their places.
    const std::string& frame() const { return frame_; }
    /// Nothing for a name that is not in the table, and for a font that is not installed.
    std::optional<PageFile> file(std::string_view name) const;

  private:
    std::string frame_;
    std::map<std::string, PageFile, std::less<>> files_;
};

}  // namespace host
