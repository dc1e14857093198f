// SPDX-License-Identifier: Apache-2.0

#include "platform/UserDefaults/UserDefaults.hpp"

#include <array>
#include <boost/json/value.hpp>
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

}  // namespace

std::unique_ptr<UserDefaults> UserDefaults::suite(std::string_view suiteName) {
    const auto home = dataHome();
    if (!home) throw UserDefaultsError("there is no data folder: neither XDG_DATA_HOME nor a home is known");
    return suite(suiteName, *home);
}

std::unique_ptr<UserDefaults> UserDefaults::suite(std::string_view suiteName,
                                                  const std::filesystem::path& dataHome) {
    if (!dataHome.is_absolute()) throw UserDefaultsError("the data folder is no absolute path");
    if (!isFileName(suiteName)) throw UserDefaultsError("the suite's name is no file name");
    return std::make_unique<FileUserDefaults>(dataHome / suiteName);
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
