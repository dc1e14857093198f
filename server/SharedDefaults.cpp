// SPDX-License-Identifier: Apache-2.0

#include "server/SharedDefaults.hpp"

#include "platform/Bundle/AppGroup.hpp"
#include "platform/Bundle/Bundle.hpp"
#include "platform/Log/Logger.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace server {

namespace {

constexpr const char* defaultBaseURL = VELA_ACCOUNT_SERVER_URL;

std::unique_ptr<platform::UserDefaults> openedSuite() {
    try {
        return platform::UserDefaults::suite(suiteName());
    } catch (const platform::UserDefaultsError& error) {
        platform::fatalError("The shared defaults suite " + suiteName() +
                             " cannot be opened: " + error.what());
    }
}

}  // namespace

SharedDefaults::SharedDefaults(std::unique_ptr<platform::UserDefaults> store, std::string baseURL)
    : store_(std::move(store)), baseURL_(std::move(baseURL)) {}

const SharedDefaults& SharedDefaults::shared() {
    static const SharedDefaults instance(openedSuite(), server::baseURL(platform::processEnvironment()));
    return instance;
}

std::string SharedDefaults::serverURL() const {
    const auto stored = store_->objectForKey(SharedDefaultsKey::serverURL);
    if (stored && stored->is_string()) return std::string(stored->get_string());
    return baseURL_;
}

std::string suiteName(const std::optional<boost::json::object>& infoDictionary) {
    return platform::appGroup(infoDictionary);
}

const std::string& suiteName() {
    static const std::string name = suiteName(platform::Bundle::main().infoDictionary());
    return name;
}

std::string baseURL(const std::map<std::string, std::string>& environment) {
    const auto variable = environment.find("BASE_URL");
    return variable == environment.end() ? defaultBaseURL : variable->second;
}

}  // namespace server
