// SPDX-License-Identifier: Apache-2.0

#include "host/page/PageDoor.hpp"

#include <sys/random.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <system_error>
#include <utility>

#include "platform/HTTPServer/Loopback.hpp"

namespace host {

using platform::HTTPRequest;
using platform::HTTPResponse;

namespace {

constexpr std::size_t tokenLength = 32;
constexpr std::string_view plainText = "text/plain; charset=utf-8";

/// Everything from here and nothing from elsewhere; pictures come within the drawings. No script can make
/// markup of text, so nothing that a server sends can become a part of the page.
constexpr std::string_view contentSecurityPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; font-src 'self'; "
    "connect-src 'self'; manifest-src 'self'; form-action 'self'; base-uri 'none'; frame-ancestors 'none'; "
    "require-trusted-types-for 'script'; trusted-types 'none'";

HTTPResponse refused(int status, std::string_view why) {
    return pageResponse(status, plainText, std::string(why) + "\n");
}

bool isAddressedHere(const HTTPRequest& request, std::string_view port) {
    const auto hosts = request.values("Host");
    return hosts.size() == 1 && platform::namesLoopback(hosts[0], port, platform::PortNaming::required);
}

/// A browser says by itself where a request comes from. "none" is the person's own: an address typed, a
/// bookmark.
bool isFromThisPage(const HTTPRequest& request) {
    const std::string own = "http://" + std::string(request.values("Host").at(0));
    for (const auto origin : request.values("Origin"))
        if (origin != own) return false;
    for (const auto site : request.values("Sec-Fetch-Site"))
        if (site != "same-origin" && site != "none") return false;
    return true;
}

bool isEqualInConstantTime(std::string_view first, std::string_view second) {
    if (first.size() != second.size()) return false;
    unsigned differences = 0;
    for (std::size_t index = 0; index < first.size(); ++index)
        differences |= static_cast<unsigned char>(first[index]) ^ static_cast<unsigned char>(second[index]);
    return differences == 0;
}

}  // namespace

PageDoor PageDoor::made(unsigned short port) {
    std::array<unsigned char, tokenLength> bytes;
    if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        throw std::system_error(errno, std::generic_category(), "the system gives no random bytes");
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    std::string token;
    for (const auto byte : bytes) token += alphabet[byte % alphabet.size()];
    return {.port = std::to_string(port), .token = std::move(token)};
}

std::string PageDoor::address() const {
    return "http://127.0.0.1:" + port + "/" + token + "/";
}

std::optional<std::string_view> PageDoor::pathWithin(std::string_view path) const {
    if (!path.starts_with('/')) return std::nullopt;
    path.remove_prefix(1);
    const auto slash = path.find('/');
    if (slash == std::string_view::npos || !isEqualInConstantTime(path.substr(0, slash), token))
        return std::nullopt;
    return path.substr(slash + 1);
}

std::optional<HTTPResponse> PageDoor::refusal(const HTTPRequest& request) const {
    if (!isAddressedHere(request, port))
        return refused(421, "This page answers to 127.0.0.1, localhost and [::1] with its own port alone.");
    if (!isFromThisPage(request)) return refused(403, "This page is not for others to read.");
    const bool isReading = request.method == "GET" || request.method == "HEAD";
    if (!isReading && request.method != "POST") {
        auto response = refused(405, "This page is read by GET and HEAD, and has its server asked by POST.");
        response.fields.push_back({"Allow", "GET, HEAD, POST"});
        return response;
    }
    // A browser names the origin of every POST; a form of another page's has a browser send one.
    if (!isReading && request.values("Origin").empty())
        return refused(403, "A request that asks for something to be done has to say where it comes from.");
    if (!pathWithin(request.path()))
        return refused(404,
                       "There is nothing here. The page has another address each time it is started: open "
                       "the one that vela-widget serve has printed.");
    return std::nullopt;
}

HTTPResponse pageResponse(int status, std::string_view contentType, std::string body) {
    return {.status = status,
            .fields = {{"Content-Type", std::string(contentType)},
                       {"Cache-Control", "no-store"},
                       {"Content-Security-Policy", std::string(contentSecurityPolicy)},
                       {"Cross-Origin-Opener-Policy", "same-origin"},
                       {"Cross-Origin-Resource-Policy", "same-origin"},
                       {"Referrer-Policy", "no-referrer"},
                       {"X-Content-Type-Options", "nosniff"},
                       {"X-Frame-Options", "DENY"}},
            .body = std::move(body)};
}

}  // namespace host
