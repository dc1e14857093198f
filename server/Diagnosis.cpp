// SPDX-License-Identifier: Apache-2.0

#include "server/Diagnosis.hpp"

#include <chrono>

#include "platform/Bundle/Bundle.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "server/StoredCredentials.hpp"

namespace server {

namespace {

constexpr std::chrono::milliseconds serverPatience = std::chrono::seconds(10);

/// Without credentials.
platform::URLRequest knock(const platform::URL& url) {
    return {.url = url, .timeoutInterval = serverPatience, .timeoutIntervalForResource = serverPatience};
}

Diagnosis withoutServer(const SharedDefaults& defaults) {
    const auto& bundle = platform::Bundle::main();
    const auto keychain = platform::environmentVariable("VELA_KEYCHAIN").value_or("");
    return {.credentials = storedCredentials(defaults),
            .keychain = keychain.empty() ? "embedded" : keychain,
            .serverAddress = platform::addressForDisplay(defaults.serverURL()),
            .bundle = bundle.resourceFolder().string(),
            .isBundleWhole = bundle.infoDictionary().has_value(),
            .suite = suiteName()};
}

}  // namespace

boost::asio::awaitable<Diagnosis> diagnosis(const SharedDefaults& defaults,
                                            std::shared_ptr<platform::URLSession> session) {
    Diagnosis diagnosis = withoutServer(defaults);
    const auto url = platform::URL::parse(defaults.serverURL());
    if (!url) {
        diagnosis.serverFault = "it is no address";
        co_return diagnosis;
    }
    try {
        const auto reply = co_await session->data(knock(*url));
        diagnosis.serverStatus = reply.response.statusCode;
    } catch (const platform::URLError& error) {
        diagnosis.serverFault = error.what();
        diagnosis.isConnectionInsecure = error.code() == platform::URLErrorCode::secureConnectionFailed;
    }
    co_return diagnosis;
}

bool wantsNotifications(const SharedDefaults& defaults) {
    const auto value = defaults.store().objectForKey(SharedDefaultsKey::notifications);
    if (!value) return false;
    if (value->is_bool()) return value->get_bool();
    if (value->is_number()) return value->to_number<double>() != 0;
    if (!value->is_string()) return false;
    const std::string text(value->get_string());
    return text == "true" || text == "yes" || text == "on" || text == "1";
}

}  // namespace server
