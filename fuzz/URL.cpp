// SPDX-License-Identifier: Apache-2.0

// URLs: what parses is RFC 3986 and parses again to itself, as a base and as a reference; any text ends a
// deep link.

#include "platform/URL/URL.hpp"

#include <algorithm>

#include "fuzz/Require.hpp"

namespace {

/// What holds for the text of every URL. Each accessor parses the text anew, so that they are asked once an
/// input.
void keepRules(const platform::URL& url) {
    const std::string& absolute = url.absoluteString();
    require(platform::URL::parse(absolute) == url, "a URL parses to itself");
    require(std::all_of(absolute.begin(), absolute.end(), [](char c) { return c > ' ' && c < '\x7f'; }),
            "a URL is printable ASCII without blanks");
}

/// Each accessor parses the text anew: asked of every URL, they would take most of the time.
void read(const platform::URL& url) {
    require(!url.scheme().empty(), "a URL has a scheme");
    require(platform::isSameOrigin(url, url), "a URL is of its own origin");
    static_cast<void>(url.path());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    using platform::URL;
    static const URL knownBase = *URL::parse("https://host.example/a/b?c#d");
    const std::string_view whole = text(input, size);
    if (const auto url = URL::parse(whole)) {
        keepRules(*url);
        read(*url);
    }
    const std::size_t split = whole.find('\n');
    if (split == std::string_view::npos) {
        if (const auto resolved = knownBase.resolving(whole)) keepRules(*resolved);
    } else if (const auto base = URL::parse(whole.substr(0, split))) {
        if (const auto resolved = base->resolving(whole.substr(split + 1))) keepRules(*resolved);
    }
    const auto link = URL::parse("velaapp://delivery/" + std::string(whole));
    require(link.has_value(), "every identifier makes a deep link");
    keepRules(*link);
    return 0;
}
