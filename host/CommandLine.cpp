#include "host/CommandLine.hpp"

namespace host {

std::vector<std::string> familyNames() {
    std::vector<std::string> names;
    for (const auto family : platform::allWidgetFamilies)
        if (family != platform::WidgetFamily::other) names.emplace_back(platform::description(family));
    return names;
}

int runCommandLine(CLI::App& app, int count, const char* const* arguments) {
    try {
        app.parse(count, arguments);
        return 0;
    } catch (const ExitStatus& status) {
        return status.value();
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
}

}  // namespace host
