// SPDX-License-Identifier: Apache-2.0

#include "server/Diagnosis.hpp"

#include <chrono>

#include "platform/Bundle/Bundle.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "server/StoredCredentials.hpp"

namespace server {

namespace {

constexpr std::chrono::milliseconds serverPatience = std::chrono::seconds(10);

boost::asio::awaitable<void> lookAtServer(Diagnosis& diagnosis, std::string address,
                                          std::shared_ptr<platform::URLSession> session) {
    const auto url = platform::URL::parse(address);
    if (!url) {
        diagnosis.serverFault = "it is no address";
        co_return;
    }
    try {
        const auto reply = co_await session->data(
            {.url = *url, .timeoutInterval = serverPatience, .timeoutIntervalForResource = serverPatience});
        diagnosis.serverStatus = reply.response.statusCode;
    } catch (const platform::URLError& error) {
        diagnosis.serverFault = error.what();
        diagnosis.isConnectionInsecure = error.code() == platform::URLErrorCode::secureConnectionFailed;
    }
}

}  // namespace

boost::asio::awaitable<Diagnosis> diagnosis(const SharedDefaults& defaults,
                                            std::shared_ptr<platform::URLSession> session) {
    const auto& bundle = platform::Bundle::main();
    const auto keychain = platform::environmentVariable("VELA_KEYCHAIN").value_or("");
    const std::string address = defaults.serverURL();
    Diagnosis diagnosis = {.credentials = storedCredentials(defaults),
                           .keychain = keychain.empty() ? "embedded" : keychain,
                           .serverAddress = platform::addressForDisplay(address),
                           .bundle = bundle.resourceFolder().string(),
                           .isBundleWhole = bundle.infoDictionary().has_value(),
                           .suite = suiteName()};
    co_await lookAtServer(diagnosis, address, std::move(session));
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
