// SPDX-License-Identifier: Apache-2.0

#pragma once

// An absolute URL with a scheme (RFC 3986). Characters that the RFC does not allow where they stand are
// percent-encoded while parsing; a percent sign that begins no escape is encoded as well. A plain value.

#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace platform {

class URL {
  public:
    /// Nothing for an empty text, a text without a scheme, a broken port or a broken IPv6 literal.
    static std::optional<URL> parse(std::string_view text);

    /// This URL as the base of `reference` (RFC 3986 section 5.2); nothing when the result does not parse.
    std::optional<URL> resolving(std::string_view reference) const;

    const std::string& absoluteString() const { return text_; }
    /// In lower case.
    std::string scheme() const;
    /// Without the brackets of an IPv6 literal; empty where there is none. In lower case.
    std::string host() const;
    std::optional<std::uint16_t> port() const;
    /// The port given, else the scheme's own (80, 443).
    std::optional<std::uint16_t> effectivePort() const;
    /// Percent-decoded.
    std::string path() const;
    /// What stands before the "@" of the authority is left out, and the "@" with it.
    URL withoutUserInformation() const;

    auto operator<=>(const URL&) const = default;

  private:
    explicit URL(std::string text) : text_(std::move(text)) {}
    std::string text_;
};

/// An address for a screen, without its user information. Words stand for one that is no URL, and for one
/// with an "@", or what looks like one, where the grammar has none: nobody can say what of it is a password.
std::string addressForDisplay(std::string_view address);

/// Whether two URLs have the same scheme, host and port (RFC 6454).
bool isSameOrigin(const URL& first, const URL& second);

}  // namespace platform
