// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/RuntimeFolder.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <limits>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

#include "host/protocol/PictureFile.hpp"
#include "platform/Files/FileReplacement.hpp"
#include "platform/Files/TrustedFolder.hpp"

namespace host {

namespace {

constexpr std::string_view temporaryEnding = ".tmp";

std::string temporaryName(const std::string& name) {
    return "." + name + std::string(temporaryEnding);
}

/// As PictureFile names them: a person's own pictures may lie beside them.
bool isPictureName(std::string_view name) {
    constexpr std::string_view ending = "x.png";
    if (!name.ends_with(ending)) return false;
    name.remove_suffix(ending.size());
    for (const auto family : platform::allWidgetFamilies)
        for (const auto scheme : {drawing::ColorScheme::light, drawing::ColorScheme::dark}) {
            const auto beginning =
                std::string(platform::description(family)) + "-" + std::string(widget::name(scheme)) + "@";
            if (name.starts_with(beginning) && name.size() > beginning.size() &&
                name.find_first_not_of("0123456789.", beginning.size()) == std::string_view::npos)
                return true;
        }
    return false;
}

bool isOurs(std::string_view name) {
    if (name.starts_with('.') && name.ends_with(temporaryEnding))
        name = name.substr(1, name.size() - 1 - temporaryEnding.size());
    return name == RuntimeFolder::entryName || name == RuntimeFolder::stateName ||
           name == RuntimeFolder::textName || isPictureName(name);
}

platform::Descriptor madeFolder(const std::filesystem::path& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    platform::Descriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen())
        throw std::system_error(error ? error.value() : errno, std::generic_category(),
                                "cannot use the folder " + path.string());
    return folder;
}

std::vector<std::string> ourFilesIn(const platform::Descriptor& folder) {
    const int descriptor = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(descriptor < 0 ? nullptr : ::fdopendir(descriptor),
                                                      ::closedir);
    std::vector<std::string> names;
    if (!listing) return names;
    while (const auto* each = ::readdir(listing.get()))
        if (isOurs(each->d_name)) names.emplace_back(each->d_name);
    return names;
}

}  // namespace

RuntimeFolder::RuntimeFolder(std::filesystem::path path, platform::Descriptor folder, Notice onNotice)
    : path_(std::move(path)), folder_(std::move(folder)), onNotice_(std::move(onNotice)) {}

RuntimeFolder RuntimeFolder::make(const std::filesystem::path& path, Notice onNotice) {
    auto folder = madeFolder(path);
    removeLeftovers(folder);
    return {path, std::move(folder), std::move(onNotice)};
}

RuntimeFolder RuntimeFolder::inherit(const std::filesystem::path& path, Notice onNotice) {
    RuntimeFolder folder(path, madeFolder(path), std::move(onNotice));
    folder.inheritFiles();
    return folder;
}

void RuntimeFolder::inheritFiles() {
    constexpr Content unknown = {.size = std::numeric_limits<std::size_t>::max(), .hash = 0};
    for (const auto& name : ourFilesIn(folder_))
        if (!name.starts_with('.')) written_.emplace(name, unknown);
}

RuntimeFolder::~RuntimeFolder() {
    if (!folder_.isOpen()) return;
    for (const auto& [name, content] : written_) ::unlinkat(folder_, name.c_str(), 0);
}

bool RuntimeFolder::write(const std::string& name, std::string_view bytes) {
    const Content content = {.size = bytes.size(), .hash = std::hash<std::string_view>()(bytes)};
    const auto found = written_.find(name);
    if (found != written_.end() && found->second == content) return true;
    try {
        platform::FileReplacement(folder_, path_ / name, temporaryName(name), bytes).commit();
        written_[name] = content;
        isFailing_ = false;
        return true;
    } catch (const platform::FileError& error) {
        if (!std::exchange(isFailing_, true)) onNotice_(error.what());
        return false;
    }
}

void RuntimeFolder::remove(const std::string& name) {
    if (written_.erase(name) > 0) ::unlinkat(folder_, name.c_str(), 0);
}

void RuntimeFolder::removeLeftovers(const platform::Descriptor& folder) {
    for (const auto& name : ourFilesIn(folder)) ::unlinkat(folder, name.c_str(), 0);
}

}  // namespace host
