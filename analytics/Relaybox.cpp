// SPDX-License-Identifier: Apache-2.0

#include "analytics/Relaybox.hpp"

#include <cmath>
#include <cstdint>
#include <exception>
#include <string>
#include <utility>

#include "analytics/EventCollector.hpp"
#include "analytics/RelayboxEvent.hpp"
#include "platform/Bundle/Bundle.hpp"
#include "platform/Date/Ambient.hpp"
#include "platform/Date/Date.hpp"
#include "platform/Log/Logger.hpp"

namespace analytics {

namespace {

const platform::Logger& diagnosticLog() {
    static const platform::Logger logger("com.tervaneinternal.pontal", "notification-service");
    return logger;
}

/// Whole milliseconds since 1970, truncated towards zero, in decimal.
std::string milliseconds(platform::Date date) {
    const double value = date.timeIntervalSince1970() * 1000;
    // The range of std::int64_t; its upper end has no double of its own. Not a number is in no range.
    if (!(value >= -0x1p63 && value < 0x1p63)) platform::fatalError("the clock is outside of any calendar");
    return std::to_string(static_cast<std::int64_t>(value));
}

std::string contentLanguage() {
    auto languages = platform::Ambient::current().preferredLanguages();
    return languages.empty() ? "en" : std::move(languages.front());
}

}  // namespace

std::shared_ptr<const Relaybox> Relaybox::production() {
    return std::make_shared<const Relaybox>(
        platform::URLSession::session(platform::URLSessionConfiguration::defaultSessionConfiguration()),
        eventCollectorURL(platform::Bundle::main().infoDictionary()));
}

Relaybox::Relaybox(std::shared_ptr<platform::URLSession> session, platform::URL hostURL)
    : session_(std::move(session)), hostURL_(std::move(hostURL)) {}

void Relaybox::send(const RelayboxEventable& event) const {
    try {
        startUpload(event);
    } catch (...) {
        // A lost event is no reason to lose what it tells of.
    }
}

void Relaybox::startUpload(const RelayboxEventable& event) const {
    const auto envelope = RelayboxEvent::enveloping(event);

    platform::URLRequest request = {.url = hostURL_, .httpMethod = "POST"};
    request.setValue("application/json", "Content-Type");
    request.setValue(milliseconds(envelope.createdAt), "X-Relaybox-Edge-Event-Created-At-Ms");
    request.setValue(milliseconds(platform::Date::now()), "X-Relaybox-Edge-Event-Sent-At-Ms");
    request.setValue(contentLanguage(), "X-Relaybox-Edge-Content-Language");

    try {
        request.httpBody = envelope.encoded();
    } catch (const std::exception& error) {
        diagnosticLog().log(platform::LogLevel::error, "Failed to encode event: %{private}@",
                            {{error.what()}});
        return;
    }
    session_->startDataTask(std::move(request));
}

}  // namespace analytics
