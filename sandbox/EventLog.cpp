// SPDX-License-Identifier: Apache-2.0

#include "sandbox/EventLog.hpp"

#include <openssl/sha.h>

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <cmath>
#include <cstdio>
#include <optional>

namespace sandbox {
namespace {

using boost::json::array;
using boost::json::object;
using boost::json::value;
using namespace std::chrono;

constexpr std::size_t kept = 20'000;

void append(std::deque<value>& entries, value entry) {
    entries.push_back(std::move(entry));
    if (entries.size() > kept) entries.pop_front();
}

bool isCredential(std::string_view field) {
    return equalsWithoutCase(field, "authorization") ||
           equalsWithoutCase(field, "pontal-server-session-id") || equalsWithoutCase(field, "cookie");
}

array headersOf(const Request& request) {
    array headers;
    for (const HeaderField& field : request.headers) {
        headers.push_back(object{
            {"name", field.name},
            {"value", isCredential(field.name) ? "hash:" + shortHash(field.value) : field.value},
        });
    }
    return headers;
}

/// The body as JSON, else as text.
value bodyOf(const Request& request) {
    boost::system::error_code error;
    value parsed = boost::json::parse(request.body, error);
    return error ? value(request.body.substr(0, 4096)) : parsed;
}

value instantOfHeader(const Request& request, std::string_view field) {
    const auto text = request.value(field);
    if (!text) return nullptr;
    const long long count = std::strtoll(std::string(*text).c_str(), nullptr, 10);
    return value(timestamp(system_clock::time_point(milliseconds(count))));
}

/// "created_at" counts seconds from the year 2001.
value instantOfBody(const value& body) {
    constexpr double from1970To2001 = 978'307'200;
    const value* createdAt = body.is_object() ? body.get_object().if_contains("created_at") : nullptr;
    if (createdAt == nullptr || !createdAt->is_number()) return nullptr;
    const double seconds = createdAt->to_number<double>() + from1970To2001;
    if (!(std::fabs(seconds) < 1e11)) return nullptr;
    return value(timestamp(system_clock::time_point(milliseconds(std::llround(seconds * 1000)))));
}

}  // namespace

std::string timestamp(system_clock::time_point time) {
    const auto instant = floor<milliseconds>(time);
    const auto day = floor<days>(instant);
    const year_month_day date(day);
    const hh_mm_ss clock(instant - day);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
    return text;
}

std::string shortHash(std::string_view text) {
    unsigned char digest[SHA256_DIGEST_LENGTH];
    SHA256(reinterpret_cast<const unsigned char*>(text.data()), text.size(), digest);
    char digits[9];
    std::snprintf(digits, sizeof digits, "%02x%02x%02x%02x", digest[0], digest[1], digest[2], digest[3]);
    return digits;
}

void EventLog::noteRequest(const Request& request, std::string_view operation, std::string_view outcome) {
    ++requestCount_;
    append(requests_, object{
                          {"time", timestamp(system_clock::now())},
                          {"method", request.method},
                          {"target", request.target},
                          {"origin", request.origin == Origin::first ? "first" : "second"},
                          {"operation", operation.empty() ? value(nullptr) : value(operation)},
                          {"headers", headersOf(request)},
                          {"bodyLength", request.body.size()},
                          {"outcome", outcome},
                      });
}

void EventLog::noteEvent(const Request& request, std::string_view refusal) {
    ++eventCount_;
    const value body = bodyOf(request);
    append(events_, object{
                        {"time", timestamp(system_clock::now())},
                        {"outcome", refusal.empty() ? "accepted" : "refused"},
                        {"reason", refusal.empty() ? value(nullptr) : value(refusal)},
                        {"origin", request.origin == Origin::first ? "first" : "second"},
                        {"headers", headersOf(request)},
                        {"createdAt",
                         object{{"header", instantOfHeader(request, "X-Relaybox-Edge-Event-Created-At-Ms")},
                                {"body", instantOfBody(body)}}},
                        {"body", body},
                    });
}

value EventLog::contents() const {
    return object{
        {"events", array(events_.begin(), events_.end())},
        {"eventCount", eventCount_},
        {"requests", array(requests_.begin(), requests_.end())},
        {"requestCount", requestCount_},
    };
}

}  // namespace sandbox
