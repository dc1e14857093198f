// SPDX-License-Identifier: Apache-2.0

// Replies that point elsewhere: no credential and no body leaves its origin, and nothing leaves http and
// https. The input's first byte picks status and method; its lines are the request's URL, the place, and
// header fields.

#include <algorithm>
#include <array>
#include <string>

#include "fuzz/Require.hpp"
#include "platform/URLSession/FieldName.hpp"
#include "platform/URLSession/Redirect.hpp"
#include "platform/URLSession/URLSession.hpp"

namespace {

using namespace platform;

constexpr std::array statuses = {301, 302, 303, 307, 308, 200, 300, 304};
constexpr std::array methods = {"GET", "POST", "HEAD", "PUT"};
constexpr std::array credentials = {"authorization", "cookie", "Authorization", "proxy-authorization"};

std::string_view takeLine(std::string_view& text) {
    const auto line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    return line;
}

std::vector<HTTPHeaderField> fields(std::string_view text) {
    std::vector<HTTPHeaderField> result;
    while (!text.empty()) {
        auto line = takeLine(text);
        const auto name = line.substr(0, line.find(':'));
        result.push_back(
            {std::string(name), std::string(line.substr(std::min(line.size(), name.size() + 1)))});
    }
    return result;
}

void check(const URLRequest& request, const URLRequest& next, int status) {
    require(next.url.scheme() == "http" || next.url.scheme() == "https",
            "a redirect stays in http and https");
    require(next.httpBody.empty() || next.httpBody == request.httpBody,
            "a redirect makes no body of its own");
    const bool keeps = status == 307 || status == 308;
    require(!keeps || next.httpMethod == request.httpMethod, "307 and 308 keep the method");
    if (isSameOrigin(request.url, next.url)) return;
    require(next.httpBody.empty(), "no body leaves its origin");
    for (const char* name : credentials)
        require(!fieldValue(next.headers, name), "no credential leaves its origin");
    for (const auto& field : next.headers)
        require(!field.isCredential, "no field that says it is a credential leaves its origin");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    if (size == 0) return 0;
    auto rest = text(input + 1, size - 1);
    const auto url = URL::parse(takeLine(rest));
    if (!url) return 0;
    const int status = statuses[input[0] % statuses.size()];
    URLRequest request = {.url = *url};
    request.httpMethod = methods[input[0] / statuses.size() % methods.size()];
    if (request.httpMethod == "POST" || request.httpMethod == "PUT") request.httpBody = "refreshToken";
    const std::string place(takeLine(rest));
    request.headers = fields(rest);
    for (const char* name : credentials) request.headers.push_back({name, "secret"});
    request.setCredential("secret", "x-session");
    const URLResponse response = {.url = *url, .statusCode = status, .headers = {{"Location", place}}};
    try {
        const auto next = requestAfterRedirect(request, response);
        if (next) check(request, *next, status);
    } catch (const URLError&) {
    }
    return 0;
}
