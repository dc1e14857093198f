// SPDX-License-Identifier: Apache-2.0

#include "platform/URLSession/Redirect.hpp"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "platform/URLSession/FieldName.hpp"
#include "platform/URLSession/URLSession.hpp"

namespace platform {
namespace {

enum class Rewriting { none, postBecomesGet, allButHeadBecomesGet };

// RFC 9110 section 15.4, with 301 and 302 as every browser has them.
std::optional<Rewriting> rewriting(int statusCode) {
    switch (statusCode) {
        case 301:
        case 302: return Rewriting::postBecomesGet;
        case 303: return Rewriting::allButHeadBecomesGet;
        case 307:
        case 308: return Rewriting::none;
        default: return std::nullopt;
    }
}

bool becomesGet(Rewriting rewriting, std::string_view method) {
    switch (rewriting) {
        case Rewriting::none: return false;
        case Rewriting::postBecomesGet: return method == "POST";
        case Rewriting::allButHeadBecomesGet: return method != "HEAD";
    }
    return false;
}

constexpr std::array<std::string_view, 3> credentialFields = {"authorization", "cookie",
                                                              "proxy-authorization"};
constexpr std::array<std::string_view, 5> bodyFields = {
    "content-encoding", "content-language", "content-length", "content-type", "transfer-encoding"};

template <std::size_t size>
void removeFields(std::vector<HTTPHeaderField>& fields, const std::array<std::string_view, size>& names) {
    std::erase_if(fields, [&names](const HTTPHeaderField& field) {
        return std::any_of(names.begin(), names.end(),
                           [&field](std::string_view name) { return equalsWithoutCase(field.name, name); });
    });
}

}  // namespace

std::optional<URLRequest> requestAfterRedirect(const URLRequest& request, const URLResponse& response) {
    const auto rule = rewriting(response.statusCode.value_or(0));
    const auto location = fieldValue(response.headers, "location");
    if (!rule || !location) return std::nullopt;
    const auto target = request.url.resolving(*location);
    if (!target) return std::nullopt;
    if (target->scheme() != "http" && target->scheme() != "https") {
        throw URLError(URLErrorCode::unsupportedURL, "a redirect leaves http and https");
    }
    if (request.url.scheme() == "https" && target->scheme() == "http") {
        throw URLError(URLErrorCode::secureConnectionFailed, "a redirect leaves https for http");
    }

    URLRequest next = request;
    next.url = *target;
    if (becomesGet(*rule, request.httpMethod)) {
        next.httpMethod = "GET";
        next.httpBody.clear();
        removeFields(next.headers, bodyFields);
    }
    if (!isSameOrigin(request.url, *target)) {
        if (!next.httpBody.empty()) return std::nullopt;
        removeFields(next.headers, credentialFields);
        std::erase_if(next.headers, [](const HTTPHeaderField& field) { return field.isCredential; });
    }
    return next;
}

}  // namespace platform
