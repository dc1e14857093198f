// URLs: what parses is RFC 3986 and parses again to itself, as a base and as a reference; any text ends a
// deep link.

#include "platform/URL/URL.hpp"

#include <algorithm>

#include "fuzz/Require.hpp"

namespace {

void read(const platform::URL& url) {
    const std::string& absolute = url.absoluteString();
    require(platform::URL::parse(absolute) == url, "a URL parses to itself");
    require(std::all_of(absolute.begin(), absolute.end(), [](char c) { return c > ' ' && c < '\x7f'; }),
            "a URL is printable ASCII without blanks");
    require(!url.scheme().empty(), "a URL has a scheme");
    require(platform::isSameOrigin(url, url), "a URL is of its own origin");
    static_cast<void>(url.host());
    static_cast<void>(url.path());
    static_cast<void>(url.effectivePort());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    const std::string_view whole = text(input, size);
    if (const auto url = platform::URL::parse(whole)) read(*url);

    const std::size_t split = std::min(whole.find('\n'), whole.size());
    const std::string_view reference = split < whole.size() ? whole.substr(split + 1) : whole;
    for (const std::string_view base :
         {whole.substr(0, split), std::string_view("https://host.example/a/b?c#d")}) {
        const auto parsed = platform::URL::parse(base);
        if (!parsed) continue;
        if (const auto resolved = parsed->resolving(reference)) read(*resolved);
    }

    for (const char* prefix : {"velaapp://delivery/", "velaapp://order/"}) {
        const auto link = platform::URL::parse(prefix + std::string(whole));
        require(link.has_value(), "every identifier makes a deep link");
        read(*link);
    }
    return 0;
}
