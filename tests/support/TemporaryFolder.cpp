// SPDX-License-Identifier: Apache-2.0

#include "tests/support/TemporaryFolder.hpp"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace platform::testing {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
    auto name = (fs::temp_directory_path() / "vela-test-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code error;
    fs::remove_all(path_, error);
}

fs::path TemporaryFolder::write(const fs::path& relativePath, std::string_view contents) const {
    const auto path = path_ / relativePath;
    fs::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file.write(contents.data(), static_cast<std::streamsize>(contents.size()));
    if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
    return path;
}

std::string TemporaryFolder::read(const fs::path& relativePath) const {
    std::ifstream file(path_ / relativePath, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + (path_ / relativePath).string());
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace platform::testing
