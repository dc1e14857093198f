#include "platform/UserDefaults/UserDefaults.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <boost/json/value.hpp>
#include <cerrno>
#include <charconv>
#include <climits>

#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/UserDefaults/FileUserDefaults.hpp"

namespace platform {
namespace {

template <typename Number>
std::string decimalText(Number number) {
    std::array<char, 32> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    return {text.data(), end};
}

bool isFileName(std::string_view name) {
    return !name.empty() && name.size() <= NAME_MAX && name != "." && name != ".." &&
           name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

// A folder that does not exist yet is usable where the nearest one above it is.
bool isUsable(const std::filesystem::path& folder) {
    struct stat found = {};
    if (::stat(folder.c_str(), &found) == 0) {
        return S_ISDIR(found.st_mode) && ::access(folder.c_str(), R_OK | X_OK) == 0;
    }
    if (errno != ENOENT || !folder.has_relative_path()) return false;
    return isUsable(folder.parent_path());
}

}  // namespace

std::unique_ptr<UserDefaults> UserDefaults::suite(std::string_view suiteName) {
    const auto home = dataHome();
    return home ? suite(suiteName, *home) : nullptr;
}

std::unique_ptr<UserDefaults> UserDefaults::suite(std::string_view suiteName,
                                                  const std::filesystem::path& dataHome) {
    if (!dataHome.is_absolute() || !isFileName(suiteName)) return nullptr;
    auto folder = dataHome / suiteName;
    if (!isUsable(folder)) return nullptr;
    return std::make_unique<FileUserDefaults>(std::move(folder));
}

std::optional<std::string> UserDefaults::stringForKey(std::string_view key) const {
    const auto value = objectForKey(key);
    if (!value) return std::nullopt;
    switch (value->kind()) {
        case boost::json::kind::string: return std::string(value->get_string());
        case boost::json::kind::int64: return decimalText(value->get_int64());
        case boost::json::kind::uint64: return decimalText(value->get_uint64());
        case boost::json::kind::double_: return decimalText(value->get_double());
        case boost::json::kind::null:
        case boost::json::kind::bool_:
        case boost::json::kind::array:
        case boost::json::kind::object: return std::nullopt;
    }
    return std::nullopt;
}

}  // namespace platform
