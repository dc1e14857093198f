// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/RuntimeFolder.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <limits>
#include <system_error>
#include <utility>

#include "host/protocol/HostFiles.hpp"
#include "platform/Files/FileReplacement.hpp"
#include "platform/Files/TrustedFolder.hpp"

namespace host {

namespace {

platform::Descriptor madeFolder(const std::filesystem::path& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    platform::Descriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen())
        throw std::system_error(error ? error.value() : errno, std::generic_category(),
                                "cannot use the folder " + path.string());
    return folder;
}

}  // namespace

RuntimeFolder::RuntimeFolder(std::filesystem::path path, platform::Descriptor folder, Notice onNotice,
                             Standing standing)
    : path_(std::move(path)),
      folder_(std::move(folder)),
      onNotice_(std::move(onNotice)),
      standing_(std::move(standing)) {}

RuntimeFolder RuntimeFolder::make(const std::filesystem::path& path, Notice onNotice, Standing standing) {
    auto folder = madeFolder(path);
    HostFiles::removeAll(folder);
    return {path, std::move(folder), std::move(onNotice), std::move(standing)};
}

RuntimeFolder RuntimeFolder::inherit(const std::filesystem::path& path, Notice onNotice, Standing standing) {
    RuntimeFolder folder(path, madeFolder(path), std::move(onNotice), std::move(standing));
    folder.inheritFiles();
    return folder;
}

void RuntimeFolder::inheritFiles() {
    constexpr Content unknown = {.size = std::numeric_limits<std::size_t>::max(), .hash = 0};
    const auto names = HostFiles::in(folder_);
    if (!names) return;
    for (const auto& name : *names)
        if (!name.starts_with('.')) written_.emplace(name, unknown);
}

RuntimeFolder::~RuntimeFolder() {
    if (!folder_.isOpen() || standing_() == HostClaim::Standing::anothers) return;
    for (const auto& [name, content] : written_) ::unlinkat(folder_, name.c_str(), 0);
}

bool RuntimeFolder::write(const std::string& name, std::string_view bytes) {
    const Content content = {.size = bytes.size(), .hash = std::hash<std::string_view>()(bytes)};
    const auto found = written_.find(name);
    if (found != written_.end() && found->second == content) return true;
    // One that was stopped meanwhile writes nothing, not for a moment.
    if (standing_() != HostClaim::Standing::held) return false;
    try {
        platform::FileReplacement file(folder_, path_ / name, HostFiles::temporaryName(name), bytes);
        // Looked at once more: who takes the place away removes a half-written file as well.
        if (standing_() != HostClaim::Standing::held) return false;
        file.commit();
        written_[name] = content;
        isFailing_ = false;
        return true;
    } catch (const platform::FileError& error) {
        if (!std::exchange(isFailing_, true)) onNotice_(error.what());
        return false;
    }
}

void RuntimeFolder::remove(const std::string& name) {
    if (written_.erase(name) > 0 && standing_() != HostClaim::Standing::anothers)
        ::unlinkat(folder_, name.c_str(), 0);
}

}  // namespace host
