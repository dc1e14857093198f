// SPDX-License-Identifier: Apache-2.0

#include "platform/URL/URL.hpp"

#include <algorithm>
#include <array>
#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>
#include <charconv>

#include "platform/Text/ASCII.hpp"

namespace platform {

namespace urls = boost::urls;

namespace {

/// The characters of RFC 3986 that need no encoding, part by part.
constexpr std::string_view unreserved = "-._~";
constexpr std::string_view subDelimiters = "!$&'()*+,;=";
constexpr std::string_view inUserInfo = ":";
constexpr std::string_view inHost = "";
constexpr std::string_view inPath = ":@/";
constexpr std::string_view inQueryOrFragment = ":@/?";

std::string encoded(std::string_view text, std::string_view alsoAllowed) {
    constexpr std::string_view hexDigits = "0123456789ABCDEF";
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool startsEscape = c == '%' && i + 2 < text.size() && isHexadecimalDigit(text[i + 1]) &&
                                  isHexadecimalDigit(text[i + 2]);
        const bool allowed =
            isASCIILetter(c) || isASCIIDigit(c) || unreserved.find(c) != std::string_view::npos ||
            subDelimiters.find(c) != std::string_view::npos || alsoAllowed.find(c) != std::string_view::npos;
        if (startsEscape || allowed) {
            result += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            result += '%';
            result += hexDigits[byte >> 4];
            result += hexDigits[byte & 0xF];
        }
    }
    return result;
}

/// Cuts `text` before the first of `delimiters` and returns what stood in front of it.
std::string_view takeUntil(std::string_view& text, std::string_view delimiters) {
    const auto part = text.substr(0, text.find_first_of(delimiters));
    text.remove_prefix(part.size());
    return part;
}

/// The length of a scheme with its colon, zero when `text` has none.
std::size_t schemeLength(std::string_view text) {
    const auto colon = text.find(':');
    if (colon == std::string_view::npos || colon == 0 || !isASCIILetter(text.front())) return 0;
    const auto scheme = text.substr(0, colon);
    const bool wellFormed = std::all_of(scheme.begin(), scheme.end(), [](char c) {
        return isASCIILetter(c) || isASCIIDigit(c) || c == '+' || c == '-' || c == '.';
    });
    return wellFormed ? colon + 1 : 0;
}

bool isPort(std::string_view text) {
    std::uint16_t number = 0;
    const auto end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return text.empty() || (error == std::errc() && stop == end);
}

/// Nothing when the port or an IPv6 literal is broken.
std::optional<std::string> encodedAuthority(std::string_view text) {
    std::string result;
    if (const auto at = text.rfind('@'); at != std::string_view::npos) {
        result = encoded(text.substr(0, at), inUserInfo);
        result += '@';
        text.remove_prefix(at + 1);
    }
    if (text.starts_with('[')) {
        const auto end = text.find(']');
        if (end == std::string_view::npos) return std::nullopt;
        result.append(text.substr(0, end + 1));
        text.remove_prefix(end + 1);
    } else {
        result.append(encoded(takeUntil(text, ":"), inHost));
    }
    if (text.empty()) return result;
    if (!text.starts_with(':') || !isPort(text.substr(1))) return std::nullopt;
    return result.append(text);
}

/// `text` with what RFC 3986 does not allow percent-encoded; it may still not be a URL reference.
std::optional<std::string> encodedReference(std::string_view text) {
    const auto scheme = text.substr(0, schemeLength(text));
    text.remove_prefix(scheme.size());
    std::string result(scheme);
    if (text.starts_with("//")) {
        text.remove_prefix(2);
        const auto authority = encodedAuthority(takeUntil(text, "/?#"));
        if (!authority) return std::nullopt;
        result.append("//").append(*authority);
    }
    result.append(encoded(takeUntil(text, "?#"), inPath));
    if (text.starts_with('?')) {
        text.remove_prefix(1);
        result.append("?").append(encoded(takeUntil(text, "#"), inQueryOrFragment));
    }
    if (text.starts_with('#')) result.append("#").append(encoded(text.substr(1), inQueryOrFragment));
    return result;
}

urls::url_view view(const std::string& text) {
    return urls::parse_uri(text).value();
}

/// A URL reference in its five parts (RFC 3986 section 5.2.1).
struct Parts {
    std::optional<std::string> scheme;
    std::optional<std::string> authority;
    std::string path;
    std::optional<std::string> query;
    std::optional<std::string> fragment;

