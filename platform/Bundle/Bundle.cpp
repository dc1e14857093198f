// SPDX-License-Identifier: Apache-2.0

#include "platform/Bundle/Bundle.hpp"

#include <fstream>
#include <string>
#include <system_error>

#include "platform/JSON/JSONSerialization.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace platform {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t largestInfo = 1 << 20;

std::optional<boost::json::object> readInfo(const fs::path& path) {
    std::error_code error;
    if (!fs::is_regular_file(path, error)) return std::nullopt;
    const auto size = fs::file_size(path, error);
    if (error || size > largestInfo) return std::nullopt;
    std::string text(static_cast<std::size_t>(size), '\0');
    std::ifstream file(path, std::ios::binary);
    if (!file.read(text.data(), static_cast<std::streamsize>(text.size()))) return std::nullopt;
    try {
        auto value = JSONSerialization::JSONObjectWithData(text);
        if (auto* object = value.if_object()) return std::move(*object);
    } catch (const JSONError&) {
    }
    return std::nullopt;
}

fs::path mainFolder() {
    if (auto folder = environmentVariable("VELA_BUNDLE"); folder && !folder->empty()) return *folder;
    return executablePath().parent_path().parent_path() / "share" / "vela-widget";
}

}  // namespace

const Bundle& Bundle::main() {
    static const Bundle bundle = at(mainFolder());
    return bundle;
}

Bundle Bundle::at(fs::path folder) {
    auto info = readInfo(folder / "Info.json");
    return Bundle(std::move(folder), std::move(info));
}

}  // namespace platform
