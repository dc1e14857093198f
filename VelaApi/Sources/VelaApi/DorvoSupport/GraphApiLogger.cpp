// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/DorvoSupport/GraphApiLogger.hpp"

#include "platform/Log/Logger.hpp"

namespace VelaApi {
namespace {

std::string filled(std::string_view format, const std::vector<std::string>& arguments) {
    constexpr std::string_view placeholder = "%s";
    std::string text;
    for (const std::string& argument : arguments) {
        const std::size_t place = format.find(placeholder);
        if (place == std::string_view::npos) break;
        text.append(format.substr(0, place)).append(argument);
        format.remove_prefix(place + placeholder.size());
    }
    return text.append(format);
}

}  // namespace

void DefaultLogger::log(std::string_view messageFormat, std::string_view, std::string_view, unsigned,
                        const std::vector<std::string>& arguments) const {
    const std::string message = filled(messageFormat, arguments);
    platform::Logger::standard().log(platform::LogLevel::error, "%s", {{.text = message}});
}

}  // namespace VelaApi