    std::string text() const {
        std::string result;
        if (scheme) result.append(*scheme).append(":");
        if (authority) result.append("//").append(*authority);
        result.append(path);
        if (query) result.append("?").append(*query);
        if (fragment) result.append("#").append(*fragment);
        return result;
    }
};

Parts parts(const urls::url_view& url) {
    const auto part = [](bool present, const auto& text) {
        return present ? std::optional(std::string(text.data(), text.size())) : std::nullopt;
    };
    return {.scheme = part(url.has_scheme(), url.scheme()),
            .authority = part(url.has_authority(), url.encoded_authority()),
            .path = *part(true, url.encoded_path()),
            .query = part(url.has_query(), url.encoded_query()),
            .fragment = part(url.has_fragment(), url.encoded_fragment())};
}

/// RFC 3986 section 5.2.4.
std::string withoutDotSegments(std::string_view input) {
    std::string output;
    const auto dropLastSegment = [&] {
        const auto slash = output.rfind('/');
        output.resize(slash == std::string::npos ? 0 : slash);
    };
    while (!input.empty()) {
        if (input.starts_with("../")) {
            input.remove_prefix(3);
        } else if (input.starts_with("./") || input.starts_with("/./")) {
            input.remove_prefix(2);
        } else if (input == "/.") {
            input = "/";
        } else if (input.starts_with("/../")) {
            input.remove_prefix(3);
            dropLastSegment();
        } else if (input == "/..") {
            input = "/";
            dropLastSegment();
        } else if (input == "." || input == "..") {
            input = {};
        } else {
            const auto segment = input.substr(0, input.find('/', 1));
            output.append(segment);
            input.remove_prefix(segment.size());
        }
    }
    return output;
}

/// RFC 3986 section 5.2.3.
std::string merged(const Parts& base, const std::string& path) {
    if (base.authority && base.path.empty()) return "/" + path;
    return base.path.substr(0, base.path.rfind('/') + 1) + path;
}

/// RFC 3986 section 5.2.2.
Parts resolved(const Parts& base, Parts reference) {
    if (reference.scheme) {
        reference.path = withoutDotSegments(reference.path);
        return reference;
    }
    reference.scheme = base.scheme;
    if (reference.authority) {
        reference.path = withoutDotSegments(reference.path);
        return reference;
    }
    reference.authority = base.authority;
    if (reference.path.empty()) {
        reference.path = base.path;
        if (!reference.query) reference.query = base.query;
    } else if (reference.path.starts_with('/')) {
        reference.path = withoutDotSegments(reference.path);
    } else {
        reference.path = withoutDotSegments(merged(base, reference.path));
    }
    return reference;
}

std::string decoded(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isEscape = text[i] == '%' && i + 2 < text.size() && isHexadecimalDigit(text[i + 1]) &&
                              isHexadecimalDigit(text[i + 2]);
        result += isEscape
                      ? static_cast<char>(hexadecimalDigit(text[i + 1]) * 16 + hexadecimalDigit(text[i + 2]))
                      : text[i];
        if (isEscape) i += 2;
    }
    return result;
}

/// The sign itself, its small and its wide form (U+FE6B, U+FF20), encoded however often.
bool holdsAtSign(std::string text) {
    for (auto once = decoded(text); once != text; once = decoded(text)) text = std::move(once);
    constexpr std::array<std::string_view, 3> signs = {"@", "\xEF\xB9\xAB", "\xEF\xBC\xA0"};
    return std::any_of(signs.begin(), signs.end(),
                       [&](std::string_view sign) { return text.find(sign) != std::string::npos; });
}

struct SchemePort {
    std::string_view scheme;
    std::uint16_t port;
};
constexpr std::array schemePorts = {SchemePort{"http", 80}, SchemePort{"https", 443}};

}  // namespace

std::optional<URL> URL::parse(std::string_view text) {
    if (schemeLength(text) == 0) return std::nullopt;
    auto reference = encodedReference(text);
    if (!reference || !urls::parse_uri(*reference)) return std::nullopt;
    return URL(*std::move(reference));
}

std::optional<URL> URL::resolving(std::string_view reference) const {
    const auto text = encodedReference(reference);
    if (!text) return std::nullopt;
    const auto parsed = urls::parse_uri_reference(*text);
    if (!parsed) return std::nullopt;
    return parse(resolved(parts(view(text_)), parts(*parsed)).text());
}

std::string URL::scheme() const {
    return lowercasedASCII(std::string_view(view(text_).scheme()));
}

std::string URL::host() const {
    const auto encodedHost = view(text_).encoded_host();
    std::string_view host(encodedHost.data(), encodedHost.size());
    if (host.starts_with('[')) host = host.substr(1, host.size() - 2);
    return lowercasedASCII(host);
}

std::optional<std::uint16_t> URL::port() const {
    const auto parsed = view(text_);
    if (!parsed.has_port() || parsed.port().empty()) return std::nullopt;
    return parsed.port_number();
}

std::optional<std::uint16_t> URL::effectivePort() const {
    if (const auto given = port()) return given;
    const auto name = scheme();
    for (const auto& known : schemePorts)
        if (known.scheme == name) return known.port;
    return std::nullopt;
}

std::string URL::path() const {
    return view(text_).path();
}

URL URL::withoutUserInformation() const {
    Parts kept = parts(view(text_));
    if (kept.authority) kept.authority->erase(0, kept.authority->rfind('@') + 1);
    return URL(kept.text());
}

std::string addressForDisplay(std::string_view address) {
    const auto url = URL::parse(address);
    if (!url) return "(not shown: it is no URL)";
    auto shown = url->withoutUserInformation().absoluteString();
    if (url->host().empty() || holdsAtSign(shown)) return "(not shown: it may hold a password)";
    return shown;
}

bool isSameOrigin(const URL& first, const URL& second) {
    return first.scheme() == second.scheme() && first.host() == second.host() &&
           first.effectivePort() == second.effectivePort();
}

}  // namespace platform
