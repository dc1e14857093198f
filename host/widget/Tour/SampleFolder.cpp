// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Tour/SampleFolder.hpp"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "host/protocol/HostAddress.hpp"

namespace host {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view samplePrefix = "vela-tour-";

/// Where they may lie, the better place first.
std::vector<fs::path> samplePlaces() {
    std::vector<fs::path> places;
    try {
        places.push_back(HostAddress::ofPerson().folder.parent_path());
    } catch (const HostAddressError&) {
        // There are sessions without one.
    }
    std::error_code error;
    auto temporary = fs::temp_directory_path(error);
    if (!error) places.push_back(std::move(temporary));
    return places;
}

platform::Descriptor openedSample(const fs::path& folder) {
    return platform::Descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

/// Whether it is what has that name, and the person's own.
bool isSampleAt(const fs::path& folder, const platform::Descriptor& opened) {
    struct stat own = {};
    struct stat found = {};
    return ::fstat(opened, &own) == 0 && ::lstat(folder.c_str(), &found) == 0 && own.st_dev == found.st_dev &&
           own.st_ino == found.st_ino && own.st_uid == ::geteuid();
}

void removeWhole(const fs::path& folder) {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

}  // namespace

SampleFolder::SampleFolder() {
    const auto places = samplePlaces();
    const bool isMade =
        std::any_of(places.begin(), places.end(), [&](const auto& place) { return makeIn(place); });
    if (!isMade) throw std::runtime_error("there is no room for a sample person");
}

SampleFolder::~SampleFolder() {
    removeWhole(path_);
}

bool SampleFolder::makeIn(const fs::path& place) {
    for (int attempts = 3; attempts > 0; --attempts) {
        std::string name = (place / samplePrefix).string() + "XXXXXX";
        if (!::mkdtemp(name.data())) return false;
        path_ = name;
        lock_ = openedSample(path_);
        // Where a file system has no locks nobody can have one, and the folder is left alone. Until it is
        // locked another tour that begins may take it for one that was left.
        ::flock(lock_, LOCK_EX);
        if (isSampleAt(path_, lock_)) return true;
    }
    return false;
}

void SampleFolder::removeLeft() {
    for (const auto& place : samplePlaces()) {
        std::error_code error;
        std::vector<fs::path> found;
        for (auto entry = fs::directory_iterator(place, error); !error && entry != fs::directory_iterator();
             entry.increment(error))
            if (entry->path().filename().native().starts_with(samplePrefix)) found.push_back(entry->path());
        for (const auto& folder : found) {
            const auto lock = openedSample(folder);
            if (::flock(lock, LOCK_EX | LOCK_NB) == 0 && isSampleAt(folder, lock)) removeWhole(folder);
        }
    }
}

}  // namespace host
