// SPDX-License-Identifier: Apache-2.0

#include "presentation/DeepLink.hpp"

#include <algorithm>
#include <array>

#include "platform/Log/Logger.hpp"
#include "platform/Text/ASCII.hpp"
#include "platform/Text/Text.hpp"

namespace presentation {

namespace {

std::string start(std::string_view host) {
    return std::string(DeepLink::scheme) + "://" + std::string(host);
}

platform::URL link(std::string_view host, const std::string& rest = "") {
    return DeepLink::fromText(start(host) + rest);
}

using Kind = DeepLink::Target::Kind;
constexpr std::string_view referral = "?referral=ios_widget";

struct Form {
    Kind kind;
    std::string_view host;
    bool hasIdentifier;
    /// What may stand behind.
    std::string_view query;
    std::string_view page;
    std::string_view words;
};

constexpr std::array forms = {
    Form{Kind::delivery, DeepLink::deliveryHost, true, referral, "/delivery", "the delivery"},
    Form{Kind::order, DeepLink::orderHost, true, "", "/order", "the order"},
    Form{Kind::homeOrders, DeepLink::homeOrdersHost, false, "", "/orders", "your orders"},
    Form{Kind::addDelivery, DeepLink::addDeliveryHost, false, "", "/add_delivery", "adding a delivery"},
};

const Form& formOf(Kind kind) {
    return *std::ranges::find(forms, kind, &Form::kind);
}

bool isControl(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7F;
}

/// Unreserved characters, sub-delimiters, ":" and "@" (RFC 3986, section 3.3); escapes are looked at apart.
bool mayStandInPath(char character) {
    return platform::isASCIILetter(character) || platform::isASCIIDigit(character) ||
           std::string_view("-._~!$&'()*+,;=:@").find(character) != std::string_view::npos;
}

/// Nothing where a character stands that may not, or an escape is broken.
std::optional<std::string> decodedSegment(std::string_view text) {
    std::string decoded;
    while (!text.empty()) {
        if (text.front() != '%') {
            if (!mayStandInPath(text.front())) return std::nullopt;
            decoded += text.front();
            text.remove_prefix(1);
            continue;
        }
        if (text.size() < 3) return std::nullopt;
        const int high = platform::hexadecimalDigit(text[1]);
        const int low = platform::hexadecimalDigit(text[2]);
        if (high < 0 || low < 0) return std::nullopt;
        decoded += static_cast<char>(high * 16 + low);
        text.remove_prefix(3);
    }
    return decoded;
}

/// U+0080 to U+009F, as UTF-8 has them.
bool holdsC1Control(std::string_view text) {
    for (std::size_t i = 0; i + 1 < text.size(); ++i)
        if (text[i] == '\xC2' && static_cast<unsigned char>(text[i + 1]) < 0xA0) return true;
    return false;
}

bool isIdentifier(std::string_view encoded) {
    if (encoded.empty() || encoded.size() > DeepLink::longestIdentifier) return false;
    const auto id = decodedSegment(encoded);
    return id && *id != "." && *id != ".." && id->find_first_of("/\\") == std::string::npos &&
           std::ranges::none_of(*id, isControl) && !holdsC1Control(*id) && platform::isValidUTF8(*id);
}

/// `rest` is what follows the scheme and its "://".
std::optional<DeepLink::Target> targetOf(const Form& form, std::string_view rest) {
    if (!rest.starts_with(form.host)) return std::nullopt;
    rest.remove_prefix(form.host.size());
    DeepLink::Target target = {.kind = form.kind};
    if (!form.query.empty() && rest.ends_with(form.query)) {
        rest.remove_suffix(form.query.size());
        target.query = form.query;
    }
    if (form.hasIdentifier) {
        if (!rest.starts_with('/') || !isIdentifier(rest.substr(1))) return std::nullopt;
        target.id = rest.substr(1);
        rest = {};
    }
    return rest.empty() ? std::optional(std::move(target)) : std::nullopt;
}

}  // namespace

platform::URL DeepLink::delivery(const VelaApi::GraphID& id) {
    return link(deliveryHost, "/" + id.rawValue() + std::string(referral));
}

platform::URL DeepLink::order(const VelaApi::GraphID& id) {
    return link(orderHost, "/" + id.rawValue());
}

platform::URL DeepLink::homeOrders() {
    return link(homeOrdersHost);
}

platform::URL DeepLink::addDelivery() {
    return link(addDeliveryHost);
}

platform::URL DeepLink::fromText(const std::string& text) {
    auto parsed = platform::URL::parse(text);
    if (!parsed) platform::fatalError("A deep link into the companion app does not parse");
    return *std::move(parsed);
}

std::string DeepLink::Target::page() const {
    return std::string(formOf(kind).page) + (id.empty() ? "" : "/" + id) + query;
}

std::string DeepLink::Target::words() const {
    return std::string(formOf(kind).words) + (id.empty() ? "" : " " + id);
}

std::optional<DeepLink::Target> DeepLink::read(std::string_view text) {
    if (text.size() > longestLink || std::ranges::any_of(text, isControl)) return std::nullopt;
    const auto link = platform::URL::parse(text);
    if (!link || link->scheme() != scheme) return std::nullopt;
    const std::string_view rest = std::string_view(link->absoluteString()).substr(scheme.size());
    constexpr std::string_view separator = "://";
    if (!rest.starts_with(separator)) return std::nullopt;
    for (const auto& form : forms)
        if (auto target = targetOf(form, rest.substr(separator.size()))) return target;
    return std::nullopt;
}

}  // namespace presentation
