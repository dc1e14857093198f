// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/HostFiles.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string_view>
#include <vector>

#include "host/protocol/PictureFile.hpp"

namespace host {

namespace {

constexpr std::string_view temporaryEnding = ".tmp";

bool isHostFile(std::string_view name) {
    if (name.starts_with('.') && name.ends_with(temporaryEnding))
        name = name.substr(1, name.size() - 1 - temporaryEnding.size());
    return name == HostFiles::entry || name == HostFiles::state || name == HostFiles::panel ||
           name == HostFiles::text || PictureFile::isName(name);
}

}  // namespace

std::string HostFiles::temporaryName(const std::string& name) {
    return "." + name + std::string(temporaryEnding);
}

std::optional<std::vector<std::string>> HostFiles::in(const platform::Descriptor& folder) {
    const int descriptor = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(descriptor < 0 ? nullptr : ::fdopendir(descriptor),
                                                      ::closedir);
    if (!listing) return std::nullopt;
    std::vector<std::string> names;
    while (const auto* each = ::readdir(listing.get()))
        if (isHostFile(each->d_name)) names.emplace_back(each->d_name);
    return names;
}

int HostFiles::removeAll(const platform::Descriptor& folder) {
    int error = 0;
    // A half-written file may become a whole one behind the first look.
    for (int look = 0; look < 2; ++look) {
        const auto names = in(folder);
        if (!names) return errno;
        for (const auto& name : *names)
            if (::unlinkat(folder, name.c_str(), 0) != 0 && errno != ENOENT && error == 0) error = errno;
    }
    return error;
}

}  // namespace host
