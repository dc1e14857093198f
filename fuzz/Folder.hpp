// SPDX-License-Identifier: Apache-2.0

#pragma once

// A folder in memory for targets whose class reads files: written and read a thousand times a second, and
// gone with the target. One process has one; private to its owner, as the classes under test demand.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>

class Folder {
  public:
    Folder() : path_(made()) {}
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const std::filesystem::path& path() const { return path_; }

    /// Mode 0600, whatever stood there before.
    std::filesystem::path write(const std::filesystem::path& name, std::string_view bytes) const {
        auto file = path_ / name;
        const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        const auto written = ::write(descriptor, bytes.data(), bytes.size());
        if (::close(descriptor) != 0 || written != static_cast<ssize_t>(bytes.size())) std::abort();
        return file;
    }

    static std::string read(const std::filesystem::path& file) {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

  private:
    static std::filesystem::path made() {
        const bool hasMemory = ::access("/dev/shm", W_OK) == 0;
        std::string path = hasMemory ? "/dev/shm/vela-fuzz-XXXXXX" : "/tmp/vela-fuzz-XXXXXX";
        if (!::mkdtemp(path.data())) std::abort();
        return path;
    }

    std::filesystem::path path_;
};
