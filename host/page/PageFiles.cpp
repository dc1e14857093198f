// SPDX-License-Identifier: Apache-2.0

#include "host/page/PageFiles.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <exception>

#include "platform/Streams/Streams.hpp"

namespace host {

namespace {

struct NamedType {
    std::string_view name;
    std::string_view contentType;
};

constexpr std::array bundled = {
    NamedType{"page.css", "text/css; charset=utf-8"},
    NamedType{"page.js", "text/javascript; charset=utf-8"},
    NamedType{"manifest.webmanifest", "application/manifest+json"},
    NamedType{"icon.svg", "image/svg+xml"},
    NamedType{"VelaLogo.svg", "image/svg+xml"},
    NamedType{"VelaLogoDark.svg", "image/svg+xml"},
};

/// The weights that drawings and the page use.
constexpr std::array<std::string_view, 3> fonts = {"Inter-Regular.otf", "Inter-Medium.otf",
                                                   "Inter-SemiBold.otf"};
/// Where the package fonts-inter has them, and where other systems' packages do.
constexpr std::array fontFolders = {"/usr/share/fonts/opentype/inter", "/usr/share/fonts/inter",
                                    "/usr/local/share/fonts"};
/// Each has 270 KB.
constexpr std::size_t longestFile = 4U << 20;

std::string contentsOf(const std::filesystem::path& path) {
    return platform::readFile(path.string(), longestFile, platform::Deadline(std::chrono::seconds(5)));
}

}  // namespace

PageFiles PageFiles::in(const std::filesystem::path& folder) {
    PageFiles files;
    files.frame_ = contentsOf(folder / "page.html");
    for (const auto& [name, contentType] : bundled)
        files.files_.emplace(name, PageFile{contentType, contentsOf(folder / name)});
    return files;
}

std::optional<PageFile> PageFiles::file(std::string_view name) const {
    const auto found = files_.find(name);
    if (found != files_.end()) return found->second;
    if (std::ranges::count(fonts, name) == 0) return std::nullopt;
    for (const std::filesystem::path folder : fontFolders) {
        try {
            if (exists(folder / name)) return PageFile{"font/otf", contentsOf(folder / name)};
        } catch (const std::exception&) {
            // Without it, the browser's own font is held to the same widths.
        }
    }
    return std::nullopt;
}

}  // namespace host
